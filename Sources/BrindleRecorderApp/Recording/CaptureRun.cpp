#include "BrindleRecorderApp/Recording/CaptureRun.hpp"

#include <chrono>
#include <utility>

namespace brindle {

namespace {

constexpr std::chrono::seconds lookAgainAfter{1};

} // namespace

CaptureRun::CaptureRun(ConfiguredCapture capture, MainLoop& mainLoop, Executor& sessionQueue)
    : capture_{std::move(capture)}, mainLoop_{mainLoop}, sessionQueue_{sessionQueue} {}

void CaptureRun::recordingDidFinish() {
    recordingDidFinish_ = true;
    markFileClosed();
}

void CaptureRun::release(bool stoppingOutput) {
    sessionQueue_.async([run = shared_from_this(), stoppingOutput]() mutable {
        const ConfiguredCapture& capture = run->capture_;
        if (stoppingOutput && capture.output->isRecording()) {
            capture.output->stopRecording();
        }
        capture.session->stopRunning();
        // The run moves along, so that the last of it goes where it was made, on the main thread.
        MainLoop& mainLoop = run->mainLoop_;
        mainLoop.post([run = std::move(run)] { run->didStopRunning(); });
    });
}

Task<void> CaptureRun::fileClosed(std::shared_ptr<CaptureRun> run) {
    if (!run->fileClosed_) {
        const Continuation<Done> closed;
        run->waitingForFile_.push_back(closed);
        co_await closed;
    }
}

void CaptureRun::didStopRunning() {
    if (fileClosed_) {
        return;
    }
    if (!capture_.output->isRecording()) {
        markFileClosed();
        return;
    }
    lookAgain_ = mainLoop_.after(lookAgainAfter, [weakly = weak_from_this()] {
        if (const auto run = weakly.lock()) {
            run->didStopRunning();
        }
    });
}

void CaptureRun::markFileClosed() {
    fileClosed_ = true;
    lookAgain_.reset();
    for (const auto& waiting : std::exchange(waitingForFile_, {})) {
        waiting.resume({});
    }
}

} // namespace brindle
