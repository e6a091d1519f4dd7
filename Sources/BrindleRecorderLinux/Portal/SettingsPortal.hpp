// How the user wants things to look and move, from the desktop's settings portal
// (org.freedesktop.portal.Settings).
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <variant>

namespace brindle {

/// Main thread only. The portal is asked once, without waiting, and followed from then on; until it
/// has answered, and where there is none, nothing is dark and everything moves.
class SettingsPortal {
  public:
    /// The bus must be connected and outlive this.
    explicit SettingsPortal(Bus& bus);
    SettingsPortal(const SettingsPortal&) = delete;
    SettingsPortal& operator=(const SettingsPortal&) = delete;

    [[nodiscard]] bool prefersDark() const { return prefersDark_; }
    /// What any of the known settings says: the portal's own, GNOME's or Plasma's.
    [[nodiscard]] bool reducesMotion() const {
        return reducedByDesktop_ || animationsSwitchedOff_ || animationsTakeNoTime_;
    }

    /// Called after either has changed.
    std::function<void()> onPrefersDarkChange;
    std::function<void()> onReducesMotionChange;

  private:
    /// Nothing for what is neither a truth, a number nor a short text.
    using Value = std::variant<std::monostate, bool, double, std::string>;

    static Value read(sd_bus_message* message);
    void ask(const char* group, const char* key);
    void take(std::string_view group, std::string_view key, const Value& value);

    BusService portal_;
    BusCalls calls_;
    bool prefersDark_ = false;
    bool reducedByDesktop_ = false;
    bool animationsSwitchedOff_ = false;
    bool animationsTakeNoTime_ = false;
};

} // namespace brindle
