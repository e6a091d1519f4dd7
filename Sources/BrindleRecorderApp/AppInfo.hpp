// Under which identifiers this application is known.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

struct AppInfo {
    static constexpr std::string_view bundleIdentifier = "com.tamsworth.brindlerecorder";
    /// What the same maker called the application before.
    static constexpr std::string_view earlierBundleIdentifier = "com.tamsworth.callminder";

    /// Every identifier under which a copy counts as this application, so that two never run side
    /// by side: the two above, then `current` where it is present and neither of them.
    static std::vector<std::string>
    sameAppBundleIdentifiers(const std::optional<std::string>& current);
};

} // namespace brindle
