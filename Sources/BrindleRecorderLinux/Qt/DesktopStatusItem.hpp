// The program's place in the panel of a freedesktop.org desktop: icon, menu and window.
#pragma once

#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"
#include "BrindleRecorderLinux/DBus/StatusNotifierItem.hpp"

#include <functional>
#include <memory>
#include <string>

namespace brindle {

/// Main thread only.
class DesktopStatusItem final : public StatusItem {
  public:
    DesktopStatusItem() = default;

    /// Offers icon and menu to the panels on that bus; false when their places are taken there.
    bool exportOn(const QDBusConnection& bus);

    void showIcon(const IconImage& image) override { icon_.show(image); }
    void showMenu(const Menu& menu) override { menu_.show(menu); }
    void setActivationHandler(std::function<void(const std::string& id)> handler) override;
    void setMenuOpeningHandler(std::function<void()> handler) override;
    [[nodiscard]] bool isShown() const override { return icon_.isTaken(); }
    [[nodiscard]] std::unique_ptr<SetupWindow>
    makeSetupWindow(const SetupWindowContent& content) override;

  private:
    StatusNotifierItem icon_;
    ExportedMenu menu_;
};

} // namespace brindle
