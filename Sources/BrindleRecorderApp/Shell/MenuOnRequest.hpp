// Brings the menu before a user who asks for it otherwise than by a click on the icon.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <memory>

namespace brindle {

class MenuWindow;
class StatusItem;

/// Main thread only.
class MenuOnRequest {
  public:
    /// `window` may be null, where the icon is all that there is. All must outlive this.
    MenuOnRequest(const StatusItem& statusItem, MenuWindow* window, MainLoop& mainLoop);
    MenuOnRequest(const MenuOnRequest&) = delete;
    MenuOnRequest& operator=(const MenuOnRequest&) = delete;

    /// Has the panel that shows the icon open the menu; where none does, or does not open it in
    /// time, shows the window with the same. False where there is no such window.
    bool show();
    /// The menu is about to be seen.
    void menuWillOpen() { patience_.reset(); }

  private:
    const StatusItem& statusItem_;
    MenuWindow* const window_;
    MainLoop& mainLoop_;
    std::unique_ptr<MainLoop::Timer> patience_; ///< with a panel that has been asked
};

} // namespace brindle
