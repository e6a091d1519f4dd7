// A menu of AppKit that shows what the application's records say.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#import <AppKit/AppKit.h>

#include <functional>
#include <string>

@class BrindleMenuTarget;

namespace brindle {

/// Main thread only. Handlers may change the menu.
class MenuItems {
  public:
    MenuItems();
    ~MenuItems();
    MenuItems(const MenuItems&) = delete;
    MenuItems& operator=(const MenuItems&) = delete;

    /// Lines that stay are changed in place: the menu may be open.
    void show(const Menu& menu);
    void setActivationHandler(std::function<void(const std::string& id)> handler);
    void setOpeningHandler(std::function<void()> handler);

    [[nodiscard]] NSMenu* native() const { return menu_.get(); }

  private:
    Retained<NSMenu> menu_;
    Retained<BrindleMenuTarget> target_;
};

} // namespace brindle
