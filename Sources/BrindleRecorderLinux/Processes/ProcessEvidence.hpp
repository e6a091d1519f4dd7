// What the kernel and the sandboxes tell about one process, before anybody makes sense of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// Texts come from other programs; the readers bound them.
struct ProcessEvidence {
    std::optional<std::string> sandboxID; ///< Flatpak application id
    std::optional<std::string> snapName;
    std::optional<std::string> desktopID; ///< application id under which the desktop started it
    std::filesystem::path executable;     ///< empty when it cannot be read
    std::string command;                  ///< the name it was started by, 15 characters at most
    std::vector<std::string> arguments;   ///< the first few, the program's own name among them
    std::int32_t parent = 0;              ///< 0 when there is none
    bool leadsSession = false;            ///< login shells, services, terminals' children

    friend bool operator==(const ProcessEvidence&, const ProcessEvidence&) = default;
};

/// The part of an executable's path that tells which program it is, as the kernel names a file that
/// an upgrade has replaced: "/usr/bin/zoom (deleted)" is "/usr/bin/zoom".
std::string_view withoutDeletedMark(std::string_view path);

/// "zoom-client" for "/snap/zoom-client/230/zoom/zoom"; nothing outside of snaps.
std::optional<std::string> snapNameInPath(const std::filesystem::path& executable);

/// The application id, or the snap, in the name of the control group that a desktop puts each
/// application into.
struct ApplicationScope {
    std::optional<std::string> desktopID;
    std::optional<std::string> snapName;
    friend bool operator==(const ApplicationScope&, const ApplicationScope&) = default;
};
/// Source: "Desktop environments" of systemd (app[-<launcher>]-<id>[-<random>].scope, ….service)
/// and snapd (snap.<name>.<app>…). The last such name on the path counts.
ApplicationScope scopeInControlGroup(std::string_view controlGroupPath);

/// The application id in the [Application] section of a Flatpak's own description.
std::optional<std::string> applicationIDInFlatpakInfo(std::string_view text);

} // namespace brindle
