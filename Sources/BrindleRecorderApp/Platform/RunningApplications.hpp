// The seam to the applications that run in the user's session.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brindle {

/// One running copy of an application.
struct RunningApplication {
    std::int32_t pid = 0;
    bool isTerminated = false; ///< still listed, but over
    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

/// Main thread only.
class RunningApplications {
  public:
    virtual ~RunningApplications() = default;

    /// The copies that run under that identifier, this process included where it is one of them.
    /// Where two copies start at the same moment, exactly one of them is told of the other.
    [[nodiscard]] virtual std::vector<RunningApplication>
    withBundleIdentifier(const std::string& bundleIdentifier) const = 0;
};

} // namespace brindle
