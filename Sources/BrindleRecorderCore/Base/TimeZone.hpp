// A time zone: what the wall clock shows at a point in time.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

#include <chrono>
#include <functional>
#include <utility>

namespace brindle {

/// A date and time of day as a calendar on the wall shows it (Gregorian calendar).
struct LocalTime {
    int year = 1970;
    int month = 1;                        ///< 1 to 12
    int day = 1;                          ///< 1 to 31
    int hour = 0;                         ///< 0 to 23
    int minute = 0;                       ///< 0 to 59
    int second = 0;                       ///< 0 to 59
    int weekday = 4;                      ///< 0 is Sunday
    std::chrono::nanoseconds fraction{0}; ///< below one second

    friend bool operator==(const LocalTime&, const LocalTime&) = default;
};

/// A value; cheap to copy. All operations may be called from any thread.
class TimeZone {
  public:
    /// How far local time is ahead of UTC at a moment. Called on any thread.
    using Rules = std::function<std::chrono::seconds(Date)>;

    /// Coordinated Universal Time.
    static TimeZone utc() { return TimeZone{nullptr}; }
    /// The user's zone as the C library sees it, and so every other program: what the TZ variable
    /// says in any of its forms, else the machine's setting. The value follows later changes of
    /// either from the next call of this on.
    static TimeZone current();

    /// A zone of these rules; without any it is UTC.
    explicit TimeZone(Rules rules) : rules_{std::move(rules)} {}

    /// How far local time is ahead of UTC at that moment.
    [[nodiscard]] std::chrono::seconds offsetAt(Date date) const;
    /// What clock and calendar show at that moment.
    [[nodiscard]] LocalTime localTimeAt(Date date) const;
    /// True for a zone that never differs from UTC because it is UTC.
    [[nodiscard]] bool isUtc() const { return rules_ == nullptr; }

  private:
    Rules rules_;
};

} // namespace brindle
