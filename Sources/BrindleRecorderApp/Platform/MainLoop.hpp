// The seam to the desktop's event loop: the one thread that owns all state of the application.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace brindle {

class MainLoop {
  public:
    using Work = std::function<void()>;

    /// A wait that has been asked for. Destroying it cancels the wait; its own work may.
    class Timer {
      public:
        virtual ~Timer() = default;
    };

    virtual ~MainLoop() = default;

    /// Runs the work on the main thread, never from within this call, in the order of posting.
    /// May be called from any thread.
    virtual void post(Work work) = 0;

    /// Runs the work once on the main thread when `delay` has passed, time asleep included; never
    /// from within this call. Main thread only.
    [[nodiscard]] virtual std::unique_ptr<Timer>
    after(std::chrono::nanoseconds delay, Work work) = 0;
};

} // namespace brindle
