// Who uses the microphone, in words: what the program makes of each user, and why one does not
// count as a call.
#pragma once

#include "BrindleRecorderCore/Calls/CallDetectorConfig.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A user of the microphone, and what people call its program where the catalog does not know.
struct NamedMicUser {
    MicUser user;
    std::optional<std::string> program;
};

/// Pure. The words never hold a window title, only the meeting site that was recognised in one.
struct WhoReport {
    /// One user in one line: the program as its user knows it, its identifier where that is not the
    /// same, process id, site, and what follows. Identifiers come from other programs and may hold
    /// any bytes.
    static std::string line(const NamedMicUser& named, const CallDetectorConfig& config);
    /// All users in their order; one line that says so when there are none.
    static std::vector<std::string>
    lines(const std::vector<NamedMicUser>& users, const CallDetectorConfig& config);
};

} // namespace brindle
