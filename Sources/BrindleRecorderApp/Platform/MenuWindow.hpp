// The seam to a window with the menu, for desktops whose panel may show no icon.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <functional>
#include <memory>

namespace brindle {

/// Main thread only. It shows the menu that the icon has, and what is picked there is told as what
/// is picked from the icon's (`StatusItem`).
class MenuWindow {
  public:
    virtual ~MenuWindow() = default;

    /// `changed` is called after the desktop has begun or ceased to show the icon
    /// (`StatusItem::isShown`), for as long as the observation is held.
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeIcon(std::function<void()> changed) = 0;

    /// Asks the panel that shows the icon to open the menu there; false where no panel can be
    /// asked. A panel that does so tells that the menu opens; not every panel does.
    [[nodiscard]] virtual bool askThePanel() = 0;
    /// Shows the window before all others until the user closes it.
    virtual void show() = 0;
};

} // namespace brindle
