// The program's place in the panel of a freedesktop.org desktop: icon, menu and window.
#pragma once

#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/StatusNotifierItem.hpp"
#include "BrindleRecorderLinux/Window/WindowPrograms.hpp"

#include <functional>
#include <memory>
#include <string>

namespace brindle {

/// Main thread only. The older tray of X11 gets the icon while no panel on the bus takes it.
class DesktopStatusItem final : public StatusItem {
  public:
    /// The loop and the programs with the windows must outlive this.
    DesktopStatusItem(MainLoop& mainLoop, WindowPrograms& windows);

    /// Offers icon and menu to the panels on that bus; false when their places are taken there.
    /// The bus must be connected and outlive this.
    bool exportOn(Bus& bus);

    void showIcon(const IconImage& image) override;
    void showMenu(const Menu& menu) override;
    void setActivationHandler(std::function<void(const std::string& id)> handler) override;
    void setMenuOpeningHandler(std::function<void()> handler) override;
    [[nodiscard]] bool isShown() const override;
    [[nodiscard]] std::unique_ptr<SetupWindow>
    makeSetupWindow(const SetupWindowContent& content) override;

  private:
    WindowPrograms& windows_;
    StatusNotifierItem icon_;
    ExportedMenu menu_;
};

} // namespace brindle
