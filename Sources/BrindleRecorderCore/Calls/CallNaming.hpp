// The short words for a call that people see: its program, and its program with weekday and time.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"

#include <map>
#include <optional>
#include <string>

namespace brindle {

/// Stateless; any thread.
struct CallNaming {
    /// Family ids whose program goes by a shorter name here than in the call catalog.
    static const std::map<std::string, std::string>& shortNames();

    /// The program's name: that of the family which the source's `bundleID` belongs to (the browser
    /// for a web meeting), else the source's `app`. "Call" when there is nothing to name.
    static std::string appName(const std::optional<CallSource>& source);

    /// The program's name with the start as that zone's clock shows it: "Zoom · Tue 14:05". English
    /// weekdays and 24 hours, whatever the user's settings.
    static std::string
    name(const std::optional<CallSource>& source, Date startedAt, const TimeZone& timeZone);
};

} // namespace brindle
