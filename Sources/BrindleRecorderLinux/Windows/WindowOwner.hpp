// Which application a window belongs to, from what the window and its desktop say about it.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// The identifier, as the catalog spells it, of the application whose windows carry that name: the
/// class or the instance of an X11 window, the application id of a Wayland window. Nothing for
/// names that are not in the application table. Case does not count: X11 classes begin with a
/// capital where desktop entries do not.
std::optional<std::string> applicationOfWindowName(std::string_view name);

/// What is said about an X11 window. Everything but the certain pid is the window's own word.
struct WindowClaims {
    /// The display server's word, which has it from the kernel.
    std::optional<std::int32_t> certainPid = std::nullopt;
    /// May be a sandbox's own numbering, or a lie.
    std::optional<std::int32_t> claimedPid = std::nullopt;
    bool isFromThisMachine = true;
    std::string windowClass{};
    std::string windowInstance{};

    friend bool operator==(const WindowClaims&, const WindowClaims&) = default;
};

/// Exactly one of the two, or neither.
struct WindowOwner {
    std::optional<std::int32_t> pid;
    std::optional<std::string> bundleID;

    friend bool operator==(const WindowOwner&, const WindowOwner&) = default;
};

/// The process that the server vouches for; else the application of the window's class; else the
/// process that the window claims, where there is one of that number that we may look at.
WindowOwner ownerOf(const WindowClaims& claims, const ProcessRegistry& processes);

/// Whether a window's WM_CLIENT_MACHINE means the machine of that name. A window that names no
/// machine is taken for local.
bool isSameMachine(std::string_view clientMachine, std::string_view hostName);

} // namespace brindle
