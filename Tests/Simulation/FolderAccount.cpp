#include "Simulation/FolderAccount.hpp"

#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::simulation {

namespace {

constexpr std::array endings{".mov", ".mp4", ".json"};

bool isHidden(const std::filesystem::path& path) {
    return path.filename().native().starts_with('.');
}

/// That an attempt to record wrote a sidecar and no movie.
bool saysThatNothingWasRecorded(const std::optional<std::string>& text) {
    if (!text) {
        return false;
    }
    const auto sidecar = SidecarCoding::decode(*text);
    return sidecar && std::ranges::any_of(sidecar->notes, [](const std::string& note) {
               return note.find("nothing was recorded") != std::string::npos ||
                      note.find("no .mov file was found") != std::string::npos;
           });
}

} // namespace

void FolderAccount::programLaunched() {
    launchedAt_ = scene_.timeline.now();
}

void FolderAccount::programDied() {
    for (const auto& path : scene_.files.files()) {
        // A sidecar is older than its movie, which may never have come.
        const bool hasNoMovie =
            path.extension() == ".json" && !scene_.recordedBy.contains(path.stem().native());
        if (isHidden(path) || hasNoMovie) {
            leftByDeath_.insert(path);
        }
        const bool cameBack = beforePowerFailed_ && !beforePowerFailed_->contains(path);
        if (cameBack || (isHidden(path) && wasSick())) {
            notRemoved_.insert(path);
        }
    }
    beforePowerFailed_.reset();
    checkWhatWasDiscarded();
    for (Segment& segment : scene_.segments) {
        segment.discardIsDue = false;
    }
}

void FolderAccount::discardIsAskedFor(const std::string& room) {
    for (Segment& segment : scene_.segments) {
        // What is being ended already, because of a sleep, is kept.
        const bool isEnding =
            scene_.ending.contains(segment.baseName) ||
            (scene_.sleepAnnouncedAt && *scene_.sleepAnnouncedAt >= segment.opening.at);
        if (segment.launch == scene_.launches && segment.room == room && !segment.closed &&
            !segment.captureFailed && !isEnding) {
            segment.discardIsDue = true;
            segment.discardAskedAt = scene_.timeline.now();
            ++discards_;
        }
    }
}

void FolderAccount::look() {
    for (; looked_ < scene_.segments.size(); ++looked_) {
        checkWhyItBegan(scene_.segments[looked_]);
    }
    if (discards_ == 0) {
        return;
    }
    // The removal may still be on its way to the disk at the moment in which the files are gone.
    constexpr Seconds onItsWay{1};
    const Date now = scene_.timeline.now();
    discards_ = 0;
    for (Segment& segment : scene_.segments) {
        if (scene_.lastSick && *scene_.lastSick >= segment.discardAskedAt) {
            segment.discardIsDue = false; // what could not be removed stays
        }
        if (!segment.discardIsDue || segment.discarded || segment.captureFailed) {
            continue;
        }
        ++discards_;
        if (!segment.closed || hasFiles(segment)) {
            segment.goneSince.reset();
        } else if (!segment.goneSince) {
            segment.goneSince = now;
        } else if (secondsBetween(*segment.goneSince, now) > onItsWay) {
            segment.discarded = true;
            --discards_;
        }
    }
}

/// A call is recorded into one movie, unless its capture fails or the machine sleeps.
void FolderAccount::checkWhyItBegan(const Segment& segment) {
    const Segment* before = nullptr;
    for (const Segment& other : scene_.segments) {
        if (&other == &segment) {
            break;
        }
        if (other.launch == segment.launch && other.room == segment.room && !other.room.empty()) {
            before = &other;
        }
    }
    const bool slept = before != nullptr && scene_.sleepAnnouncedAt &&
                       *scene_.sleepAnnouncedAt >= before->opening.at;
    if (before != nullptr && !before->captureFailed && !slept) {
        scene_.violate(fmt::format(
            "{} is begun for a call that {} was being recorded into", segment.baseName,
            before->baseName));
    }
}

/// Whether another recording's sidecar reads like this one's: of a later run, which counts its
/// calls from the start again, after somebody has put the clock back.
bool FolderAccount::hasDouble(const Segment& segment) const {
    return std::ranges::any_of(scene_.segments, [&](const Segment& other) {
        return other.id != segment.id && other.baseName == segment.baseName &&
               other.room == segment.room && other.sidecarStart == segment.sidecarStart;
    });
}

/// Whether a file of it is there, and not of another that was given its name.
bool FolderAccount::hasFiles(const Segment& segment) const {
    for (const char* ending : endings) {
        const auto text = scene_.files.contents(scene_.root / (segment.baseName + ending));
        if (!text) {
            continue;
        }
        if (ending == std::string{".json"}) {
            const auto sidecar = SidecarCoding::decode(*text);
            if (!sidecar || (sidecar->roomCode == segment.room &&
                             sidecar->startedAt == segment.sidecarStart && !hasDouble(segment))) {
                return true;
            }
        } else if (std::ranges::any_of(readableFragments(*text), [&](const Fragment& fragment) {
                       return fragment.segment == segment.id;
                   })) {
            return true;
        }
    }
    return false;
}

void FolderAccount::checkWhatWasDiscarded() {
    for (const Segment& segment : scene_.segments) {
        if (segment.discarded && hasFiles(segment)) {
            scene_.violate(
                fmt::format("{} is back, which the user had thrown away", segment.baseName));
        }
    }
}

void FolderAccount::checkAtRest(bool repairs) {
    checkWhatWasDiscarded();
    for (const Segment& segment : scene_.segments) {
        if (segment.discardIsDue && !segment.captureFailed && hasFiles(segment)) {
            scene_.violate(
                fmt::format("{} is still there, which the user threw away", segment.baseName));
        }
    }
    checkNames(repairs);
}

void FolderAccount::checkSettled() {
    checkAtRest(false);
    for (const auto& path : scene_.files.files()) {
        if (isHidden(path) && path.extension() == ".partial" && !mayStay(path)) {
            scene_.violate(fmt::format("{} is left after all repairs", path.filename().native()));
        }
    }
}

/// Of a recording without a sidecar nobody repairs anything; without its .mov, the partial may be
/// all that is left of it; and what a loss of power has brought back was removed in its time.
bool FolderAccount::mayStay(const std::filesystem::path& partial) const {
    constexpr std::string_view ending = ".mp4.partial";
    const std::string name = partial.filename().native();
    const std::string baseName = name.substr(1, name.size() - 1 - ending.size());
    const auto sidecar = scene_.files.contents(scene_.root / (baseName + ".json"));
    return wasSick() || notRemoved_.contains(partial) || saysThatNothingWasRecorded(sidecar) ||
           !sidecar;
}

/// Whether the disk failed in this run.
bool FolderAccount::wasSick() const {
    return scene_.lastSick && *scene_.lastSick >= launchedAt_;
}

void FolderAccount::powerWillFail() {
    const auto files = scene_.files.files();
    beforePowerFailed_ = {files.begin(), files.end()};
}

void FolderAccount::checkNames(bool repairs) {
    if (wasSick()) {
        return; // what could not be removed stays
    }
    for (const auto& path : scene_.files.files()) {
        checkName(path, repairs);
    }
}

void FolderAccount::checkName(const std::filesystem::path& path, bool repairs) {
    const auto wrong = [&] {
        scene_.violate(fmt::format("nobody knows where {} comes from", path.filename().native()));
    };
    const bool cutOff = repairs && isHidden(path) && path.extension() == ".partial";
    if (leftByDeath_.contains(path) || cutOff) {
        return;
    }
    if (path.parent_path() != scene_.root || isHidden(path)) {
        wrong();
    } else if (
        std::ranges::find(endings, path.extension()) == endings.end() ||
        (!scene_.recordedBy.contains(path.stem().native()) &&
         !(path.extension() == ".json" &&
           saysThatNothingWasRecorded(scene_.files.contents(path))))) {
        wrong();
    }
}

} // namespace brindle::simulation
