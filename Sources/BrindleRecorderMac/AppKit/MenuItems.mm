#include "BrindleRecorderMac/AppKit/MenuItems.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <utility>

@interface BrindleMenuTarget : NSObject <NSMenuDelegate> {
  @public
    std::function<void(const std::string&)> activated_;
    std::function<void()> opening_;
}
- (void)activate:(NSMenuItem*)sender;
@end

@implementation BrindleMenuTarget
- (void)activate:(NSMenuItem*)sender {
    // The handler may change the menu so that this line goes, and may be replaced while it runs.
    [[sender retain] autorelease];
    [[[sender menu] retain] autorelease];
    if (const auto handler = activated_) {
        handler(brindle::stringOf([sender representedObject]));
    }
}

- (void)menuWillOpen:(NSMenu*)menu {
    static_cast<void>(menu);
    if (const auto handler = opening_) {
        handler();
    }
}
@end

namespace brindle {

namespace {

template <class Sort>
const Sort* as(const MenuItem& item) {
    return std::get_if<Sort>(&item.value);
}

bool canBeActivated(const MenuItem& item) {
    return as<MenuItem::Button>(item) != nullptr || item.asToggle() != nullptr;
}

NSString* titleOf(const MenuItem& item) {
    return std::visit(
        [](const auto& value) -> NSString* {
            if constexpr (requires { value.title; }) {
                return nsString(value.title);
            } else if constexpr (requires { value.text; }) {
                return nsString(value.text);
            } else {
                return @"";
            }
        },
        item.value);
}

NSString* keyOf(const MenuItem& item) {
    const auto* const button = as<MenuItem::Button>(item);
    return button != nullptr && button->shortcut ? nsString({&button->shortcut->key, 1}) : @"";
}

void update(NSMenu* menu, const std::vector<MenuItem>& items, BrindleMenuTarget* target);

/// Gives a line what it shows now; its sort stays.
void fill(NSMenuItem* line, const MenuItem& item, BrindleMenuTarget* target) {
    if (item.isDivider()) {
        return;
    }
    [line setTitle:titleOf(item)];
    [line setKeyEquivalent:keyOf(item)];
    if (const auto* const toggle = item.asToggle()) {
        [line setState:toggle->isOn ? NSControlStateValueOn : NSControlStateValueOff];
    }
    if (const auto* const submenu = item.asSubmenu()) {
        if ([line submenu] == nil) {
            const auto below = taking([[NSMenu alloc] initWithTitle:titleOf(item)]);
            [below.get() setAutoenablesItems:NO];
            [line setSubmenu:below.get()];
        }
        update([line submenu], submenu -> items, target);
    }
}

NSMenuItem* makeLine(const MenuItem& item, BrindleMenuTarget* target) {
    NSMenuItem* line = nil;
    if (item.isDivider()) {
        line = static_cast<NSMenuItem*>([NSMenuItem separatorItem]);
    } else {
        const bool acts = canBeActivated(item);
        line = [[[NSMenuItem alloc] initWithTitle:@""
                                           action:acts ? @selector(activate:) : nullptr
                                    keyEquivalent:@""] autorelease];
        [line setTarget:acts ? target : nil];
        [line setEnabled:acts || item.asSubmenu() != nullptr];
    }
    [line setRepresentedObject:nsString(item.id)];
    fill(line, item, target);
    return line;
}

bool isOfSameSort(NSMenuItem* line, const MenuItem& item) {
    const bool hasSubmenu = [line submenu] != nil;
    // A submenu gives its line an action of AppKit's own.
    const bool acts = !hasSubmenu && [line action] != nullptr;
    return [[line representedObject] isEqual:nsString(item.id)] &&
           ([line isSeparatorItem] != NO) == item.isDivider() &&
           hasSubmenu == (item.asSubmenu() != nullptr) && acts == canBeActivated(item);
}

void update(NSMenu* menu, const std::vector<MenuItem>& items, BrindleMenuTarget* target) {
    NSInteger index = 0;
    for (const auto& item : items) {
        NSInteger found = index;
        while (found < [menu numberOfItems] && !isOfSameSort([menu itemAtIndex:found], item)) {
            ++found;
        }
        if (found < [menu numberOfItems]) {
            for (; found > index; --found) {
                [menu removeItemAtIndex:index];
            }
            fill([menu itemAtIndex:index], item, target);
        } else {
            [menu insertItem:makeLine(item, target) atIndex:index];
        }
        ++index;
    }
    while ([menu numberOfItems] > index) {
        [menu removeItemAtIndex:index];
    }
}

} // namespace

MenuItems::MenuItems()
    : menu_{taking([[NSMenu alloc] initWithTitle:@""])}, target_{taking(
                                                             [[BrindleMenuTarget alloc] init])} {
    [native() setAutoenablesItems:NO];
    [native() setDelegate:target_.get()];
}

MenuItems::~MenuItems() {
    // Lines that AppKit still shows must find nobody.
    target_.get()->activated_ = nullptr;
    target_.get()->opening_ = nullptr;
    [native() setDelegate:nil];
    show({});
}

void MenuItems::show(const Menu& menu) {
    @autoreleasepool {
        update(native(), menu, target_.get());
    }
}

void MenuItems::setActivationHandler(std::function<void(const std::string& id)> handler) {
    target_.get()->activated_ = std::move(handler);
}

void MenuItems::setOpeningHandler(std::function<void()> handler) {
    target_.get()->opening_ = std::move(handler);
}

} // namespace brindle
