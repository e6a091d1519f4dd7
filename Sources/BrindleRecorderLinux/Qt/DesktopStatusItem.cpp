#include "BrindleRecorderLinux/Qt/DesktopStatusItem.hpp"

#include "BrindleRecorderLinux/Qt/QtSetupWindow.hpp"

#include <utility>

namespace brindle {

bool DesktopStatusItem::exportOn(const QDBusConnection& bus) {
    // The menu first: a panel that takes the icon asks for it at once.
    return menu_.exportOn(bus) && icon_.exportOn(bus);
}

void DesktopStatusItem::setActivationHandler(std::function<void(const std::string& id)> handler) {
    menu_.onActivation = std::move(handler);
}

void DesktopStatusItem::setMenuOpeningHandler(std::function<void()> handler) {
    menu_.onOpening = std::move(handler);
}

std::unique_ptr<SetupWindow> DesktopStatusItem::makeSetupWindow(const SetupWindowContent& content) {
    return std::make_unique<QtSetupWindow>(content);
}

} // namespace brindle
