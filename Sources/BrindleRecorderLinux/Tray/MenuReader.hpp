// The menu that another process shows on the bus, read as panels read it (com.canonical.dbusmenu,
// version 3).
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <functional>
#include <optional>
#include <string>

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

    /// The children of the root in an answer to `GetLayout`; nothing when it is none.
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
