#include "BrindleRecorderMac/Dispatch/ContinuousClock.hpp"

#include <cstdint>
#include <mach/mach_time.h>

namespace brindle {

namespace {

mach_timebase_info_data_t timebase() {
    mach_timebase_info_data_t info{};
    mach_timebase_info(&info);
    return info;
}

} // namespace

std::chrono::nanoseconds timeSinceBoot() {
    static const mach_timebase_info_data_t perTick = timebase();
    const std::uint64_t ticks = mach_continuous_time();
    // In two parts, because a month of ticks times the numerator may not fit.
    const std::uint64_t whole = ticks / perTick.denom * perTick.numer;
    const std::uint64_t rest = ticks % perTick.denom * perTick.numer / perTick.denom;
    return std::chrono::nanoseconds{static_cast<std::int64_t>(whole + rest)};
}

} // namespace brindle
