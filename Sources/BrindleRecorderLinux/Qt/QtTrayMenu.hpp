// The menu in Qt's widgets, for trays that leave showing it to the program.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <QMenu>

#include <functional>
#include <string>

namespace brindle {

/// Main thread only; needs a QApplication.
class QtTrayMenu {
  public:
    QtTrayMenu();

    /// A line that stays keeps its action: an open menu neither closes nor loses its highlight.
    void show(const Menu& menu);

    /// Opens the menu at the pointer. Does nothing but on X11: a Wayland compositor lets nobody
    /// open a menu without a window of their own.
    void open();

    [[nodiscard]] QMenu& widget() { return menu_; }

    /// Called with the name of the line that the user picked.
    std::function<void(const std::string& name)> onActivation;
    /// Called before the menu is seen.
    std::function<void()> onOpening;

  private:
    QMenu menu_;
};

} // namespace brindle
