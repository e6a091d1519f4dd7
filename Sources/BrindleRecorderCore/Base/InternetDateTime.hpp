// Dates as text in the internet date-time form of ISO 8601 (the profile of RFC 3339):
// "2025-03-14T09:30:12+01:00", with "Z" for UTC.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brindle {

struct InternetDateTime {
    enum class Fraction {
        none,        ///< whole seconds, truncated
        milliseconds ///< three digits, truncated
    };

    /// The date as that zone's clock shows it, with the zone's offset; "Z" only where the zone is
    /// UTC itself. Offsets are written to the minute.
    static std::string
    format(Date date, const TimeZone& timeZone, Fraction fraction = Fraction::none);

    /// Reads whole-second date-times with any offset or "Z". Nothing for every other text: no zone,
    /// fractional seconds, a day that the calendar lacks, a leap second, trailing characters, a
    /// year that a Date cannot hold (before 1678 or after 2261, give or take some months).
    static std::optional<Date> parse(std::string_view text);
};

} // namespace brindle
