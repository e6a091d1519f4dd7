// The menu that another process shows on the bus, read as panels read it (com.canonical.dbusmenu,
// version 3).
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"
#include "BrindleRecorderLinux/Tray/TextMark.hpp"

#include <functional>
#include <optional>
#include <string>
#include <tuple>

namespace brindle {

/// Main thread only. Lines are named by their numbers. What is too deep or too long is cut.
class MenuReader {
  public:
    /// The bus must be connected and outlive this. Whoever has that name is asked at once.
    MenuReader(Bus& bus, const std::string& name, const std::string& path);

    /// Called when the menu has been read, and whenever it has changed.
    std::function<void(const Menu& menu)> onMenu;

    /// Tells that the user is about to see the menu, and reads it anew.
    void tellOpening();
    /// Tells that the user picked that line. `told` is called when it has been taken, or cannot be.
    void tellPicked(const std::string& line, const std::function<void()>& told);

    /// What `GetLayout` is asked with, signature iias: from the root on, every depth, and of each
    /// line what is read here.
    static constexpr std::tuple question{
        0,
        -1,
        9,
        "type",
        "label",
        "enabled",
        "visible",
        "shortcut",
        "toggle-type",
        "toggle-state",
        "children-display",
        textMark};
    /// The children of the root in its answer; nothing when it is none.
    static std::optional<Menu> read(sd_bus_message* layout);

  private:
    void ask();
    void take(sd_bus_message* answer);

    const std::string name_;
    const std::string path_;
    BusService owner_;
    BusCalls calls_;
    bool isAsking_ = false;
    bool hasChangedSince_ = false;
};

} // namespace brindle
