#include "BrindleRecorderLinux/Window/WindowPrograms.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include <utility>

namespace brindle {

namespace {

WindowProgram::Means
meansOf(const WindowPrograms::Means& means, StartedPrograms& programs, bool (*thereIsAScreen)()) {
    return {means.mainLoop, programs, means.program, means.iconName, thereIsAScreen, means.log};
}

} // namespace

/// Open from when it is first brought to the front until the user closes it; the program that shows
/// it runs meanwhile.
class WindowPrograms::OfferedSetupWindow final : public SetupWindow {
  public:
    OfferedSetupWindow(WindowPrograms& owner, SetupWindowContent content)
        : owner_{owner}, content_{std::move(content)} {
        owner_.object_.onSetupWindowClosed = [this] {
            owner_.setupWindow_.setWanted(false);
        };
        owner_.object_.show(content_, fronts_);
    }
    ~OfferedSetupWindow() override {
        owner_.object_.onSetupWindowClosed = nullptr;
        owner_.setupWindow_.setWanted(false);
        owner_.object_.show(std::nullopt, fronts_);
    }
    OfferedSetupWindow(const OfferedSetupWindow&) = delete;
    OfferedSetupWindow& operator=(const OfferedSetupWindow&) = delete;

    void setContent(const SetupWindowContent& content) override {
        if (content != content_) {
            content_ = content;
            owner_.object_.show(content_, fronts_);
        }
    }
    void bringToFront() override {
        owner_.object_.show(content_, ++fronts_);
        owner_.setupWindow_.setWanted(true);
    }

  private:
    WindowPrograms& owner_;
    SetupWindowContent content_;
    unsigned fronts_ = 0;
};

WindowPrograms::WindowPrograms(const Means& means)
    : programs_{means.mainLoop}, object_{means.bus},
      setupWindow_{WindowRole::setupWindow, meansOf(means, programs_, aScreenListens)},
      trayIcon_{WindowRole::trayIcon, meansOf(means, programs_, anXServerListens)},
      menu_{WindowRole::menu, meansOf(means, programs_, anXServerListens)},
      menuWindow_{WindowRole::menuWindow, meansOf(means, programs_, aScreenListens)} {
    object_.roleOfToken = [this](std::string_view token) {
        return roleOfToken(token);
    };
    object_.onTrayIconShown = [this](bool isShown) {
        setShowsTrayIcon(isShown);
    };
    setupWindow_.onEnd = [this] {
        object_.forget(WindowRole::setupWindow);
    };
    trayIcon_.onEnd = [this] {
        object_.forget(WindowRole::trayIcon);
        setShowsTrayIcon(false);
    };
    menu_.onEnd = [this] {
        object_.forget(WindowRole::menu);
    };
    menuWindow_.onEnd = [this] {
        object_.forget(WindowRole::menuWindow);
    };
    if (!object_.isExported()) {
        means.log("window: the session bus does not take the object of the windows");
    }
}

std::unique_ptr<SetupWindow> WindowPrograms::makeSetupWindow(const SetupWindowContent& content) {
    return std::make_unique<OfferedSetupWindow>(*this, content);
}

void WindowPrograms::showMenuWindow() {
    menuWindow_.setWanted(true);
    object_.bringMenuWindowToFront();
}

void WindowPrograms::setShowsTrayIcon(bool showsTrayIcon) {
    if (std::exchange(showsTrayIcon_, showsTrayIcon) != showsTrayIcon && onTrayIconChange) {
        onTrayIconChange();
    }
}

std::optional<WindowRole> WindowPrograms::roleOfToken(std::string_view token) const {
    const struct {
        WindowRole role;
        const WindowProgram& program;
    } programs[] = {
        {WindowRole::setupWindow, setupWindow_},
        {WindowRole::trayIcon, trayIcon_},
        {WindowRole::menu, menu_},
        {WindowRole::menuWindow, menuWindow_}};
    for (const auto& [role, program] : programs) {
        if (!token.empty() && token == program.token()) {
            return role;
        }
    }
    return std::nullopt;
}

} // namespace brindle
