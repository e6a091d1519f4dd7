// The program's own clock: wall time that no correction of the machine's clock can make jump.
#pragma once

#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

namespace brindle {

/// Begins at the wall time and then advances with a steady clock, whatever becomes of the wall
/// time, until it is told to take the wall time over. Any thread.
class SteadyDateProvider final : public DateProvider {
  public:
    /// Time since some moment in the past, time asleep included. Never goes back. Any thread.
    using SteadyClock = std::function<std::chrono::nanoseconds()>;

    /// The wall clock must outlive this one.
    SteadyDateProvider(const DateProvider& wallClock, SteadyClock steadyClock);

    [[nodiscard]] Date now() const override;

    /// From now on the time is what the wall clock shows at this moment.
    void takeOverWallTime();

  private:
    const DateProvider& wallClock_;
    SteadyClock steadyClock_;
    /// The date at which the steady clock would have shown nothing, in nanoseconds of the epoch.
    std::atomic<std::int64_t> origin_;
};

} // namespace brindle
