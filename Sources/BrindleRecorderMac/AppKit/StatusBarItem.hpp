// The program's place in the menu bar.
#pragma once

#include "BrindleRecorderApp/Platform/StatusItem.hpp"
#include "BrindleRecorderMac/AppKit/MenuItems.hpp"

namespace brindle {

class StatusBarItem final : public StatusItem {
  public:
    StatusBarItem();
    ~StatusBarItem() override;
    StatusBarItem(const StatusBarItem&) = delete;
    StatusBarItem& operator=(const StatusBarItem&) = delete;

    void showIcon(const IconImage& image) override;
    void showMenu(const Menu& menu) override;
    void setActivationHandler(std::function<void(const std::string& id)> handler) override;
    void setMenuOpeningHandler(std::function<void()> handler) override;
    [[nodiscard]] bool isShown() const override;
    [[nodiscard]] std::unique_ptr<SetupWindow>
    makeSetupWindow(const SetupWindowContent& content) override;

    /// What shows the icon; its appearance is the menu bar's where the item stands.
    [[nodiscard]] NSStatusBarButton* button() const;
    [[nodiscard]] NSMenu* menu() const { return menu_.native(); }

  private:
    Retained<NSStatusItem> item_;
    MenuItems menu_;
};

} // namespace brindle
