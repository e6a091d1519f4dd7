#include "BrindleRecorderApp/Recording/Recorder.hpp"

#include "BrindleRecorderApp/Diagnostics.hpp"
#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"
#include "BrindleRecorderApp/Recording/CaptureRun.hpp"
#include "BrindleRecorderApp/Recording/RecordingFinishReport.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

#include <fmt/format.h>

#include <utility>

namespace brindle {

namespace {

std::string nameOf(const std::shared_ptr<CaptureDevice>& device) {
    return device ? device->info().localizedName : "none";
}

/// What an error that closed the file means for the recording; nothing when the file is complete.
std::optional<RecorderError> failureFor(const std::optional<PlatformError>& error) {
    if (!error || error->recordingSuccessfullyFinished) {
        return std::nullopt;
    }
    return RecorderError::sessionRuntimeFailure(error->description);
}

} // namespace

Recorder::Recorder(
    CaptureSystem& captureSystem, MainLoop& mainLoop, const DateProvider& dateProvider,
    FileManager& fileManager, DiagnosticLog& diagnosticLog, SystemLog& systemLog,
    Executor& sessionQueue, Remuxer& remuxer)
    : captureSystem_{captureSystem}, mainLoop_{mainLoop}, dateProvider_{dateProvider},
      fileManager_{fileManager}, log_{diagnosticLog, systemLog, dateProvider},
      sessionQueue_{sessionQueue}, remuxer_{remuxer} {}

Recorder::~Recorder() {
    releaseCapture(true);
}

Expected<void, RecorderError> Recorder::start(
    const std::shared_ptr<CaptureDevice>& video, const std::shared_ptr<CaptureDevice>& audio,
    const std::filesystem::path& path) {
    if (status_.get().isRecording()) {
        return unexpected(RecorderError::alreadyRecording());
    }
    if (!video && !audio) {
        return unexpected(RecorderError::noInputsAvailable());
    }
    auto configured = CaptureConfiguration::configure(captureSystem_, video, audio);
    if (!configured) {
        return unexpected(std::move(configured).error());
    }
    capture_ = std::make_shared<CaptureRun>(*std::move(configured), mainLoop_, sessionQueue_);
    runtimeErrorObserver_ = capture_->session()->observeRuntimeErrors(
        [this](const std::optional<PlatformError>& error) {
            fail(
                RecorderError::sessionRuntimeFailure(error ? error->description : "unknown error"));
        });
    currentMovPath_ = path;
    lastRecordingFinishError_.reset();
    ++startGeneration_;
    status_.set(RecorderStatus::recording(dateProvider_.now()));
    log_.both(
        EventLog::Level::info, fmt::format(
                                   "recorder start: {} video={} audio={}", currentFileName(),
                                   nameOf(video), nameOf(audio)));
    startOnSessionQueue(path, video != nullptr);
    return {};
}

void Recorder::startOnSessionQueue(const std::filesystem::path& path, bool expectsVideo) {
    sessionQueue_.async([alive = std::weak_ptr{alive_}, this, run = capture_, path, expectsVideo,
                         generation = startGeneration_, mainLoop = &mainLoop_,
                         onFinish = finishCallback()] {
        if (alive.expired()) {
            return;
        }
        run->session()->startRunning();
        run->output()->startRecording(path, onFinish);
        mainLoop->post([alive, this, expectsVideo, generation] {
            if (!alive.expired()) {
                startWatchdog(expectsVideo, generation);
            }
        });
    });
}

MovieFileOutput::FinishCallback Recorder::finishCallback() {
    // The output keeps the callback, so the callback must not keep the output.
    return [alive = std::weak_ptr{alive_}, this, weakRun = std::weak_ptr{capture_}, log = log_,
            fileManager = &fileManager_, mainLoop = &mainLoop_](
               const std::filesystem::path& path, const std::optional<PlatformError>& error) {
        RecordingFinishReport::write(log, *fileManager, path, error);
        mainLoop->post([alive, this, weakRun, error] {
            const auto run = weakRun.lock();
            if (!run) {
                return;
            }
            run->recordingDidFinish();
            if (!alive.expired()) {
                recordingFinished(run, error);
            }
        });
    };
}

void Recorder::recordingFinished(
    const std::shared_ptr<CaptureRun>& run, const std::optional<PlatformError>& error) {
    if (run != capture_) {
        return;
    }
    lastRecordingFinishError_ = error;
    if (isStopping_) {
        if (const auto waiting = std::exchange(stopContinuation_, std::nullopt)) {
            waiting->resume({});
        }
        return;
    }
    const auto failure = failureFor(error);
    fail(failure.value_or(RecorderError::recordingStoppedUnexpectedly(
        error ? Diagnostics::describe(*error) : "no error reported")));
}

void Recorder::releaseCamera() {
    if (isWatched(startGeneration_)) {
        sessionQueue_.async([session = capture_->session()] { session->releaseCamera(); });
    }
}

void Recorder::retakeCamera() {
    if (isWatched(startGeneration_)) {
        sessionQueue_.async([session = capture_->session()] { session->retakeCamera(); });
    }
}

void Recorder::loseCamera(const std::optional<std::string>& program) {
    fail(RecorderError::cameraTaken(program));
}

void Recorder::startWatchdog(bool expectsVideo, std::uint64_t generation) {
    if (!isWatched(generation)) {
        return;
    }
    watchdog_.emplace(dateProvider_.now(), expectsVideo);
    scheduleWatchdog(generation);
}

void Recorder::scheduleWatchdog(std::uint64_t generation) {
    watchdogTimer_ = mainLoop_.after(
        CaptureWatchdog::interval, [this, generation] { watchdogTick(generation); });
}

void Recorder::watchdogTick(std::uint64_t generation) {
    if (!isWatched(generation)) {
        return;
    }
    const Seconds recorded = capture_->output()->recordedDuration();
    const auto size = Diagnostics::fileSize(fileManager_, *currentMovPath_);
    const auto error = watchdog_->observe(recorded, size, dateProvider_.now());
    if (!error) {
        scheduleWatchdog(generation);
        return;
    }
    if (const auto* stalled = std::get_if<RecorderError::Stalled>(&error->value)) {
        constexpr std::int64_t unknownSize = -1;
        log_.both(
            EventLog::Level::error,
            fmt::format(
                "stall: {} recorded={}s size={} no progress for {}s", currentFileName(),
                recorded.count(), size.value_or(unknownSize), stalled->seconds));
    }
    fail(*error);
}

bool Recorder::isWatched(std::uint64_t generation) const {
    return generation == startGeneration_ && capture_ && status_.get().isRecording() &&
           !isStopping_;
}

void Recorder::stopWatchdog() {
    watchdogTimer_.reset();
    watchdog_.reset();
}

void Recorder::fail(const RecorderError& error) {
    if (!status_.get().isRecording() || isStopping_) {
        return;
    }
    log_.both(
        EventLog::Level::error,
        fmt::format(
            "recorder failed: {} {}", currentFileName(), error.userMessage(Language::english())));
    failedCapture_ = capture_;
    releaseCapture(true);
    status_.set(RecorderStatus::failed(error));
    if (const auto report = onFailure) {
        report(error);
    }
}

void Recorder::releaseCapture(bool stoppingOutput) {
    stopWatchdog();
    runtimeErrorObserver_.reset();
    if (const auto capture = std::exchange(capture_, nullptr)) {
        capture->release(stoppingOutput);
    }
}

Task<void> Recorder::stopCapture() {
    isStopping_ = true;
    stopWatchdog();
    if (!capture_->didRecordingFinish()) {
        const Continuation<Done> finished;
        stopContinuation_ = finished;
        sessionQueue_.async([output = capture_->output()] { output->stopRecording(); });
        co_await finished;
    }
    releaseCapture(false);
    currentMovPath_.reset();
    isStopping_ = false;
}

Task<Expected<std::filesystem::path, RecorderError>>
Recorder::stopAndKeep(std::filesystem::path finalMP4) {
    if (!currentMovPath_ || !capture_ || isStopping_) {
        if (status_.get().isFailed()) {
            currentMovPath_.reset();
            status_.set(RecorderStatus::idle());
        }
        co_return unexpected(RecorderError::notRecording());
    }
    const auto generation = startGeneration_;
    const auto mov = *currentMovPath_;
    co_await stopCapture();
    const auto converted = co_await remuxer_.remuxToMP4(mov, finalMP4, MovieOrigin::justRecorded);
    becomeIdleUnlessRestarted(generation);
    if (!converted) {
        co_return unexpected(converted.error());
    }
    co_return finalMP4;
}

Task<void> Recorder::stopAndDiscard() {
    const bool isConverting = status_.get().isRecording() && !capture_;
    if (isStopping_ || isConverting) {
        co_return;
    }
    const auto generation = startGeneration_;
    const auto mov = std::exchange(currentMovPath_, std::nullopt);
    if (capture_) {
        co_await stopCapture();
    } else {
        // Removing a file that is still being started or closed might leave another one behind.
        co_await waitUntilFileIsClosed();
    }
    if (mov) {
        fileManager_.removeFileForGood(*mov);
    }
    becomeIdleUnlessRestarted(generation);
}

Task<void> Recorder::waitUntilFileIsClosed() {
    if (const auto failed = failedCapture_) {
        co_await CaptureRun::fileClosed(failed);
        if (failedCapture_ == failed) {
            failedCapture_.reset();
        }
    }
}

void Recorder::becomeIdleUnlessRestarted(std::uint64_t generation) {
    if (generation == startGeneration_) {
        status_.set(RecorderStatus::idle());
    }
}

std::string Recorder::currentFileName() const {
    return currentMovPath_ ? currentMovPath_->filename().string() : "?";
}

} // namespace brindle
