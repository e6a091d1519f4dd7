#include "BrindleRecorderLinux/Windows/WindowOwner.hpp"

#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"

#include <algorithm>

namespace brindle {

namespace {

/// Names that are longer are nobody's.
constexpr std::size_t longestName = 256;

std::string lowerCased(std::string_view text) {
    std::string lower{text};
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return lower;
}

const ApplicationRow* rowNamed(std::string_view name) {
    for (const auto source :
         {IdentitySource::flatpak, IdentitySource::desktopEntry, IdentitySource::snap,
          IdentitySource::executable}) {
        if (const ApplicationRow* row = ApplicationTable::find(source, name)) {
            return row;
        }
    }
    return nullptr;
}

/// Installed web applications: "crx_<id>" as an X11 class, "<browser>-<id>-<profile>" elsewhere.
/// One that is no application of its own belongs to its browser.
const ApplicationRow* rowOfWebApp(std::string_view name) {
    constexpr std::string_view prefix = "crx_";
    if (name.starts_with(prefix)) {
        return ApplicationTable::find(IdentitySource::webApp, name.substr(prefix.size()));
    }
    const std::size_t browserEnd = name.find('-');
    const std::size_t profile = name.rfind('-');
    if (browserEnd == std::string_view::npos || profile == browserEnd) {
        return nullptr;
    }
    const ApplicationRow* const browser =
        ApplicationTable::find(IdentitySource::executable, name.substr(0, browserEnd));
    if (browser == nullptr) {
        return nullptr;
    }
    const ApplicationRow* const webApp = ApplicationTable::find(
        IdentitySource::webApp, name.substr(browserEnd + 1, profile - browserEnd - 1));
    return webApp != nullptr ? webApp : browser;
}

std::string_view firstLabel(std::string_view hostName) {
    return hostName.substr(0, hostName.find('.'));
}

} // namespace

std::optional<std::string> applicationOfWindowName(std::string_view name) {
    if (name.empty() || name.size() > longestName) {
        return std::nullopt;
    }
    const ApplicationRow* row = rowNamed(name);
    const std::string lower = lowerCased(name);
    if (row == nullptr) {
        row = rowNamed(lower);
    }
    if (row == nullptr) {
        row = rowOfWebApp(lower);
    }
    return row == nullptr ? std::nullopt : std::optional{std::string{row->program.identifier}};
}

WindowOwner ownerOf(const WindowClaims& claims, const ProcessRegistry& processes) {
    const auto isThere = [&](const std::optional<std::int32_t>& pid) {
        return claims.isFromThisMachine && pid && processes.executablePath(*pid);
    };
    if (isThere(claims.certainPid)) {
        return {claims.certainPid, std::nullopt};
    }
    for (const std::string& name : {claims.windowClass, claims.windowInstance}) {
        if (auto application = applicationOfWindowName(name)) {
            return {std::nullopt, std::move(application)};
        }
    }
    if (!claims.certainPid && isThere(claims.claimedPid)) {
        return {claims.claimedPid, std::nullopt};
    }
    return {};
}

bool isSameMachine(std::string_view clientMachine, std::string_view hostName) {
    const std::string client = lowerCased(firstLabel(clientMachine));
    return client.empty() || client == "localhost" || client == lowerCased(firstLabel(hostName));
}

} // namespace brindle
