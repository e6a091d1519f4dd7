#include "BrindleRecorderApp/Recording/SegmentCloser.hpp"

#include "BrindleRecorderApp/Diagnostics.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include <fmt/format.h>
#include <utility>
#include <variant>

namespace brindle {

Task<void> SegmentCloser::keep(Segment segment) {
    const auto& folder = parts_.files.folder();
    const std::string baseName = segment.baseName;
    parts_.log.system(EventLog::Level::info, "stop and keep: " + baseName);
    const RecorderStatus before = parts_.recorder.status().get();
    const auto kept = co_await parts_.recorder.stopAndKeep(folder.mp4URL(baseName));
    if (const auto* failed = std::get_if<RecorderStatus::Failed>(&before.value); failed && !kept) {
        // It failed just before it was to stop, so there is nothing to stop but all to convert.
        const Ended left = co_await convertFailed(std::move(segment), failed->error);
        finishEnded(left, std::nullopt);
        co_return;
    }
    if (!kept) {
        keepWhateverWasRecorded(segment, kept.error());
        co_return;
    }
    parts_.log.system(
        EventLog::Level::info,
        fmt::format(
            "kept: {}.mp4 {}", baseName,
            Diagnostics::fileState(parts_.fileManager, folder.mp4URL(baseName))));
    finish(baseName, std::move(segment.sidecar), parts_.dateProvider.now());
}

Task<void> SegmentCloser::discard(Segment segment) {
    const auto& folder = parts_.files.folder();
    // An open sidecar is what the next launch recovers, so it goes first, whatever happens then.
    static_cast<void>(parts_.fileManager.removeFileForGood(folder.sidecarURL(segment.baseName)));
    co_await parts_.recorder.stopAndDiscard();
    static_cast<void>(parts_.fileManager.removeFileForGood(folder.mp4URL(segment.baseName)));
}

Task<SegmentCloser::Ended> SegmentCloser::convertFailed(Segment segment, RecorderError error) {
    const auto& folder = parts_.files.folder();
    Ended ended{
        .segment = std::move(segment),
        .message = error.userMessage(Language::english()),
        .endedAt = parts_.dateProvider.now(),
        .closedAt = {},
    };
    // Nothing reads a movie that is still being written.
    co_await parts_.recorder.waitUntilFileIsClosed();
    const auto movPath = folder.movURL(ended.segment.baseName);
    ended.hasMovie = parts_.fileManager.fileExists(movPath);
    if (ended.hasMovie) {
        const auto remuxed = co_await parts_.remuxer.remuxToMP4(
            movPath, folder.mp4URL(ended.segment.baseName), MovieOrigin::justRecorded);
        ended.isConverted = remuxed.has_value();
    }
    ended.closedAt = parts_.dateProvider.now();
    co_return ended;
}

Task<SegmentCloser::Ended> SegmentCloser::stopToGoOn(Segment segment, std::string message) {
    const auto& folder = parts_.files.folder();
    const RecorderStatus before = parts_.recorder.status().get();
    Ended ended{
        .segment = std::move(segment),
        .message = std::move(message),
        .endedAt = parts_.dateProvider.now(),
        .closedAt = {},
    };
    const auto kept = co_await parts_.recorder.stopAndKeep(folder.mp4URL(ended.segment.baseName));
    if (const auto* failed = std::get_if<RecorderStatus::Failed>(&before.value); failed && !kept) {
        co_return co_await convertFailed(std::move(ended.segment), failed->error);
    }
    ended.isConverted = kept.has_value();
    ended.hasMovie =
        kept.has_value() || parts_.fileManager.fileExists(folder.movURL(ended.segment.baseName));
    ended.closedAt = parts_.dateProvider.now();
    co_return ended;
}

void SegmentCloser::finishEnded(const Ended& ended, const std::optional<std::string>& continuedIn) {
    Sidecar sidecar = SidecarUpdate::noting(
        ended.segment.sidecar,
        RecordingNotes::captureFailure(
            ended.endedAt, ended.message, continuedIn, parts_.currentTimeZone()));
    if (!ended.isConverted) {
        sidecar = SidecarUpdate::noting(
            std::move(sidecar), ended.hasMovie ? RecordingNotes::partialConversionFailed
                                               : RecordingNotes::noPartialFile);
    }
    finish(ended.segment.baseName, std::move(sidecar), ended.closedAt);
    parts_.files.measure();
}

void SegmentCloser::finish(const std::string& baseName, Sidecar sidecar, Date at) {
    parts_.files.writeSidecar(baseName, SidecarUpdate::finished(std::move(sidecar), at));
}

void SegmentCloser::keepWhateverWasRecorded(const Segment& segment, const RecorderError& error) {
    const auto& folder = parts_.files.folder();
    const auto& files = parts_.fileManager;
    const std::string& baseName = segment.baseName;
    const auto movPath = folder.movURL(baseName);
    const auto& finishError = parts_.recorder.lastRecordingFinishError();
    const std::string finishText =
        finishError ? Diagnostics::describe(*finishError) : "no error reported";
    parts_.log.system(
        EventLog::Level::error,
        fmt::format(
            "stop and keep failed: {} error={}; .mov {}; .mp4 {}; capture finished with: {}",
            baseName, error.userMessage(Language::english()),
            Diagnostics::fileState(files, movPath),
            Diagnostics::fileState(files, folder.mp4URL(baseName)), finishText));
    const bool somethingWasWritten = Diagnostics::fileSize(files, movPath).value_or(0) >= 1;
    const std::string note =
        somethingWasWritten
            ? RecordingNotes::conversionFailed(error.userMessage(Language::english()), baseName)
            : RecordingNotes::noVideoFile(finishText);
    finish(baseName, SidecarUpdate::noting(segment.sidecar, note), parts_.dateProvider.now());
    parts_.notifier.tell(
        somethingWasWritten ? RecordingMessages::keptAsMov(baseName)
                            : RecordingMessages::lost(baseName));
}

} // namespace brindle
