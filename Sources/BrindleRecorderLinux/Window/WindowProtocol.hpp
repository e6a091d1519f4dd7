// What the recorder and the program with its windows say to each other on the session bus.
#pragma once

#include "BrindleRecorderApp/Platform/SetupWindow.hpp"

#include <systemd/sd-bus.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace brindle {

/// What the program with the windows is started for: one process each, so that none holds another
/// up, and each ends when it has shown what it was started for.
enum class WindowRole {
    setupWindow, ///< the window of the first launch, until it is closed
    trayIcon,    ///< the icon in the older tray of X11, with its menu
    menu,        ///< the menu alone, at the pointer, until it is closed
    menuWindow,  ///< a window with the menu, until it is closed
};

struct WindowProtocol {
    // The recorder's object.
    static constexpr const char* path = "/Window";
    static constexpr const char* interface = "com.tamsworth.brindlerecorder.Window";

    // The program's command line is the role's name and the bus name that the icon is offered
    // under. This variable holds what proves to the recorder that it has started the caller itself.
    static constexpr const char* tokenVariable = "BRINDLE_WINDOW_TOKEN";

    static constexpr std::array roles{
        WindowRole::setupWindow, WindowRole::trayIcon, WindowRole::menu, WindowRole::menuWindow};
    static constexpr const char* nameOf(WindowRole role) {
        constexpr std::array names{"setup-window", "tray-icon", "menu", "menu-window"};
        return names.at(static_cast<std::size_t>(role));
    }
    static std::optional<WindowRole> roleOfName(std::string_view name);

    // The setup window on the wire, signature sa(sss): its title, and for each block its kind, its
    // text and a row's hint.
    static constexpr const char* contentSignature = "sa(sss)";
    static constexpr std::size_t mostBlocks = 64;
    static constexpr std::size_t mostCharacters = 4000; ///< of a text

    /// A negative error of the bus's when it cannot be written.
    static int append(sd_bus_message* message, const SetupWindowContent& content);
    /// Nothing when it is not of this form, or too large.
    static std::optional<SetupWindowContent> read(sd_bus_message* message);
};

} // namespace brindle
