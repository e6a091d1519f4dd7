// The program never runs twice for one user, also not beside a copy with an earlier identifier.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

class RunningApplications;

struct SingleInstance {
    /// Whether another copy runs, under any identifier that counts as this application. The program
    /// then leaves at once and silently, before anything of it shows, as if all had gone well.
    /// Main thread only.
    static bool anotherCopyRuns(
        const RunningApplications& applications, std::int32_t ownPid,
        const std::optional<std::string>& ownBundleIdentifier);
};

} // namespace brindle
