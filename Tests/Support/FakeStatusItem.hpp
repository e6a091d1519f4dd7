// A panel that keeps what it was given to show; the test clicks in the user's place.
#pragma once

#include "BrindleRecorderApp/Platform/StatusItem.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

class FakeStatusItem final : public StatusItem {
  public:
    struct WindowState {
        SetupWindowContent content;
        int timesBroughtToFront = 0;
        bool isGone = false;
    };

    /// Everything that was shown, in order.
    std::vector<IconImage> icons;
    std::vector<Menu> menus;
    /// The windows that were made, in order.
    std::vector<std::shared_ptr<WindowState>> windows;

    [[nodiscard]] const IconImage& icon() const { return icons.back(); }
    [[nodiscard]] const Menu& menu() const { return menus.back(); }

    /// The user clicks on a button or toggle.
    void activate(const std::string& id) {
        if (const auto handler = activationHandler_) {
            handler(id);
        }
    }
    /// The user clicks on the icon.
    void openMenu() {
        if (const auto handler = menuOpeningHandler_) {
            handler();
        }
    }

    void showIcon(const IconImage& image) override { icons.push_back(image); }
    void showMenu(const Menu& menu) override { menus.push_back(menu); }
    void setActivationHandler(std::function<void(const std::string&)> handler) override {
        activationHandler_ = std::move(handler);
    }
    void setMenuOpeningHandler(std::function<void()> handler) override {
        menuOpeningHandler_ = std::move(handler);
    }
    /// Whether the desktop has a tray.
    bool hasTray = true;
    [[nodiscard]] bool isShown() const override { return hasTray; }
    [[nodiscard]] std::unique_ptr<SetupWindow>
    makeSetupWindow(const SetupWindowContent& content) override {
        windows.push_back(std::make_shared<WindowState>(WindowState{.content = content}));
        return std::make_unique<Window>(windows.back());
    }

  private:
    class Window final : public SetupWindow {
      public:
        explicit Window(std::shared_ptr<WindowState> state) : state_{std::move(state)} {}
        ~Window() override { state_->isGone = true; }
        Window(const Window&) = delete;
        Window& operator=(const Window&) = delete;

        void setContent(const SetupWindowContent& content) override { state_->content = content; }
        void bringToFront() override { ++state_->timesBroughtToFront; }

      private:
        std::shared_ptr<WindowState> state_;
    };

    std::function<void(const std::string&)> activationHandler_;
    std::function<void()> menuOpeningHandler_;
};

} // namespace brindle::test
