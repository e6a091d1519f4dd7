#include "Simulation/SidecarAccount.hpp"

#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace brindle::simulation {

namespace {

constexpr Seconds aSecond{1}; ///< what a sidecar's dates leave out
constexpr Seconds rounding{1e-3};
constexpr Seconds longestAsk{50}; ///< from a call's noticing to the answer about it

constexpr const char* noMovieFound = "Recording was interrupted and no .mov file was found.";

/// What the sidecar says of a program.
struct Row {
    const char* bundleID;
    const char* app;
    CallSource::Kind kind;
    const char* callName;
    const char* room; ///< the beginning of its rooms
};

constexpr std::array rows{
    Row{"us.zoom.xos", "zoom.us", CallSource::Kind::app, "Zoom", "zoom#"},
    Row{"com.microsoft.teams2", "Microsoft Teams", CallSource::Kind::app, "Teams", "teams#"},
    Row{"com.hnc.Discord", "Discord", CallSource::Kind::app, "Discord", "discord#"},
    Row{"com.google.Chrome", "Google Chrome", CallSource::Kind::browser, "Google Chrome",
        "chrome#"},
    Row{"org.mozilla.firefox", "Firefox", CallSource::Kind::browser, "Firefox", "firefox#"},
    Row{"com.example.recorder", "com.example.recorder", CallSource::Kind::other,
        "com.example.recorder", "other:com.example.recorder#"},
};

const Row* rowOf(const std::string& bundleID) {
    const auto found =
        std::ranges::find_if(rows, [&](const Row& row) { return bundleID == row.bundleID; });
    return found == rows.end() ? nullptr : &*found;
}

/// "Sat 09:30", in universal time.
std::string dayAndTime(Date date) {
    using namespace std::chrono;
    constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    const auto seconds = floor<std::chrono::seconds>(date.time_since_epoch());
    const sys_days day{floor<std::chrono::days>(seconds)};
    const auto ofDay = seconds - floor<std::chrono::days>(seconds);
    return fmt::format(
        "{} {:02}:{:02}", days.at(weekday{day}.c_encoding()), duration_cast<hours>(ofDay).count(),
        duration_cast<minutes>(ofDay).count() % 60);
}

/// The instant that a note names, and where it ends.
std::optional<std::pair<Date, std::size_t>> instantAt(const std::string& text, std::size_t begin) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int length = 0;
    if (std::sscanf(
            text.c_str() + begin, "%4d-%2u-%2uT%2d:%2d:%2dZ%n", &year, &month, &day, &hour, &minute,
            &second, &length) != 6 ||
        length == 0) {
        return std::nullopt;
    }
    using namespace std::chrono;
    const sys_days date{
        year_month_day{std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}}};
    return std::pair{
        Date{date.time_since_epoch() + hours{hour} + minutes{minute} + seconds{second}},
        begin + static_cast<std::size_t>(length)};
}

/// The notes that the start of the recording must have left, in order.
std::vector<std::string> notesOfTheStart(const Segment& segment, const std::string& first) {
    const Opening& opening = segment.opening;
    std::vector<std::string> notes;
    if (first.starts_with("continues ")) {
        notes.push_back(first); // judged elsewhere
    }
    const auto resolved =
        opening.triedCameras.empty() ? std::nullopt : std::optional{opening.triedCameras.front()};
    const auto& wished = opening.preferredCamera ? opening.preferredCamera : opening.defaultCamera;
    if (resolved && resolved != wished) {
        notes.push_back(fmt::format(
            "{} camera was unavailable; used {} instead.",
            opening.preferredCamera ? "Preferred" : "System default", *resolved));
    }
    if (opening.microphone && opening.preferredMicrophone &&
        opening.microphone != opening.preferredMicrophone) {
        notes.push_back(fmt::format(
            "Preferred microphone was unavailable; used {} instead.", *opening.microphone));
    }
    if (!opening.microphone) {
        notes.emplace_back("No microphone was available; recorded without audio.");
    }
    if (opening.isWithoutUsedCamera()) {
        notes.emplace_back("Another program is using the camera; recording sound only.");
    } else if (resolved && !opening.camera) {
        notes.push_back(fmt::format("Camera {} refused to open; recorded audio only.", *resolved));
    } else if (resolved && opening.camera != resolved) {
        notes.push_back(fmt::format(
            "Camera {} refused to open; recorded with {}.", *resolved, *opening.camera));
    } else if (!resolved) {
        notes.emplace_back(
            opening.cameraIsDenied ? "Camera access is denied; recorded audio only."
                                   : "No camera was available; recorded audio only.");
    }
    return notes;
}

} // namespace

void SidecarAccount::programLaunched() {
    origins_.clear();
    lastRoom_.clear();
}

void SidecarAccount::look(
    const std::vector<Caller>& callers, const std::string& room,
    const std::optional<Date>& watchingSince) {
    const Date now = scene_.timeline.now();
    std::erase_if(callingSince_, [&](const auto& entry) {
        return std::ranges::none_of(callers, [&](const Caller& caller) {
            return caller.mayBeInCall && caller.bundleID == entry.first;
        });
    });
    for (const Caller& caller : callers) {
        lastHeld_[caller.bundleID] = now;
        if (caller.mayBeInCall) {
            callingSince_.try_emplace(caller.bundleID, now);
        }
        if (caller.showsMeeting) {
            lastMeeting_[caller.bundleID] = now;
        }
    }
    if (room != lastRoom_) {
        lastRoom_ = room;
        if (!room.empty()) {
            rememberOrigin(room, watchingSince);
        }
    }
    for (; looked_ < scene_.segments.size(); ++looked_) {
        const Segment& segment = scene_.segments[looked_];
        if (const auto origin = origins_.find(segment.opening.room); origin != origins_.end()) {
            originOf_[segment.id] = origin->second;
        }
        open_.insert(segment.id);
    }
    if (scene_.touched.empty()) {
        return;
    }
    for (const std::string& baseName : scene_.touched) {
        if (scene_.segmentNamed(baseName) == nullptr && !withoutMovie_.contains(baseName)) {
            checkWithoutMovie(baseName);
        }
    }
    std::erase_if(open_, [this](unsigned id) {
        const Segment& segment = scene_.segments[id];
        if (segment.mayBeDiscarded || segment.sidecarExcused) {
            return true;
        }
        const auto text = scene_.touched.contains(segment.baseName)
                              ? scene_.files.contents(scene_.root / (segment.baseName + ".json"))
                              : std::nullopt;
        const auto sidecar = text ? std::optional{SidecarCoding::decode(*text)} : std::nullopt;
        if (!sidecar || !*sidecar || !(*sidecar)->endedAt) {
            return false;
        }
        check(segment, **sidecar);
        return true;
    });
}

void SidecarAccount::rememberOrigin(
    const std::string& room, const std::optional<Date>& watchingSince) {
    const Date now = scene_.timeline.now();
    // Who called before a sleep may be known after it.
    constexpr Seconds longestSleep{8000};
    const bool slept =
        scene_.sleepAnnouncedAt && secondsBetween(*scene_.sleepAnnouncedAt, now) < longestSleep;
    const bool isManual = room.starts_with("manual#");
    // "Record now" knows those whom the program saw when it last looked.
    const bool slow = scene_.lastSlow && secondsBetween(*scene_.lastSlow, now) < Seconds{60};
    const Seconds lastLook{slow ? 10 : 4};
    Origin origin;
    for (const auto& [bundleID, held] : lastHeld_) {
        const Row* const row = rowOf(bundleID);
        if (row != nullptr && (isManual ? held == now
                                        : room.starts_with(row->room) &&
                                              (slept || secondsBetween(held, now) < longestAsk))) {
            origin.bundleIDs.insert(bundleID);
        }
    }
    for (const auto& [bundleID, shown] : lastMeeting_) {
        if (slept || secondsBetween(shown, now) < longestAsk) {
            origin.meetings.insert(bundleID);
        }
    }
    const auto longAgo = [&](const Date& date) {
        return secondsBetween(date, now) > lastLook;
    };
    const bool mustKnow = watchingSince && longAgo(*watchingSince) &&
                          (!settingsChangedAt_ || longAgo(*settingsChangedAt_));
    origin.mayBeNobody =
        isManual && !(mustKnow && std::ranges::any_of(callingSince_, [&](const auto& entry) {
                          return longAgo(entry.second);
                      }));
    origins_[room] = std::move(origin);
}

/// An attempt to record of which no movie came.
void SidecarAccount::checkWithoutMovie(const std::string& baseName) {
    const auto text = scene_.files.contents(scene_.root / (baseName + ".json"));
    const auto sidecar = text ? std::optional{SidecarCoding::decode(*text)} : std::nullopt;
    constexpr Seconds sickness{60};
    const bool wasSick =
        scene_.lastSick && secondsBetween(*scene_.lastSick, scene_.timeline.now()) < sickness;
    if (!sidecar || !*sidecar || !(*sidecar)->endedAt || wasSick) {
        return;
    }
    withoutMovie_.insert(baseName);
    const Notes& notes = (*sidecar)->notes;
    const std::string last = notes.empty() ? "" : notes.back();
    const bool interrupted = last.starts_with("Recording was interrupted");
    // Its empty file may be all that there is.
    bool isExplained =
        last == noMovieFound ||
        (last.ends_with("remux to .mp4 failed, the .mov was left in place.") &&
         scene_.files.contents(scene_.root / (baseName + ".mov")).value_or("?").empty());
    if (last == "No camera or microphone could be opened; nothing was recorded.") {
        isExplained = !scene_.brokenDevices.empty() || scene_.microphones.empty();
    } else if (
        notes.size() > 1 && (last == "No partial recording file was found." ||
                             last.starts_with("Converting the partial recording to .mp4 failed"))) {
        isExplained =
            notes[notes.size() - 2].starts_with("capture failed at ") &&
            notes[notes.size() - 2].find("Capture stopped: cannot start") != std::string::npos;
    } else if (last.starts_with("No video file was written; capture finished with: ")) {
        isExplained = last.find("cannot start") != std::string::npos;
    }
    if (!isExplained || (*sidecar)->interrupted != interrupted ||
        (!interrupted && !origins_.contains((*sidecar)->roomCode))) {
        scene_.violate(
            fmt::format("the sidecar of {}, which has no movie, ends with \"{}\"", baseName, last));
    }
}

void SidecarAccount::check(const Segment& segment, const Sidecar& sidecar) {
    const auto wrong = [&](const std::optional<std::string>& what) {
        if (what) {
            scene_.violate(fmt::format("the sidecar of {} {}", segment.baseName, *what));
        }
    };
    if (!segment.opening.room.empty() && sidecar.roomCode != segment.opening.room) {
        wrong("names the room " + sidecar.roomCode + " instead of " + segment.opening.room);
    }
    wrong(judgeTimes(segment, sidecar));
    wrong(judgeSource(segment, sidecar));
    wrong(judgeDevices(segment, sidecar));
    wrong(judgeNotes(segment, sidecar));
}

/// Whether the disk may have kept the program waiting while it made up the sidecar.
bool SidecarAccount::wasSlow(const Segment& segment) const {
    constexpr std::chrono::seconds before{30};
    return scene_.lastSlow && *scene_.lastSlow >= segment.opening.at - before;
}

std::optional<std::string>
SidecarAccount::judgeTimes(const Segment& segment, const Sidecar& sidecar) const {
    const Seconds tolerance = aSecond + rounding + (wasSlow(segment) ? Seconds{15} : Seconds{0});
    const auto fits = [&](Date said, Date true_) {
        const Seconds missing = secondsBetween(said, true_);
        return missing > -rounding && missing < tolerance;
    };
    const auto ahead = [](Date date, Seconds by) {
        return date + std::chrono::duration_cast<std::chrono::nanoseconds>(by);
    };
    if (std::ranges::none_of(segment.opening.clocksAhead, [&](Seconds by) {
            return fits(sidecar.startedAt, ahead(segment.opening.at, by));
        })) {
        return "tells a wrong start";
    }
    if (segment.cutOff) {
        const bool atLastWriting =
            segment.lastWritten && fits(*sidecar.endedAt, *segment.lastWritten);
        const bool hadNoMovie = !sidecar.notes.empty() && sidecar.notes.back() == noMovieFound;
        const bool fitsWell = hadNoMovie ? *sidecar.endedAt == sidecar.startedAt : atLastWriting;
        return fitsWell ? std::nullopt
                        : std::optional<std::string>{"tells a wrong end of what was interrupted"};
    }
    const Seconds said = secondsBetween(sidecar.startedAt, *sidecar.endedAt);
    const Seconds passed = secondsBetween(segment.opening.at, scene_.timeline.now());
    if (std::abs((said - passed).count()) > tolerance.count()) {
        return fmt::format(
            "says that it took {} s, and it took {:.1f} s", said.count(), passed.count());
    }
    return std::nullopt;
}

std::optional<std::string>
SidecarAccount::judgeSource(const Segment& segment, const Sidecar& sidecar) const {
    const auto origin = originOf_.find(segment.id);
    if (!callersAreKnown_ || origin == originOf_.end()) {
        return std::nullopt;
    }
    if (!sidecar.source) {
        return "has no source";
    }
    const CallSource& source = *sidecar.source;
    std::string callName = "Call";
    if (source.kind == CallSource::Kind::manual) {
        if (!origin->second.mayBeNobody) {
            return "names nobody, and somebody called";
        }
        if (source.app != "Manual" || !source.bundleID.empty() || source.site) {
            return "describes a recording by hand wrongly";
        }
    } else {
        const Row* const row = rowOf(source.bundleID);
        if (row == nullptr || !origin->second.bundleIDs.contains(source.bundleID)) {
            return "names " + source.bundleID + ", who did not call";
        }
        if (source.app != row->app || source.kind != row->kind) {
            return "calls " + source.bundleID + " " + source.app;
        }
        if (source.site && (*source.site != "meet.google.com" ||
                            !origin->second.meetings.contains(source.bundleID))) {
            return "names the site " + *source.site + ", which nobody saw";
        }
        callName = row->callName;
    }
    const std::string expected = callName + " · " + dayAndTime(sidecar.startedAt);
    if (sidecar.callName != expected) {
        return "names the call " + sidecar.callName.value_or("nothing") + " instead of " + expected;
    }
    return std::nullopt;
}

std::optional<std::string>
SidecarAccount::judgeDevices(const Segment& segment, const Sidecar& sidecar) const {
    const Opening& opening = segment.opening;
    if (sidecar.videoDevice != opening.camera.value_or("none")) {
        return fmt::format(
            "names the camera {} instead of {}", sidecar.videoDevice,
            opening.camera.value_or("none"));
    }
    if (sidecar.audioDevice != opening.microphone.value_or("none")) {
        return fmt::format(
            "names the microphone {} instead of {}", sidecar.audioDevice,
            opening.microphone.value_or("none"));
    }
    const auto& wished = opening.preferredCamera ? opening.preferredCamera : opening.defaultCamera;
    const bool other =
        !opening.camera || opening.camera != wished ||
        (opening.preferredMicrophone && opening.microphone != opening.preferredMicrophone);
    if (sidecar.fallbackUsed != other) {
        return other ? "knows of no other device than was wished"
                     : "knows of another device than was wished";
    }
    return std::nullopt;
}

std::optional<std::string>
SidecarAccount::judgeNotes(const Segment& segment, const Sidecar& sidecar) const {
    const Notes& notes = sidecar.notes;
    const Notes start = notesOfTheStart(segment, notes.empty() ? "" : notes.front());
    for (std::size_t index = 0; index < start.size(); ++index) {
        if (index >= notes.size() || notes[index] != start[index]) {
            return fmt::format("lacks the note \"{}\", or has it in the wrong place", start[index]);
        }
    }
    const bool continues = !notes.empty() && notes.front().starts_with("continues ");
    // Who waits for the user's leave may begin when its call is over.
    if (continues && !segment.opening.room.empty() &&
        (!segment.before || !segment.beforeFailed ||
         notes.front() != fmt::format("continues {}.mp4 after capture failure", *segment.before))) {
        return "continues what it does not: " + notes.front();
    }
    const bool slept = scene_.sleepAnnouncedAt && *scene_.sleepAnnouncedAt >= segment.beforeAt;
    if (!continues && segment.before && segment.beforeFailed && !slept) {
        return "does not say that it continues " + *segment.before;
    }
    return judgeEnding(
        segment, sidecar,
        Notes{notes.begin() + static_cast<Notes::difference_type>(start.size()), notes.end()});
}

std::optional<std::string> SidecarAccount::judgeEnding(
    const Segment& segment, const Sidecar& sidecar, const Notes& ending) const {
    const bool hasMov =
        scene_.files.contents(scene_.root / (segment.baseName + ".mov")).has_value();
    const auto unexpectedNote = [](const std::string& note) {
        return "has a note that nothing explains: \"" + note + "\"";
    };
    if (segment.cutOff) {
        if (ending.size() != 1) {
            return ending.empty() ? "says nothing of the interruption"
                                  : unexpectedNote(ending.front());
        }
        const std::string& note = ending.front();
        const bool converted =
            note == "Recording was interrupted; the .mov was remuxed to .mp4 on next launch.";
        const bool failed =
            note == "Recording was interrupted; remux to .mp4 failed, the .mov was left in place.";
        const bool nothing = note == noMovieFound;
        if ((converted && !segment.conversionFailed) || (failed && segment.conversionFailed) ||
            (nothing && !hasMov)) {
            return std::nullopt;
        }
        return unexpectedNote(note);
    }
    if (ending.empty()) {
        return segment.conversionFailed ? std::optional<std::string>{"says nothing of the failed "
                                                                     "conversion"}
                                        : std::nullopt;
    }
    if (ending.front().starts_with("capture failed at ")) {
        if (auto wrong = judgeFailure(segment, sidecar, ending.front())) {
            return wrong;
        }
        const bool hadNothing = !segment.conversionBegan;
        if (ending.size() == 1) {
            return segment.conversionFailed || hadNothing
                       ? std::optional<std::string>{"says nothing of the failed conversion"}
                       : std::nullopt;
        }
        const bool explained =
            ending.size() == 2 &&
            ((segment.conversionFailed &&
              ending[1] == "Converting the partial recording to .mp4 failed; the .mov was left in "
                           "place.") ||
             (hadNothing && ending[1] == "No partial recording file was found."));
        return explained ? std::nullopt : std::optional{unexpectedNote(ending[1])};
    }
    const bool kept =
        ending.front().starts_with("MP4 conversion failed (Converting to MP4 failed") &&
        ending.front().ends_with(
            "); kept the original recording as " + segment.baseName + ".mov") &&
        hasMov && !segment.written.empty();
    const bool lost =
        ending.front().starts_with("No video file was written; capture finished with: ") &&
        segment.written.empty();
    if (ending.size() == 1 && segment.conversionFailed && (kept || lost)) {
        return std::nullopt;
    }
    return unexpectedNote(ending.front());
}

std::optional<std::string> SidecarAccount::judgeFailure(
    const Segment& segment, const Sidecar& sidecar, const std::string& note) const {
    constexpr std::size_t beginning = std::string_view{"capture failed at "}.size();
    const auto instant = instantAt(note, beginning);
    if (!instant || !segment.failedAt) {
        return "tells of a failure that was none: " + note;
    }
    // Times of one recording are by one clock, whatever the machine's does meanwhile.
    const auto byItsClock = [&](Date date) {
        return secondsBetween(segment.opening.at, date);
    };
    const Seconds said = secondsBetween(sidecar.startedAt, instant->first);
    const Seconds slack = aSecond + (wasSlow(segment) ? Seconds{15} : Seconds{0});
    const Date latest = segment.conversionBegan.value_or(scene_.timeline.now());
    if (said < byItsClock(*segment.failedAt) - slack || said > byItsClock(latest) + slack) {
        return "tells a wrong time of the failure: " + note;
    }
    std::string text = note.substr(instant->second);
    if (const auto goesOn = text.find("; continued in "); goesOn != std::string::npos) {
        text = text.substr(0, goesOn);
    }
    if (!text.starts_with(": ") ||
        std::ranges::none_of(segment.failureWords, [&](const std::string& words) {
            return text.find(words) != std::string::npos;
        })) {
        return "tells of another failure than there was: " + note;
    }
    return std::nullopt;
}

} // namespace brindle::simulation
