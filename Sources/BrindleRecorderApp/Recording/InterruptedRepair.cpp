#include "BrindleRecorderApp/Recording/InterruptedRepair.hpp"

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"
#include "BrindleRecorderApp/Recording/RecordingLife.hpp"
#include "BrindleRecorderApp/Recording/RecordingSession.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>

namespace brindle {

namespace {

/// Nobody's call waits until thousands of sidecars have been read.
constexpr std::size_t sidecarsPerTurn = 50;

} // namespace

Task<void> InterruptedRepair::run() {
    const auto interrupted = co_await find();
    if (interrupted.empty()) {
        co_return;
    }
    for (const InterruptedRecording& recording : interrupted) {
        co_await repair(recording);
    }
    parts_.notifier.tell(RecordingMessages::recovered(interrupted.size()));
    parts_.files.measure();
}

Task<std::vector<InterruptedRecording>> InterruptedRepair::find() {
    const RecordingsFolder& folder = parts_.files.folder();
    std::vector<InterruptedRecording> found;
    co_await otherWorkHasHadItsTurn();
    const auto sidecars = InterruptedScan::sidecars(folder, parts_.fileManager);
    if (!sidecars) {
        co_return found;
    }
    std::size_t examined = 0;
    for (const std::filesystem::path& path : *sidecars) {
        if (++examined % sidecarsPerTurn == 0) {
            co_await otherWorkHasHadItsTurn();
        }
        // The user may have started a recording before the launch has come this far.
        auto recording = InterruptedScan::examine(folder, parts_.fileManager, path);
        if (recording && !parts_.recordings.hasBegun(recording->baseName)) {
            found.push_back(*std::move(recording));
        }
    }
    co_return found;
}

Task<void> InterruptedRepair::repair(InterruptedRecording recording) {
    const auto sidecar = SidecarStore::read(parts_.fileManager, recording.sidecarURL);
    if (!sidecar) {
        co_return;
    }
    if (!recording.movURL) {
        Sidecar repaired = SidecarUpdate::noting(*sidecar, RecordingNotes::interruptedWithoutMovie);
        repaired.interrupted = true;
        repaired.endedAt = sidecar->startedAt;
        parts_.files.writeSidecar(recording.baseName, repaired);
        co_return;
    }
    const auto modified = parts_.fileManager.modificationDate(*recording.movURL);
    const Date endedAt = modified ? *modified : sidecar->startedAt;
    const auto remuxed = co_await parts_.recordings.remuxer().remuxToMP4(
        *recording.movURL, parts_.files.folder().mp4URL(recording.baseName), MovieOrigin::found,
        [this] { return recordingsHaveHadTheirTurn(); });
    parts_.files.writeSidecar(
        recording.baseName, SidecarUpdate::interrupted(*sidecar, endedAt, remuxed.has_value()));
}

Task<void> InterruptedRepair::otherWorkHasHadItsTurn() {
    const Continuation<Done> turn;
    const auto timer = parts_.mainLoop.after(std::chrono::seconds{0}, [turn] { turn.resume({}); });
    co_await turn;
}

Task<void> InterruptedRepair::recordingsHaveHadTheirTurn() {
    const auto& state = parts_.session.state();
    while (state.get().isRecording() || !parts_.recordings.isIdle()) {
        const Continuation<Done> changed;
        std::unique_ptr<Observation> observation;
        if (state.get().isRecording()) {
            observation = state.observe([this, changed](const SessionState&) {
                parts_.mainLoop.post([changed] { changed.resume({}); });
            });
        } else {
            parts_.recordings.whenIdle([changed] { changed.resume({}); });
        }
        co_await changed;
    }
}

} // namespace brindle
