// Waits on one kernel timer. It counts the time that the machine is asleep, which the timers of
// PipeWire's loop do not.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace brindle {

/// One thread only. Timers may outlive the queue; they are then without effect.
class TimerQueue {
  public:
    /// Throws std::system_error when the system has no descriptors left.
    TimerQueue();
    ~TimerQueue();
    TimerQueue(const TimerQueue&) = delete;
    TimerQueue& operator=(const TimerQueue&) = delete;

    /// Readable when `runDue` has something to do.
    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// A delay of zero or less is due at once; equal deadlines are due in the order of asking.
    [[nodiscard]] std::unique_ptr<MainLoop::Timer>
    after(std::chrono::nanoseconds delay, MainLoop::Work work);

    /// Runs whatever was due when it was called. A timer that the work asks for waits for the next
    /// call, however short its delay.
    void runDue();

  private:
    class Entry;
    /// Deadline (time since boot) and order of asking.
    using Key = std::pair<std::chrono::nanoseconds, std::uint64_t>;

    void arm() const;

    int descriptor_;
    std::uint64_t nextOrder_ = 0;
    /// Shared with the timers, which remove themselves from it.
    std::shared_ptr<std::map<Key, MainLoop::Work>> waiting_;
};

} // namespace brindle
