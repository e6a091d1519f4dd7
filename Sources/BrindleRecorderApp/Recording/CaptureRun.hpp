// The devices and the file of one recording, from when they run until they have been let go.
#pragma once

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"
#include "BrindleRecorderCore/Base/Executor.hpp"

#include <memory>
#include <vector>

namespace brindle {

/// Main thread only; what may block is handed to the session queue. Always held by a shared
/// pointer, because the queue holds it too.
class CaptureRun : public std::enable_shared_from_this<CaptureRun> {
  public:
    CaptureRun(ConfiguredCapture capture, MainLoop& mainLoop, Executor& sessionQueue);

    [[nodiscard]] const std::shared_ptr<CaptureSession>& session() const {
        return capture_.session;
    }
    [[nodiscard]] const std::shared_ptr<MovieFileOutput>& output() const { return capture_.output; }

    /// The output has reported that the file is closed.
    void recordingDidFinish();
    [[nodiscard]] bool didRecordingFinish() const { return recordingDidFinish_; }

    /// Stops the session on the session queue, and before it the file if `stoppingOutput` is set
    /// and it is still being written. Call once, last.
    void release(bool stoppingOutput);

    /// Waits, once released, until nobody writes the file any more: the output has reported it
    /// closed, or the session queue has done with it and the output no longer records. The latter
    /// is for a report that never comes.
    static Task<void> fileClosed(std::shared_ptr<CaptureRun> run);

  private:
    void didStopRunning();
    void markFileClosed();

    ConfiguredCapture capture_;
    MainLoop& mainLoop_;
    Executor& sessionQueue_;
    bool recordingDidFinish_ = false;
    bool fileClosed_ = false;
    std::vector<Continuation<Done>> waitingForFile_;
    std::unique_ptr<MainLoop::Timer> lookAgain_;
};

} // namespace brindle
