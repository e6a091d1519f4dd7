// A copy without a user interface on the session bus: its menu and its status for terminals and
// scripts, and no icon.
#pragma once

#include "BrindleRecorderApp/Shell/Control.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "BrindleRecorderLinux/Control/ControlObject.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"

#include <memory>

namespace brindle {

class BusOnLoop;

/// Main thread only.
class HeadlessControl {
  public:
    /// Claims the program's names; null where there is no bus, or another copy has them. All must
    /// outlive this.
    static std::unique_ptr<HeadlessControl>
    onBus(BusOnLoop& bus, AppModel& model, const AppEnvironment& environment);

    /// The bus must be connected, and the program's name on it this program's.
    HeadlessControl(Bus& bus, AppModel& model, const AppEnvironment& environment);
    HeadlessControl(const HeadlessControl&) = delete;
    HeadlessControl& operator=(const HeadlessControl&) = delete;

  private:
    ExportedMenu menu_;
    ControlObject object_;
    MenuContent content_;
    Control control_;
};

} // namespace brindle
