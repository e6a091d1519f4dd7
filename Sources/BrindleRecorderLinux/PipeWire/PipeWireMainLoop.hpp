// The main loop of a program without a window toolkit: PipeWire's own event loop. A toolkit's loop
// can also drive it, by watching its descriptor.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <chrono>
#include <functional>
#include <memory>

struct pw_loop;

namespace brindle {

/// Belongs to the thread that makes it, which is the main thread; only `post` and `quit` may be
/// called from others. Must outlive every timer, signal handler and PipeWire object made on it.
class PipeWireMainLoop final : public MainLoop {
  public:
    /// Throws std::system_error when the system has no descriptors left for it.
    PipeWireMainLoop();
    /// Work that has not run by now is dropped.
    ~PipeWireMainLoop() override;
    PipeWireMainLoop(const PipeWireMainLoop&) = delete;
    PipeWireMainLoop& operator=(const PipeWireMainLoop&) = delete;

    void post(Work work) override;
    /// Destroying the timer from within its own work is allowed.
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::nanoseconds delay, Work work) override;

    /// Handles events until `quit`. May be called again afterwards.
    void run();
    /// Ends `run` once everything posted before has run; a `quit` while nothing runs ends the next
    /// `run`. Any thread.
    void quit();

    /// Calls the handler, as ordinary work of the loop, whenever the process gets that signal. The
    /// signal is blocked for this thread and those started later, so it is asked for before the
    /// first other thread starts. A child process that we start inherits the blocking and has to be
    /// freed of it. False when the system refuses.
    [[nodiscard]] bool onSignal(int signalNumber, std::function<void()> handler);

    /// Readable whenever `iterate` has something to do.
    [[nodiscard]] int descriptor() const;
    /// Handles what is there without waiting, for a loop that watches the descriptor.
    void iterate();

    /// For adapters that put PipeWire objects on this loop.
    [[nodiscard]] pw_loop* loop() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle
