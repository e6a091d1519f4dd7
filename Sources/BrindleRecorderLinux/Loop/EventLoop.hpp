// The main loop of the program: sd-event, with waits that count time asleep.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <chrono>
#include <functional>
#include <memory>

struct sd_event;

namespace brindle {

/// Belongs to the thread that makes it, which is the main thread; only `post` and `quit` may be
/// called from others. Must outlive everything that is made on it, timers excepted. Nothing may run
/// it from within its own work.
class EventLoop final : public MainLoop {
  public:
    /// Throws std::system_error when the system has no descriptors left for it.
    EventLoop();
    /// Work that has not run by now is dropped.
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void post(Work work) override;
    /// Destroying the timer from within its own work is allowed.
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::nanoseconds delay, Work work) override;

    /// Handles events until `quit`. May be called again afterwards. Throws std::system_error when
    /// the system refuses to wait.
    void run();
    /// Ends `run` once everything posted before has run; a `quit` while nothing runs ends the next
    /// `run`. Any thread.
    void quit();

    /// Calls the handler, as ordinary work of the loop, whenever the process gets that signal,
    /// which can have one handler. The signal is blocked for this thread and those started later,
    /// so it is asked for before the first other thread starts. A child process that we start
    /// inherits the blocking and has to be freed of it. False when the system refuses.
    [[nodiscard]] bool onSignal(int signalNumber, std::function<void()> handler);

    /// For adapters that wait for something of their own.
    [[nodiscard]] sd_event* events() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle
