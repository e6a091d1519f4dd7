#include "Simulation/UserAccount.hpp"

#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>
#include <utility>

namespace brindle::simulation {

namespace {

std::optional<std::string> wrong(const char* what, const std::string& text) {
    return fmt::format("{}: \"{}\"", what, text);
}

/// What stands between two pieces of a text; nothing when it is not of that form.
std::optional<std::string>
between(const std::string& text, std::string_view before, std::string_view after) {
    if (!text.starts_with(before) || !text.ends_with(after) ||
        text.size() < before.size() + after.size()) {
        return std::nullopt;
    }
    return text.substr(before.size(), text.size() - before.size() - after.size());
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::uint64_t kilobyte = 1000;
    if (bytes == 1) {
        return "1 byte";
    }
    return bytes < kilobyte ? fmt::format("{} bytes", bytes)
                            : fmt::format("{} KB", (bytes + kilobyte / 2) / kilobyte);
}

bool isAboutAFailure(const std::string& body) {
    constexpr std::array<std::string_view, 5> beginnings{
        "Capture stopped: ", "Nothing was written for ", "The camera delivered no frames.",
        "Recording stopped on its own (", "The camera is available again."};
    return std::ranges::any_of(
        beginnings, [&](std::string_view beginning) { return body.starts_with(beginning); });
}

} // namespace

void UserAccount::programLaunched(const AppModel& model) {
    launchedAt_ = scene_.timeline.now();
    judged_ = 0;
    told_.clear();
    lastWarning_.reset();
    promptIdleSince_.reset();
    quietSince_.reset();
    setupProblem_.reset();
    open_.clear();
    known_ = scene_.segments.size();
    toRecover_ = 0;
    for (const auto& path : scene_.files.files()) {
        if (path.extension() != ".json" || path.filename().native().starts_with('.')) {
            continue;
        }
        const auto sidecar = SidecarCoding::decode(scene_.files.contents(path).value_or(""));
        toRecover_ += sidecar && !sidecar->endedAt ? 1U : 0U;
    }
    sizes_ = {sizeText(scene_.folderSize())};
    scene_.folderSizes.clear();
    if (auto found = judgeSize(model)) {
        scene_.violate(*std::move(found));
    }
}

bool UserAccount::recently(const std::optional<Date>& date, Seconds before) const {
    return date && secondsBetween(*date, scene_.timeline.now()) < before;
}

void UserAccount::look(
    const AppModel& model, const test::FakeUserNotifications& notifications, bool somebodyCalls,
    const std::optional<Date>& watchingSince) {
    const auto report = [this](Wrong found) {
        if (found) {
            scene_.violate(*std::move(found));
        }
    };
    for (; judged_ < notifications.posted.size(); ++judged_) {
        report(judge(notifications.posted[judged_], model));
    }
    if (model.captureWarning.get()) {
        report(judgeWarning(model));
    }
    if (model.lastRecordingError.get()) {
        report(judgeLastError(model));
    }
    report(judgePrompt(model, notifications, somebodyCalls, watchingSince));
    report(judgeIcon(model, watchingSince));
    if (!scene_.touched.empty()) {
        report(judgeSize(model));
    }
}

// --- Notifications ---

UserAccount::Wrong UserAccount::judge(const NotificationRequest& request, const AppModel& model) {
    const std::string& body = request.body;
    if (request.label) {
        return request.title == "Record this call?" &&
                       body.ends_with(" is using the microphone.") &&
                       model.pendingAskLabel.get() == request.label
                   ? std::nullopt
                   : wrong("the user is asked in a wrong way", body);
    }
    if (request.title != "Brindle Recorder") {
        return wrong("a notification has a wrong title", request.title);
    }
    if (isAboutAFailure(body)) {
        return judgeFailure(body, model);
    }
    if (body.starts_with("Recording ")) {
        return judgeDevices(body);
    }
    if (body == "Another program is using the camera; recording sound only.") {
        return scene_.lastOpening.isWithoutUsedCamera() ? std::nullopt
                                                        : wrong("nobody uses the camera", body);
    }
    if (body.starts_with("Only ")) {
        return judgeSpace(body);
    }
    if (body.starts_with("The MP4 conversion failed")) {
        return judgeKept(body);
    }
    if (body.starts_with("The recording ")) {
        return judgeLost(body);
    }
    if (const auto count = between(body, "Recovered ", " interrupted recording(s).")) {
        const bool fits =
            *count == std::to_string(toRecover_) || recently(scene_.lastSick, Seconds{60});
        return fits && toRecover_ > 0
                   ? std::nullopt
                   : wrong("there was another number of recordings to recover", body);
    }
    if (body == "Microphone access is denied, so nothing could be recorded.") {
        return scene_.authorization.at(MediaType::audio) != AuthorizationStatus::authorized
                   ? std::nullopt
                   : wrong("access was granted", body);
    }
    if (body == "Could not open any camera or microphone. Nothing was recorded.") {
        const bool hasDevices = !scene_.microphones.empty() && scene_.brokenDevices.empty();
        return hasDevices ? wrong("all devices let themselves be opened", body) : std::nullopt;
    }
    return wrong("nothing explains the notification", body);
}

bool UserAccount::hasFailure(const std::string& text, const std::string* room) const {
    return std::ranges::any_of(scene_.failures, [&](const CaptureFailure& failure) {
        return failure.launch == scene_.launches && (room == nullptr || failure.room == *room) &&
               std::ranges::any_of(failure.words, [&](const std::string& words) {
                   return text.find(words) != std::string::npos;
               });
    });
}

UserAccount::Wrong UserAccount::judgeFailure(const std::string& body, const AppModel& model) {
    // The latest of those that look alike.
    const auto found = std::find_if(
        scene_.failures.rbegin(), scene_.failures.rend(), [&](const CaptureFailure& failure) {
            return failure.launch == scene_.launches && !failure.told &&
                   std::ranges::any_of(failure.words, [&](const std::string& words) {
                       return body.find(words) != std::string::npos;
                   });
        });
    if (found == scene_.failures.rend()) {
        return wrong("no capture has failed so", body);
    }
    found->told = true;
    const bool goesOn = body.ends_with(" Restarting capture into a new file.");
    const SessionState& state = model.sessionState.get();
    // A restart that is refused at once ends the session in the same step.
    if (goesOn && !(state.roomCode() == found->room) && !found->room.empty()) {
        return wrong("a call that is over is said to go on", body);
    }
    const bool isProblem = !body.starts_with("The camera is available again.");
    if (goesOn && isProblem && !model.captureWarning.get()) {
        return wrong("no warning stands in the menu", body);
    }
    return std::nullopt;
}

UserAccount::Wrong UserAccount::judgeDevices(const std::string& body) const {
    const Opening& opening = scene_.lastOpening;
    const std::string microphone = opening.microphone.value_or("none");
    if (opening.camera) {
        return body == fmt::format("Recording with {} / {}.", *opening.camera, microphone)
                   ? std::nullopt
                   : wrong("other devices record", body);
    }
    return body.starts_with(fmt::format("Recording audio only, with no camera: {}.", microphone))
               ? std::nullopt
               : wrong("other devices record", body);
}

UserAccount::Wrong UserAccount::judgeSpace(const std::string& body) const {
    const double gigabytes = static_cast<double>(scene_.freeBytes) / 1e9;
    const std::string expected = fmt::format(
        "Only {:.1f} GB free — {}.", gigabytes,
        gigabytes < 1 ? "not recording this call" : "recording anyway");
    const bool unreadable = recently(scene_.lastSick, Seconds{60}) &&
                            body == "Only 0.0 GB free — not recording this call.";
    return (body == expected && gigabytes < 5) || unreadable
               ? std::nullopt
               : wrong("the disk has other room", body);
}

UserAccount::Wrong UserAccount::judgeKept(const std::string& body) {
    const auto name =
        between(body, "The MP4 conversion failed, so the recording was kept as ", ".mov.");
    if (!name) {
        return wrong("nothing explains the notification", body);
    }
    const Segment* const segment = scene_.segmentNamed(*name);
    const bool isThere =
        !scene_.files.contents(scene_.root / (*name + ".mov")).value_or("").empty();
    const bool failed = segment != nullptr &&
                        (segment->conversionFailed || recently(scene_.lastSick, Seconds{600}));
    return failed && isThere && told_.insert(*name).second
               ? std::nullopt
               : wrong("the recording was not kept so", body);
}

UserAccount::Wrong UserAccount::judgeLost(const std::string& body) {
    const auto name = between(body, "The recording ", " was lost: no video file was written.");
    if (!name) {
        return wrong("nothing explains the notification", body);
    }
    const Segment* const segment = scene_.segmentNamed(*name);
    const bool isThere =
        !scene_.files.contents(scene_.root / (*name + ".mov")).value_or("").empty() ||
        !scene_.files.contents(scene_.root / (*name + ".mp4")).value_or("").empty();
    const bool isLost = segment == nullptr || !isThere || recently(scene_.lastSick, Seconds{600});
    return isLost && told_.insert(*name).second ? std::nullopt
                                                : wrong("the recording was not lost", body);
}

void UserAccount::checkAtRest(const char* when) {
    for (const Segment& segment : scene_.segments) {
        if (segment.launch != scene_.launches || segment.mayBeDiscarded) {
            continue;
        }
        const bool told = std::ranges::any_of(scene_.failures, [&](const CaptureFailure& failure) {
            return failure.segment == segment.id && failure.told;
        });
        if (segment.failureMustShow && !told) {
            scene_.violate(fmt::format(
                "the user was not told of the failure of {} {}", segment.baseName, when));
        }
        const auto text = scene_.files.contents(scene_.root / (segment.baseName + ".json"));
        const bool isSaid =
            text && (text->find("\"MP4 conversion failed") != std::string::npos ||
                     text->find("\"No video file was written") != std::string::npos);
        if (isSaid && !told_.contains(segment.baseName)) {
            scene_.violate(
                fmt::format("the user was not told what became of {} {}", segment.baseName, when));
        }
    }
}

// --- What stands in the menu ---

UserAccount::Wrong UserAccount::judgeWarning(const AppModel& model) {
    const std::string& text = *model.captureWarning.get();
    const auto room = model.sessionState.get().roomCode();
    if (!room) {
        return wrong("a warning outlives its call", text);
    }
    const bool nothingReopened =
        text == "Recording stopped: no camera or microphone could be reopened.";
    const bool isOfTheCall =
        nothingReopened ? std::ranges::any_of(
                              scene_.failures,
                              [&](const CaptureFailure& failure) {
                                  return failure.launch == scene_.launches && failure.room == *room;
                              })
                        : hasFailure(text, &*room);
    if (!isOfTheCall) {
        return wrong("a warning stands beside another call", text);
    }
    if (lastWarning_ != text) {
        lastWarning_ = text;
        return nothingReopened || tellsTheTime(text) ? std::nullopt
                                                     : wrong("a warning tells another time", text);
    }
    return std::nullopt;
}

/// The program's clock may be any of those that it had between the calls, and the disk may have
/// kept it waiting.
bool UserAccount::tellsTheTime(const std::string& warning) const {
    constexpr Seconds mostDelay{15};
    const auto says = [&](Seconds by) {
        using namespace std::chrono;
        const Date date = scene_.timeline.now() + duration_cast<nanoseconds>(by);
        const auto minute = floor<minutes>(date.time_since_epoch());
        const auto ofDay = minute - floor<days>(minute);
        const std::string time =
            fmt::format(" at {:02}:{:02}: ", ofDay.count() / 60, ofDay.count() % 60);
        return warning.find(time) != std::string::npos;
    };
    return std::ranges::any_of(scene_.clocksAhead, [&](Seconds by) {
        return says(by) || (recently(scene_.lastSlow, mostDelay) && says(by - mostDelay));
    });
}

UserAccount::Wrong UserAccount::judgeLastError(const AppModel& model) const {
    const std::string& text = *model.lastRecordingError.get();
    const SessionState& state = model.sessionState.get();
    if (text.starts_with("Recording stopped: ")) {
        return std::nullopt;
    }
    const auto room = state.roomCode();
    if (state.isRecording() && !hasFailure(text, &*room)) {
        return wrong("the last recording's error stands beside another recording", text);
    }
    if (!hasFailure(text, nullptr)) {
        return wrong("no capture has failed so", text);
    }
    return std::nullopt;
}

UserAccount::Wrong UserAccount::judgePrompt(
    const AppModel& model, const test::FakeUserNotifications& notifications, bool somebodyCalls,
    const std::optional<Date>& watchingSince) {
    constexpr Seconds mostLag{8};
    constexpr Seconds gone{20};
    const auto& pending = model.pendingAskLabel.get();
    for (const auto& [identifier, request] : notifications.shown) {
        if (request.label && request.label != pending) {
            return wrong("a prompt stands that nobody waits for", request.body);
        }
    }
    const Date now = scene_.timeline.now();
    const bool looks = watchingSince && !scene_.asleep && !recently(scene_.lastSlow, mostLag);
    if (somebodyCalls || !looks || *watchingSince == now) {
        quietSince_.reset();
    } else {
        quietSince_ = quietSince_.value_or(now);
    }
    if (!pending || !looks || !model.sessionState.get().isRecording()) {
        promptIdleSince_.reset();
    } else {
        promptIdleSince_ = promptIdleSince_.value_or(now);
    }
    if (pending && callersAreKnown_ && quietSince_ &&
        secondsBetween(*quietSince_, now) > gone + mostLag) {
        return wrong("the prompt outlives its call", *pending);
    }
    if (promptIdleSince_ && secondsBetween(*promptIdleSince_, now) > mostLag) {
        return wrong("the prompt stands beside a recording", *pending);
    }
    return std::nullopt;
}

UserAccount::Wrong
UserAccount::judgeIcon(const AppModel& model, const std::optional<Date>& watchingSince) {
    constexpr std::uint64_t seldom = 8;
    constexpr Seconds mostLag{5};
    const Date now = scene_.timeline.now();
    const bool setupProblem =
        scene_.authorization.at(MediaType::video) != AuthorizationStatus::authorized ||
        scene_.authorization.at(MediaType::audio) != AuthorizationStatus::authorized;
    if (setupProblem_ != setupProblem) {
        setupProblem_ = setupProblem;
        setupProblemSince_ = now;
    }
    if (++looks_ % seldom != 0) {
        return std::nullopt;
    }
    const MenuBarIconState icon = menuBarIconState(model, model.permissions);
    const auto& error = model.lastRecordingError.get();
    if (model.sessionState.get().isRecording()) {
        return icon == MenuBarIconState::recording() ? std::nullopt
                                                     : wrong("the icon", "does not record");
    }
    if (error) {
        return icon == MenuBarIconState::error(*error) ? std::nullopt
                                                       : wrong("the icon does not show", *error);
    }
    const bool isSettled = watchingSince && !scene_.asleep &&
                           secondsBetween(*watchingSince, now) > mostLag &&
                           secondsBetween(setupProblemSince_, now) > mostLag &&
                           !recently(scene_.lastSlow, mostLag * 2);
    const bool showsProblem =
        icon == MenuBarIconState::error("Setup needs attention (see Permissions and Setup)");
    if (!showsProblem && icon != MenuBarIconState::idle()) {
        return wrong("the icon", "shows what nobody knows");
    }
    if (isSettled && showsProblem != setupProblem) {
        return wrong("the icon", setupProblem ? "shows no problem" : "shows a problem");
    }
    return std::nullopt;
}

// --- The folder's size ---

/// It is counted when a recording ends, and may be out of date until the next one does.
UserAccount::Wrong UserAccount::judgeSize(const AppModel& model) {
    for (; known_ < scene_.segments.size(); ++known_) {
        open_.insert(scene_.segments[known_].id);
    }
    const std::size_t ended = std::erase_if(open_, [this](unsigned id) {
        const Segment& segment = scene_.segments[id];
        if (!scene_.touched.contains(segment.baseName)) {
            return false;
        }
        const auto text = scene_.files.contents(scene_.root / (segment.baseName + ".json"));
        if (!text) {
            // Thrown away.
            return segment.closed &&
                   !scene_.files.contents(scene_.root / (segment.baseName + ".mov"));
        }
        const auto sidecar = SidecarCoding::decode(*text);
        return sidecar && sidecar->endedAt;
    });
    if (ended > 0) {
        sizes_.clear();
    }
    for (const std::uint64_t bytes : std::exchange(scene_.folderSizes, {})) {
        sizes_.insert(sizeText(bytes));
    }
    const std::string& shown = model.folderSizeText.get();
    if (sizes_.contains(shown) || (scene_.lastSick && *scene_.lastSick >= launchedAt_)) {
        return std::nullopt;
    }
    return wrong("the folder has another size", shown);
}

} // namespace brindle::simulation
