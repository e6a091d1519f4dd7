// Other applications of the desktop, by their desktop entries.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace brindle {

/// Main thread only.
struct InstalledApplications {
    /// The desktop entry of that name, where the application can be started.
    static std::optional<std::filesystem::path> find(const std::string& identifier);
    /// Starts the application of that desktop entry. False when it cannot be started.
    static bool open(const std::filesystem::path& desktopEntry);
    /// Shows the folder in the application that the user has chosen for folders. False when there
    /// is none, or it cannot be started.
    static bool openFolder(const std::filesystem::path& folder);
};

} // namespace brindle
