#include "BrindleRecorderApp/AppInfo.hpp"

#include <algorithm>

namespace brindle {

std::vector<std::string>
AppInfo::sameAppBundleIdentifiers(const std::optional<std::string>& current) {
    std::vector<std::string> identifiers{
        std::string{bundleIdentifier}, std::string{earlierBundleIdentifier}};
    if (current &&
        std::find(identifiers.begin(), identifiers.end(), *current) == identifiers.end()) {
        identifiers.push_back(*current);
    }
    return identifiers;
}

} // namespace brindle
