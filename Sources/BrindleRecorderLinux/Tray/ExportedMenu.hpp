// The menu on the session bus, for panels to show (com.canonical.dbusmenu).
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Tray/MenuNumbers.hpp"
#include "BrindleRecorderLinux/Tray/MenuWire.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// Main thread only.
class ExportedMenu {
  public:
    static constexpr const char* path = "/MenuBar";
    static constexpr const char* interface = "com.canonical.dbusmenu";

    /// Nobody sees the menu before it is exported.
    ExportedMenu() = default;
    ExportedMenu(const ExportedMenu&) = delete;
    ExportedMenu& operator=(const ExportedMenu&) = delete;

    /// Makes the menu known on that bus; false when its place is taken. The bus must be connected
    /// and outlive this.
    bool exportOn(Bus& bus);

    void show(const Menu& menu);
    /// Asks the panels that show the menu to open it. Those that do say that it opens.
    void askToOpen();

    /// Called with the name of the line that the user picked.
    std::function<void(const std::string& name)> onActivation;
    /// Called when a panel is about to show the menu.
    std::function<void()> onOpening;

  private:
    using Names = std::vector<std::string>;

    /// What the interface says; this is its description too.
    static const sd_bus_vtable* table();

    // Called by the bus.
    int getLayout(sd_bus_message* call) const;
    int getGroupProperties(sd_bus_message* call) const;
    int getProperty(sd_bus_message* call) const;
    int event(sd_bus_message* call);
    int eventGroup(sd_bus_message* call);
    int aboutToShow(sd_bus_message* call);
    int aboutToShowGroup(sd_bus_message* call);

    void announceLayout(int parent);
    void announceLines(const std::vector<int>& numbers);

    /// Of all properties where none is named.
    [[nodiscard]] menuwire::Properties properties(int number, const Names& wanted) const;
    /// As deep as that; every depth for less than zero.
    [[nodiscard]] menuwire::Layout layout(int number, int depth, const Names& wanted) const;
    [[nodiscard]] std::vector<int> toggles() const;
    /// False when the number stands for nothing.
    bool handleEvent(int number, std::string_view name);
    /// Whether the menu has changed for it.
    bool open(int number);

    Bus* bus_ = nullptr; ///< once exported
    BusSlot object_;
    MenuNumbers numbers_;
    std::uint32_t revision_ = 1;
};

} // namespace brindle
