#include "Simulation/Ledger.hpp"

#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include <algorithm>
#include <vector>

namespace brindle::simulation {

namespace {

bool hasNote(const Sidecar& sidecar, const std::string& part) {
    return std::ranges::any_of(sidecar.notes, [&](const std::string& note) {
        return note.find(part) != std::string::npos;
    });
}

/// The base name between two pieces of a note.
std::optional<std::string>
baseNameIn(const Sidecar& sidecar, const std::string& before, const std::string& after) {
    for (const std::string& note : sidecar.notes) {
        const auto begin = note.find(before);
        const auto end = note.find(after, begin);
        if (begin != std::string::npos && end != std::string::npos) {
            return note.substr(begin + before.size(), end - begin - before.size());
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> Ledger::textOf(const Segment& segment, const char* ending) const {
    return scene_.files.contents(scene_.root / (segment.baseName + ending));
}

std::optional<Sidecar> Ledger::sidecarOf(const std::string& baseName) const {
    const auto text = scene_.files.contents(scene_.root / (baseName + ".json"));
    if (!text) {
        return std::nullopt;
    }
    auto sidecar = SidecarCoding::decode(*text);
    return sidecar ? std::optional{std::move(*sidecar)} : std::nullopt;
}

bool Ledger::isInProgress(const Segment& segment) const {
    const auto sidecar = sidecarOf(segment.baseName);
    return !sidecar || !sidecar->endedAt;
}

/// How many of the segment's fragments are in one of its movies, from the first on.
std::size_t Ledger::present(const Segment& segment) const {
    std::vector<bool> found(segment.written.size(), false);
    for (const char* ending : {".mov", ".mp4"}) {
        for (const Fragment& fragment : readableFragments(textOf(segment, ending).value_or(""))) {
            if (fragment.segment == segment.id && fragment.number < found.size()) {
                found[fragment.number] = true;
            }
        }
    }
    return static_cast<std::size_t>(std::ranges::find(found, false) - found.begin());
}

void Ledger::checkTouched() {
    if (scene_.touched.empty()) {
        return;
    }
    for (Segment& segment : scene_.segments) {
        if (scene_.touched.contains(segment.baseName)) {
            check(segment);
        }
    }
    scene_.touched.clear();
}

void Ledger::checkAll() {
    for (Segment& segment : scene_.segments) {
        check(segment);
    }
    scene_.touched.clear();
}

void Ledger::check(Segment& segment) {
    // Of a recording whose sidecar could not be written nobody knows the room.
    const bool discarded =
        segment.room.empty() ? !discardedRooms_.empty() : discardedRooms_.contains(segment.room);
    if (discarded && isInProgress(segment)) {
        segment.mayBeDiscarded = true;
    }
    if (segment.mayBeDiscarded) {
        return;
    }
    const std::size_t kept = present(segment);
    if (kept < segment.safe) {
        scene_.violate(fmt::format(
            "media lost: of {} there are {} fragments, and {} were safe on the disk",
            segment.baseName, kept, segment.safe));
    }
    const bool hasMovie = textOf(segment, ".mov") || textOf(segment, ".mp4");
    if (hasMovie && !segment.sidecarExcused && !sidecarOf(segment.baseName)) {
        scene_.violate(fmt::format("the movie {} has no readable sidecar", segment.baseName));
    }
}

void Ledger::mayDiscard(const std::string& room) {
    discardedRooms_.insert(room);
    for (Segment& segment : scene_.segments) {
        if ((segment.room == room || segment.room.empty()) && isInProgress(segment)) {
            segment.mayBeDiscarded = true;
        }
    }
}

void Ledger::endWasAskedFor() {
    for (Segment& segment : scene_.segments) {
        if (segment.failureMustShow && isInProgress(segment)) {
            segment.failureMustShow = false;
        }
    }
}

void Ledger::excuse() {
    scene_.lastSick = scene_.timeline.now();
    for (Segment& segment : scene_.segments) {
        if (!segment.sidecarExcused && isInProgress(segment)) {
            segment.sidecarExcused = true;
        }
    }
}

void Ledger::programDied(bool powerFailed) {
    for (Segment& segment : scene_.segments) {
        const bool wasOpen = !segment.closed;
        segment.closed = true;
        if (wasOpen && !segment.captureFailed) {
            double secured = 0;
            const std::size_t count = powerFailed ? segment.safe : segment.written.size();
            for (std::size_t index = 0; index < count; ++index) {
                secured += segment.written[index] / 1000.0;
            }
            const Seconds captured = secondsBetween(segment.startedAt, scene_.timeline.now());
            scene_.statistics.secondsLost += std::max(0.0, captured.count() - secured);
        }
        const auto sidecar = sidecarOf(segment.baseName);
        if (sidecar && !sidecar->endedAt) {
            segment.cutOff = true;
        }
    }
    discardedRooms_.clear(); // the next run counts its rooms from one again
}

void Ledger::checkClosed(const char* when) {
    for (const Segment& segment : scene_.segments) {
        if (segment.launch != scene_.launches || segment.sidecarExcused || segment.mayBeDiscarded) {
            continue;
        }
        const auto sidecar = sidecarOf(segment.baseName);
        if (!segment.closed || (sidecar && !sidecar->endedAt)) {
            scene_.violate(fmt::format("{} is not done with {}", segment.baseName, when));
        }
    }
}

void Ledger::checkSettled() {
    checkAll();
    for (const Segment& segment : scene_.segments) {
        if (!segment.mayBeDiscarded) {
            checkSettled(segment);
        }
    }
}

void Ledger::checkSettled(const Segment& segment) {
    const auto mov = textOf(segment, ".mov");
    const auto mp4 = textOf(segment, ".mp4");
    const auto sidecar = sidecarOf(segment.baseName);
    if ((!mov && !mp4) || segment.sidecarExcused || !sidecar) {
        return; // a movie without a sidecar was told before
    }
    const auto wrong = [&](const char* what) {
        scene_.violate(fmt::format("the sidecar of {} {}", segment.baseName, what));
    };
    if (!sidecar->endedAt) {
        wrong("has no end");
    }
    if (sidecar->interrupted != hasNote(*sidecar, "Recording was interrupted")) {
        wrong("tells of an interruption in one place only");
    }
    if (sidecar->interrupted != segment.cutOff) {
        wrong(
            segment.cutOff ? "knows of no interruption" : "tells of an interruption that was none");
    }
    const bool whole = mp4 && readableFragments(*mp4).size() >= segment.safe;
    const bool saysMovStays = hasNote(*sidecar, "kept the original recording as") ||
                              hasNote(*sidecar, "the .mov was left in place");
    if (mov && !readableFragments(*mov).empty() && !whole && !saysMovStays) {
        wrong("does not say that the .mov was kept");
    }
    if (saysMovStays && !mov) {
        wrong("says that the .mov was kept");
    }
    const bool saysNothing = hasNote(*sidecar, "No partial recording file was found") ||
                             hasNote(*sidecar, "No video file was written");
    if (saysNothing && segment.safe > 0) {
        wrong("says that there is no movie");
    }
    const bool saysFailed = hasNote(*sidecar, "capture failed at");
    if (saysFailed && !segment.captureFailed) {
        wrong("tells of a capture failure that was none");
    }
    if (segment.failureMustShow && !segment.cutOff && !saysFailed) {
        wrong("does not tell of the capture failure");
    }
    if (const auto before = baseNameIn(*sidecar, "continues ", ".mp4 after")) {
        const auto continued = sidecarOf(*before);
        if (continued && !hasNote(*continued, "; continued in " + segment.baseName + ".mp4")) {
            const auto other = std::ranges::find(scene_.segments, *before, &Segment::baseName);
            if (other == scene_.segments.end() || !(other->sidecarExcused || other->cutOff)) {
                wrong("continues another that does not know of it");
            }
        }
    }
}

void Ledger::close(Statistics& statistics) const {
    for (const Segment& segment : scene_.segments) {
        const std::size_t kept = present(segment);
        for (std::size_t index = 0; index < segment.written.size(); ++index) {
            const double seconds = segment.written[index] / 1000.0;
            if (index < kept) {
                statistics.secondsKept += seconds;
            } else if (segment.mayBeDiscarded) {
                statistics.secondsDiscarded += seconds;
            }
        }
    }
}

} // namespace brindle::simulation
