// The recorder's object on the session bus from which the program with its windows reads what to
// show, and to which it says what the user did.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Window/WindowProtocol.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// Main thread only. Whoever calls must first have shown the token that the recorder gave to the
/// process that it started for that role; from then on that connection, and no other, speaks for
/// it.
class WindowObject {
  public:
    /// The bus must be connected and outlive this.
    explicit WindowObject(Bus& bus);
    WindowObject(const WindowObject&) = delete;
    WindowObject& operator=(const WindowObject&) = delete;

    /// Whether the place on the bus was free.
    [[nodiscard]] bool isExported() const { return slot_ != nullptr; }

    /// What the setup window is to show, or that there is none. It comes to the front whenever
    /// `fronts` is another number.
    void show(const std::optional<SetupWindowContent>& content, unsigned fronts);
    /// Has the window with the menu come to the front, where it shows.
    void bringMenuWindowToFront() { tell("MenuWindowToFront"); }
    /// Whoever spoke for that role does so no more.
    void forget(WindowRole role) { callers_.erase(role); }

    /// Which role that token was given out for; nothing for any other text.
    std::function<std::optional<WindowRole>(std::string_view token)> roleOfToken;
    std::function<void()> onSetupWindowClosed;
    std::function<void(bool isShown)> onTrayIconShown;

  private:
    static const sd_bus_vtable* table();
    template <int (WindowObject::*method)(sd_bus_message*, sd_bus_error*)>
    static int take(sd_bus_message* call, void* self, sd_bus_error* error) {
        return (static_cast<WindowObject*>(self)->*method)(call, error);
    }
    int attach(sd_bus_message* call, sd_bus_error* error);
    int getSetupWindow(sd_bus_message* call, sd_bus_error* error);
    int setupWindowClosed(sd_bus_message* call, sd_bus_error* error);
    int trayIconShown(sd_bus_message* call, sd_bus_error* error);
    void tell(const char* signal);
    [[nodiscard]] bool speaksFor(WindowRole role, sd_bus_message* call) const;

    Bus& bus_;
    BusSlot slot_;
    std::map<WindowRole, std::string> callers_; ///< their unique names
    std::optional<SetupWindowContent> content_;
    unsigned fronts_ = 0;
};

} // namespace brindle
