// Points in time and spans of time as the rules see them.
#pragma once

#include <chrono>
#include <cstdint>

namespace brindle {

/// An absolute point in wall-clock time (UTC, no leap seconds).
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

/// A span of time in seconds, fractional. Thresholds and elapsed times are compared in this unit.
using Seconds = std::chrono::duration<double>;

/// The time from `from` to `to`; negative when `to` is earlier. Any two dates will do.
constexpr Seconds secondsBetween(Date from, Date to) {
    // Unsigned, because the ends of time are further apart than a signed count of nanoseconds says.
    using Magnitude = std::chrono::duration<std::uint64_t, std::nano>;
    const auto count = [](Date date) {
        return static_cast<std::uint64_t>(date.time_since_epoch().count());
    };
    return from <= to ? Seconds{Magnitude{count(to) - count(from)}}
                      : -Seconds{Magnitude{count(from) - count(to)}};
}

/// `seconds` after the Unix epoch, to the nanosecond. Meant for tests and small constants.
constexpr Date dateFromUnixSeconds(double seconds) {
    return Date{std::chrono::duration_cast<std::chrono::nanoseconds>(Seconds{seconds})};
}

} // namespace brindle
