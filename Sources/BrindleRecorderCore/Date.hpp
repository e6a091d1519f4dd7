// Points in time and spans of time as the rules see them.
#pragma once

#include <chrono>

namespace brindle {

/// An absolute point in wall-clock time (UTC, no leap seconds).
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

/// A span of time in seconds, fractional. Thresholds and elapsed times are compared in this unit.
using Seconds = std::chrono::duration<double>;

/// The time from `from` to `to`; negative when `to` is earlier.
constexpr Seconds secondsBetween(Date from, Date to) {
    return std::chrono::duration_cast<Seconds>(to - from);
}

/// `seconds` after the Unix epoch, to the nanosecond. Meant for tests and small constants.
constexpr Date dateFromUnixSeconds(double seconds) {
    return Date{std::chrono::duration_cast<std::chrono::nanoseconds>(Seconds{seconds})};
}

} // namespace brindle
