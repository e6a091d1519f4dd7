// The recorder as the program with its windows sees it on the session bus.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <functional>
#include <string>

struct sd_bus_message;

namespace brindle {

/// Main thread only.
class RecorderLink {
  public:
    using Done = std::function<void()>;

    /// Proves to the recorder who we are. `lost` is called when it does not believe it, or has left
    /// the bus: there is nothing to live for then. The bus must be connected and outlive this.
    RecorderLink(Bus& bus, const std::string& token, std::function<void()> lost);

    /// Called when the setup window is to show something else.
    std::function<void()> onSetupWindowChange;
    /// Called when the window with the menu is to come before all others.
    std::function<void()> onMenuWindowToFront;

    /// `take` gets the answer, which may be an error.
    void askForSetupWindow(std::function<void(sd_bus_message* answer)> take);
    void tellSetupWindowClosed(const Done& told);
    void tellTrayIconShown(bool isShown);

  private:
    void follow(const char* signal, const std::function<void()>& handler);
    [[nodiscard]] BusMessage makeCall(const char* method) const;

    const std::function<void()> lost_;
    BusService recorder_;
    BusCalls calls_;
};

} // namespace brindle
