// A menu as a tree of plain records, for any toolkit to show.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace brindle {

/// A key that presses a button together with the desktop's modifier for commands (Ctrl, Command).
struct MenuShortcut {
    char key = 0; ///< a lower-case letter
    friend bool operator==(const MenuShortcut&, const MenuShortcut&) = default;
};

/// One line of a menu. Texts are plain: no markup, and an ampersand is an ampersand. They may name
/// devices and files, and so be of any content.
struct MenuItem {
    /// A line that only says something.
    struct Text {
        std::string text;
        friend bool operator==(const Text&, const Text&) = default;
    };
    struct Button {
        std::string title;
        std::optional<MenuShortcut> shortcut;
        friend bool operator==(const Button&, const Button&) = default;
    };
    struct Toggle {
        std::string title;
        bool isOn = false;
        friend bool operator==(const Toggle&, const Toggle&) = default;
    };
    struct Submenu {
        std::string title;
        std::vector<MenuItem> items;
        friend bool operator==(const Submenu&, const Submenu&) = default;
    };
    struct Divider {
        friend bool operator==(const Divider&, const Divider&) = default;
    };

    /// Names the line for as long as it exists and no other line of the whole menu, so that an open
    /// menu can be changed in place, and so that a command finds its line.
    std::string id;
    std::variant<Text, Button, Toggle, Submenu, Divider> value;

    /// Null for another sort of line. Valid as long as this item.
    [[nodiscard]] const Text* asText() const { return std::get_if<Text>(&value); }
    [[nodiscard]] const Toggle* asToggle() const { return std::get_if<Toggle>(&value); }
    [[nodiscard]] const Submenu* asSubmenu() const { return std::get_if<Submenu>(&value); }
    [[nodiscard]] bool isDivider() const { return std::holds_alternative<Divider>(value); }

    friend bool operator==(const MenuItem&, const MenuItem&) = default;
};

/// From top to bottom.
using Menu = std::vector<MenuItem>;

} // namespace brindle
