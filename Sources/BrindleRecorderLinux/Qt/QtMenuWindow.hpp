// A window with all that the menu shows, in Qt's widgets, for desktops without a place for the
// icon.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QTabWidget;
class QWidget;

namespace brindle {

class QtMenuLines;

/// Main thread only; needs a QApplication. The menu's lines stand one below the other; each submenu
/// is a page beside them. Escape closes the window.
class QtMenuWindow {
  public:
    QtMenuWindow();
    ~QtMenuWindow();
    QtMenuWindow(const QtMenuWindow&) = delete;
    QtMenuWindow& operator=(const QtMenuWindow&) = delete;

    /// A line that stays keeps its widget, and a submenu its page.
    void show(const Menu& menu);
    void bringToFront();

    /// Called with the name of the line that the user picked.
    std::function<void(const std::string& name)> onActivation;
    /// Called when the user turns to the window.
    std::function<void()> onOpening;
    /// Called when the user has closed it, by whatever means.
    std::function<void()> onClosed;

    /// For tests.
    [[nodiscard]] QWidget& widget() const;

  private:
    class Window;
    struct Page {
        std::string id; ///< the submenu's
        QWidget* whole = nullptr;
        QtMenuLines* lines = nullptr;
    };

    void showPages(const Menu& menu);
    [[nodiscard]] Page pageFor(const std::string& id);
    void orderStops();

    std::unique_ptr<Window> window_;
    QtMenuLines* lines_;
    QTabWidget* tabs_;
    std::vector<Page> pages_;
};

} // namespace brindle
