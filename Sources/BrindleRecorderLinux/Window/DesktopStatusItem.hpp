// The program's place in the panel of a freedesktop.org desktop: icon, menu and windows.
#pragma once

#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MenuWindow.hpp"
#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/StatusNotifierItem.hpp"
#include "BrindleRecorderLinux/Window/WindowPrograms.hpp"

#include <functional>
#include <memory>
#include <string>

namespace brindle {

/// Main thread only. The older tray of X11 gets the icon while no panel on the bus takes it.
class DesktopStatusItem final : public StatusItem, public MenuWindow {
  public:
    /// The loop and the programs with the windows must outlive this.
    DesktopStatusItem(MainLoop& mainLoop, WindowPrograms& windows);
    ~DesktopStatusItem() override;
    DesktopStatusItem(const DesktopStatusItem&) = delete;
    DesktopStatusItem& operator=(const DesktopStatusItem&) = delete;

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

    [[nodiscard]] std::unique_ptr<Observation> observeIcon(std::function<void()> changed) override;
    /// The menu of an icon in the tray of X11 no panel knows.
    [[nodiscard]] bool askThePanel() override;
    void show() override { windows_.showMenuWindow(); }

  private:
    void look();

    WindowPrograms& windows_;
    StatusNotifierItem icon_;
    ExportedMenu menu_;
    bool wasShown_ = false;
    Listeners<> iconListeners_;
};

} // namespace brindle
