// Turns one camera and one microphone into a QuickTime movie file, and watches that it happens.
#pragma once

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Recording/CaptureWatchdog.hpp"
#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderApp/Recording/RecorderStatus.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderCore/Base/Executor.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

class CaptureRun;

/// Main thread only. Whatever may block (starting and stopping devices and files) runs on the
/// session queue in the order in which it was asked for, so that a stop never overtakes a start.
class Recorder {
  public:
    /// The session queue's label.
    static constexpr const char* sessionQueueLabel =
        "com.tamsworth.brindlerecorder.capture-session";

    /// All must outlive the recorder, and `sessionQueue` must end before the others do.
    Recorder(
        CaptureSystem& captureSystem, MainLoop& mainLoop, const DateProvider& dateProvider,
        FileManager& fileManager, DiagnosticLog& diagnosticLog, SystemLog& systemLog,
        Executor& sessionQueue, Remuxer& remuxer);
    /// Has the file of a running recording closed, without waiting for it.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Called once for each recording that fails, after the status has become `failed`.
    std::function<void(const RecorderError&)> onFailure;

    [[nodiscard]] const Published<RecorderStatus>& status() const { return status_; }

    /// The error that the last recording's file was closed with, if any; forgotten at each start.
    [[nodiscard]] const std::optional<PlatformError>& lastRecordingFinishError() const {
        return lastRecordingFinishError_;
    }

    /// Begins to record into a new file. Either device may be null, not both. When this returns,
    /// the devices have been opened; they begin to run on the session queue afterwards.
    /// Fails with `alreadyRecording`, `noInputsAvailable`, `cannotAddVideoInput`,
    /// `cannotAddAudioInput` or `cannotAddOutput`; the status is then what it was.
    Expected<void, RecorderError> start(
        const std::shared_ptr<CaptureDevice>& video, const std::shared_ptr<CaptureDevice>& audio,
        const std::filesystem::path& path);

    /// Lets go of the running recording's camera, and takes it again. The file goes on, and the
    /// last picture stands meanwhile. Nothing while nothing is recorded.
    void releaseCamera();
    void retakeCamera();
    /// Another program has the running recording's camera now: it fails for this reason. The
    /// program as people call it, where it is known.
    void loseCamera(const std::optional<std::string>& program);

    /// Stops, waits until the file is complete, and converts it. Answers `finalMP4`; or fails with
    /// `notRecording` when there is nothing (more) to stop, or with the conversion's error, the
    /// .mov then being where it was. The status becomes `idle`.
    Task<Expected<std::filesystem::path, RecorderError>>
    stopAndKeep(std::filesystem::path finalMP4);

    /// Stops, waits until the file is closed, and removes it for good. Does nothing while another
    /// stop is under way. The status becomes `idle`.
    Task<void> stopAndDiscard();

    /// After a failure: waits until the capture queue has done with the failed recording's file, so
    /// that nobody reads it half written. Returns at once when there is no such file.
    Task<void> waitUntilFileIsClosed();

  private:
    void startOnSessionQueue(const std::filesystem::path& path, bool expectsVideo);
    [[nodiscard]] MovieFileOutput::FinishCallback finishCallback();
    void recordingFinished(
        const std::shared_ptr<CaptureRun>& run, const std::optional<PlatformError>& error);

    void startWatchdog(bool expectsVideo, std::uint64_t generation);
    void scheduleWatchdog(std::uint64_t generation);
    void watchdogTick(std::uint64_t generation);
    /// Whether that start's recording still runs and nobody has asked for its end.
    [[nodiscard]] bool isWatched(std::uint64_t generation) const;
    void stopWatchdog();

    void fail(const RecorderError& error);
    void releaseCapture(bool stoppingOutput);
    Task<void> stopCapture();
    void becomeIdleUnlessRestarted(std::uint64_t generation);
    [[nodiscard]] std::string currentFileName() const;

    CaptureSystem& captureSystem_;
    MainLoop& mainLoop_;
    const DateProvider& dateProvider_;
    FileManager& fileManager_;
    EventLog log_;
    Executor& sessionQueue_;
    Remuxer& remuxer_;

    Published<RecorderStatus> status_;
    std::optional<PlatformError> lastRecordingFinishError_;
    std::shared_ptr<CaptureRun> capture_;       // of the running recording
    std::shared_ptr<CaptureRun> failedCapture_; // of the recording that failed last
    std::optional<std::filesystem::path> currentMovPath_;
    std::optional<CaptureWatchdog> watchdog_;
    std::unique_ptr<MainLoop::Timer> watchdogTimer_;
    std::unique_ptr<Observation> runtimeErrorObserver_;
    std::optional<Continuation<Done>> stopContinuation_;
    bool isStopping_ = false;
    std::uint64_t startGeneration_ = 0; // counts the starts, so that what comes late is recognised
    // Gone once the recorder is; what comes back from other threads asks it first.
    std::shared_ptr<const Done> alive_ = std::make_shared<const Done>();
};

} // namespace brindle
