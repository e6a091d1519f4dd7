// The seam to the program's place in the desktop's panel: its icon, its menu and its window.
#pragma once

#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderApp/Platform/Menu.hpp"
#include "BrindleRecorderApp/Platform/SetupWindow.hpp"

#include <functional>
#include <memory>
#include <string>

namespace brindle {

/// Main thread only; handlers are called on the main thread, from the main loop.
class StatusItem {
  public:
    virtual ~StatusItem() = default;

    /// Shows the image from now on, with its description for assistive technology.
    virtual void showIcon(const IconImage& image) = 0;

    /// Shows the menu from now on. While it is open, lines that stay are changed in place.
    virtual void showMenu(const Menu& menu) = 0;
    /// Called with the id of a button or toggle that the user activated. How a toggle looks
    /// afterwards is decided by the menu that is shown next, not by the click.
    virtual void setActivationHandler(std::function<void(const std::string& id)> handler) = 0;
    /// Called when the user is about to see the menu, on desktops that tell.
    virtual void setMenuOpeningHandler(std::function<void()> handler) = 0;

    /// Whether the desktop shows the icon somewhere, as far as it tells.
    [[nodiscard]] virtual bool isShown() const = 0;

    /// A window in the middle of the screen that does not show yet.
    [[nodiscard]] virtual std::unique_ptr<SetupWindow>
    makeSetupWindow(const SetupWindowContent& content) = 0;
};

} // namespace brindle
