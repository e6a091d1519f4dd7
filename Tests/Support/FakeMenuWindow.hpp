// A window with the menu and a panel that can be asked for it, in a test's hands.
#pragma once

#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MenuWindow.hpp"
#include "Support/FakeStatusItem.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace brindle::test {

class FakeMenuWindow final : public MenuWindow {
  public:
    /// The panel shows the icon of that item.
    explicit FakeMenuWindow(FakeStatusItem& statusItem) : statusItem_{statusItem} {}

    bool panelCanBeAsked = true;
    int timesAsked = 0;
    int timesShown = 0;

    /// A panel takes the icon, or goes.
    void setTray(bool hasTray) {
        statusItem_.hasTray = hasTray;
        listeners_.call();
    }

    [[nodiscard]] std::unique_ptr<Observation> observeIcon(std::function<void()> changed) override {
        return listeners_.add(std::move(changed));
    }
    [[nodiscard]] bool askThePanel() override {
        timesAsked += panelCanBeAsked ? 1 : 0;
        return panelCanBeAsked;
    }
    void show() override { ++timesShown; }

  private:
    FakeStatusItem& statusItem_;
    Listeners<> listeners_;
};

} // namespace brindle::test
