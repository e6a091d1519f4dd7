#include "BrindleRecorderMac/AppKit/StatusBarItem.hpp"

#include "BrindleRecorderMac/AppKit/AppKitSetupWindow.hpp"
#include "BrindleRecorderMac/AppKit/IconDrawing.hpp"

#include <utility>

namespace brindle {

namespace {

/// Sharp on every screen that is sold today; AppKit makes it smaller for others.
constexpr double pixelsPerPoint = 2;

} // namespace

StatusBarItem::StatusBarItem()
    : item_{
          keeping([[NSStatusBar systemStatusBar] statusItemWithLength:NSSquareStatusItemLength])} {
    [item_.get() setMenu:menu_.native()];
}

StatusBarItem::~StatusBarItem() {
    [item_.get() setMenu:nil];
    [[NSStatusBar systemStatusBar] removeStatusItem:item_.get()];
}

void StatusBarItem::showIcon(const IconImage& image) {
    @autoreleasepool {
        const auto icon = drawnIcon(image, pixelsPerPoint);
        [icon.get() setSize:NSMakeSize(image.size, image.size)];
        [button() setImage:icon.get()];
    }
}

void StatusBarItem::showMenu(const Menu& menu) {
    menu_.show(menu);
}

void StatusBarItem::setActivationHandler(std::function<void(const std::string& id)> handler) {
    menu_.setActivationHandler(std::move(handler));
}

void StatusBarItem::setMenuOpeningHandler(std::function<void()> handler) {
    menu_.setOpeningHandler(std::move(handler));
}

bool StatusBarItem::isShown() const {
    return [item_.get() isVisible] != NO;
}

NSStatusBarButton* StatusBarItem::button() const {
    return [item_.get() button];
}

std::unique_ptr<SetupWindow> StatusBarItem::makeSetupWindow(const SetupWindowContent& content) {
    return std::make_unique<AppKitSetupWindow>(content);
}

} // namespace brindle
