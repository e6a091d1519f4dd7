#include "BrindleRecorderLinux/Window/DesktopStatusItem.hpp"

#include <utility>

namespace brindle {

DesktopStatusItem::DesktopStatusItem(MainLoop& mainLoop, WindowPrograms& windows)
    : windows_{windows}, icon_{mainLoop} {
    icon_.onTakenChange = [this] {
        windows_.offerTrayIcon(!icon_.isTaken());
        look();
    };
    windows_.onTrayIconChange = [this] {
        look();
    };
    icon_.onMenuRequest = [this] {
        windows_.openMenu();
    };
}

DesktopStatusItem::~DesktopStatusItem() {
    windows_.onTrayIconChange = nullptr;
}

bool DesktopStatusItem::exportOn(Bus& bus) {
    // The menu first: a panel that takes the icon asks for it at once.
    return menu_.exportOn(bus) && icon_.exportOn(bus);
}

void DesktopStatusItem::showIcon(const IconImage& image) {
    icon_.show(image);
}

void DesktopStatusItem::showMenu(const Menu& menu) {
    menu_.show(menu);
}

void DesktopStatusItem::setActivationHandler(std::function<void(const std::string& id)> handler) {
    menu_.onActivation = std::move(handler);
}

void DesktopStatusItem::setMenuOpeningHandler(std::function<void()> handler) {
    menu_.onOpening = std::move(handler);
}

bool DesktopStatusItem::isShown() const {
    return icon_.isTaken() || windows_.showsTrayIcon();
}

std::unique_ptr<Observation> DesktopStatusItem::observeIcon(std::function<void()> changed) {
    return iconListeners_.add(std::move(changed));
}

void DesktopStatusItem::look() {
    if (std::exchange(wasShown_, isShown()) != isShown()) {
        iconListeners_.call();
    }
}

bool DesktopStatusItem::askThePanel() {
    if (icon_.isTaken()) {
        menu_.askToOpen();
    }
    return icon_.isTaken();
}

std::unique_ptr<SetupWindow> DesktopStatusItem::makeSetupWindow(const SetupWindowContent& content) {
    return windows_.makeSetupWindow(content);
}

} // namespace brindle
