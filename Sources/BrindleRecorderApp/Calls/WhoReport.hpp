// Who uses the microphone, in words: what the program makes of each user, and why one does not
// count as a call.
#pragma once

#include "BrindleRecorderCore/Calls/CallDetectorConfig.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <string>
#include <vector>

namespace brindle {

/// Pure. The words never hold a window title, only the meeting site that was recognised in one.
struct WhoReport {
    /// One user in one line: identifier, process id, family, site, and what follows. Identifiers
    /// come from other programs and may hold any bytes.
    static std::string line(const MicUser& user, const CallDetectorConfig& config);
    /// All users in their order; one line that says so when there are none.
    static std::vector<std::string>
    lines(const std::vector<MicUser>& users, const CallDetectorConfig& config);
};

} // namespace brindle
