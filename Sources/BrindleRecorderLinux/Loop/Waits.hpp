// The waits of the program, in the order in which they are due.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace brindle {

/// All on one timer of sd-event, which promises no order among timers that are due together. The
/// loop's thread only. Timers may outlive the waits; they are then without effect.
class Waits {
  public:
    /// Throws std::system_error when the system has no descriptors left.
    explicit Waits(sd_event* events);
    Waits(const Waits&) = delete;
    Waits& operator=(const Waits&) = delete;

    /// A delay of zero or less is due at once; equal deadlines are due in the order of asking.
    [[nodiscard]] std::unique_ptr<MainLoop::Timer>
    after(std::chrono::nanoseconds delay, MainLoop::Work work);

  private:
    class Entry;
    /// Deadline (time since boot) and order of asking.
    using Key = std::pair<std::chrono::nanoseconds, std::uint64_t>;
    using Waiting = std::map<Key, MainLoop::Work>;

    void runDue();
    void arm() const;

    std::uint64_t nextOrder_ = 0;
    /// Shared with the timers, which remove themselves from it.
    std::shared_ptr<Waiting> waiting_ = std::make_shared<Waiting>();
    EventSource source_;
};

} // namespace brindle
