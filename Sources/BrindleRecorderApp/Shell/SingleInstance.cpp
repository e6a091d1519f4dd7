#include "BrindleRecorderApp/Shell/SingleInstance.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/Platform/RunningApplications.hpp"

#include <algorithm>

namespace brindle {

bool SingleInstance::anotherCopyRuns(
    const RunningApplications& applications, std::int32_t ownPid,
    const std::optional<std::string>& ownBundleIdentifier) {
    return std::ranges::any_of(
        AppInfo::sameAppBundleIdentifiers(ownBundleIdentifier), [&](const auto& identifier) {
            return std::ranges::any_of(
                applications.withBundleIdentifier(identifier),
                [&](const auto& copy) { return copy.pid != ownPid && !copy.isTerminated; });
        });
}

} // namespace brindle
