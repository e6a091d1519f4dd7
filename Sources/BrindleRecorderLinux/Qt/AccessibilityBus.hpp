// Has Qt find no session bus and yet speak to screen readers.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <functional>

namespace brindle {

/// Main thread only. Qt puts an icon into the tray of X11 only where it finds no register of icons
/// on the session bus, although such a register may have no panel to show them. So it is kept from
/// the session bus, over which it would also ask where screen readers listen; that is asked in its
/// place, and told to it by the variable that it reads first.
class AccessibilityBus {
  public:
    /// Before Qt begins. Waits for the answers. The bus must be connected and outlive this.
    explicit AccessibilityBus(Bus& bus);

    /// Called when a screen reader has come that Qt cannot hear of.
    std::function<void()> onScreenReader;

    /// Undoes it in the environment, for a program that begins anew.
    static void showSessionBusAgain();

  private:
    void look();

    Bus& bus_;
    BusService service_;
    BusCalls calls_;
    bool isOn_ = false;
};

} // namespace brindle
