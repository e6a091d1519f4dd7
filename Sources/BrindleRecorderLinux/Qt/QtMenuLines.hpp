// Lines of a menu one below the other in a window, in Qt's widgets.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <QWidget>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class QVBoxLayout;

namespace brindle {

/// Main thread only; needs a QApplication.
class QtMenuLines final : public QWidget {
  public:
    /// The first text is in bold where there is a headline.
    QtMenuLines(QWidget* parent, bool hasHeadline);

    /// A line that stays keeps its widget, and so the keyboard's focus. Focus on a line that goes
    /// is handed to the next one above that stays: never to a button that was not there before.
    /// Submenus are no lines here and are left out, dividers where they would divide nothing.
    void show(const Menu& lines);

    /// What the keyboard stops at, from top to bottom.
    [[nodiscard]] std::vector<QWidget*> stops() const;

    /// Called with the name of the line that the user picked.
    std::function<void(const std::string& name)> onActivation;

  private:
    struct Line {
        std::string id;
        std::size_t sort = 0; ///< which of the sorts of `MenuItem`
        QWidget* widget = nullptr;
    };

    QWidget* widgetFor(const MenuItem& item);
    [[nodiscard]] QWidget* make(const MenuItem& item);
    void giveFocusAway(const std::vector<Line>& next);

    const bool hasHeadline_;
    QVBoxLayout* layout_;
    std::vector<Line> lines_;
};

} // namespace brindle
