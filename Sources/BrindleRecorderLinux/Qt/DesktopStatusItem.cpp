#include "BrindleRecorderLinux/Qt/DesktopStatusItem.hpp"

#include "BrindleRecorderLinux/Qt/QtSetupWindow.hpp"

#include <utility>

namespace brindle {

DesktopStatusItem::DesktopStatusItem() {
    icon_.onTakenChange = [this] {
        trayIcon_.setOffered(!icon_.isTaken());
    };
    icon_.onMenuRequest = [this] {
        trayMenu_.open();
    };
}

bool DesktopStatusItem::exportOn(Bus& bus) {
    // The menu first: a panel that takes the icon asks for it at once.
    return menu_.exportOn(bus) && icon_.exportOn(bus);
}

void DesktopStatusItem::showIcon(const IconImage& image) {
    icon_.show(image);
    trayIcon_.show(image);
}

void DesktopStatusItem::showMenu(const Menu& menu) {
    menu_.show(menu);
    trayMenu_.show(menu);
}

void DesktopStatusItem::setActivationHandler(std::function<void(const std::string& id)> handler) {
    menu_.onActivation = handler;
    trayMenu_.onActivation = std::move(handler);
}

void DesktopStatusItem::setMenuOpeningHandler(std::function<void()> handler) {
    menu_.onOpening = handler;
    trayMenu_.onOpening = std::move(handler);
}

bool DesktopStatusItem::isShown() const {
    return icon_.isTaken() || trayIcon_.isShown();
}

std::unique_ptr<SetupWindow> DesktopStatusItem::makeSetupWindow(const SetupWindowContent& content) {
    return std::make_unique<QtSetupWindow>(content);
}

} // namespace brindle
