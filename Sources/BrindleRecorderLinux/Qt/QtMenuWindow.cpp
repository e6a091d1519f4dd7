#include "BrindleRecorderLinux/Qt/QtMenuWindow.hpp"

#include "BrindleRecorderLinux/Qt/QtLabel.hpp"
#include "BrindleRecorderLinux/Qt/QtMenuLines.hpp"

#include <QCloseEvent>
#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeySequence>
#include <QScrollArea>
#include <QShortcut>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace brindle {

namespace {

constexpr int lineCharacters = 40; ///< in a line of text beside the pages
constexpr int pageCharacters = 56; ///< at least

/// What stands in a page: its lines, and below its title those of a submenu in it.
void addTo(Menu& lines, const std::vector<MenuItem>& items) {
    for (const MenuItem& item : items) {
        if (const auto* submenu = item.asSubmenu()) {
            lines.push_back({item.id, MenuItem::Text{submenu->title}});
            addTo(lines, submenu->items);
        } else {
            lines.push_back(item);
        }
    }
}

} // namespace

class QtMenuWindow::Window final : public QWidget {
  public:
    explicit Window(QtMenuWindow& owner) : owner_{owner} {
        for (const auto key : {QKeySequence::Cancel, QKeySequence::Close}) {
            QObject::connect(
                new QShortcut{key, this}, &QShortcut::activated, this, &QWidget::close);
        }
    }

  protected:
    void closeEvent(QCloseEvent* event) override {
        QWidget::closeEvent(event);
        if (owner_.onClosed) {
            owner_.onClosed();
        }
    }
    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::ActivationChange && isActiveWindow() && owner_.onOpening) {
            owner_.onOpening();
        }
    }

  private:
    QtMenuWindow& owner_;
};

QtMenuWindow::QtMenuWindow()
    : window_{std::make_unique<Window>(*this)},
      lines_{new QtMenuLines{window_.get(), /*hasHeadline=*/true}}, tabs_{new QTabWidget{
                                                                        window_.get()}} {
    window_->setWindowTitle(QGuiApplication::applicationDisplayName());
    window_->setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));
    const int character = window_->fontMetrics().averageCharWidth();
    const int margin = window_->fontMetrics().height();
    auto* columns = new QHBoxLayout{window_.get()};
    columns->setContentsMargins(margin, margin, margin, margin);
    columns->setSpacing(margin);
    columns->addWidget(lines_);
    columns->addWidget(tabs_, 1);
    lines_->setFixedWidth(lineCharacters * character);
    lines_->layout()->setContentsMargins(0, 0, 0, 0);
    // The bar with the pages' titles is where the keyboard stops, and not both.
    tabs_->setFocusProxy(nullptr);
    tabs_->setFocusPolicy(Qt::NoFocus);
    lines_->onActivation = [this](const std::string& name) {
        if (onActivation) {
            onActivation(name);
        }
    };
}

QtMenuWindow::~QtMenuWindow() = default;

QWidget& QtMenuWindow::widget() const {
    return *window_;
}

void QtMenuWindow::show(const Menu& menu) {
    lines_->show(menu);
    showPages(menu);
    orderStops();
}

void QtMenuWindow::showPages(const Menu& menu) {
    std::vector<Page> next;
    for (const MenuItem& item : menu) {
        const auto* submenu = item.asSubmenu();
        if (submenu == nullptr) {
            continue;
        }
        const Page& page = next.emplace_back(pageFor(item.id));
        Menu lines;
        addTo(lines, submenu->items);
        page.lines->show(lines);
        const int place = static_cast<int>(next.size()) - 1;
        if (tabs_->indexOf(page.whole) < 0) {
            tabs_->insertTab(place, page.whole, labelOf(submenu->title));
        } else {
            tabs_->tabBar()->moveTab(tabs_->indexOf(page.whole), place);
            tabs_->setTabText(place, labelOf(submenu->title));
        }
    }
    for (const Page& page : pages_) {
        if (std::ranges::find(next, page.id, &Page::id) == next.end()) {
            tabs_->removeTab(tabs_->indexOf(page.whole));
            page.whole->deleteLater(); // one of its lines may have just been pressed
        }
    }
    pages_ = std::move(next);
    tabs_->setVisible(!pages_.empty());
    // Wide enough to show the titles of all pages.
    tabs_->setMinimumWidth(std::max(
        pageCharacters * window_->fontMetrics().averageCharWidth(),
        tabs_->tabBar()->sizeHint().width() + window_->fontMetrics().height()));
}

QtMenuWindow::Page QtMenuWindow::pageFor(const std::string& id) {
    if (const auto found = std::ranges::find(pages_, id, &Page::id); found != pages_.end()) {
        return *found;
    }
    // As high as it is, or with a scroll bar where the screen is lower.
    auto* whole = new QScrollArea{tabs_};
    whole->setFocusPolicy(Qt::NoFocus);
    whole->setFrameShape(QFrame::NoFrame);
    whole->setWidgetResizable(true);
    auto* lines = new QtMenuLines{whole, /*hasHeadline=*/false};
    lines->onActivation = [this](const std::string& name) {
        if (onActivation) {
            onActivation(name);
        }
    };
    whole->setWidget(lines);
    return {id, whole, lines};
}

/// From top to bottom, the pages last: Qt's own order is that in which things were made.
void QtMenuWindow::orderStops() {
    std::vector<QWidget*> stops = lines_->stops();
    stops.push_back(tabs_->tabBar());
    for (const Page& page : pages_) {
        const auto more = page.lines->stops();
        stops.insert(stops.end(), more.begin(), more.end());
    }
    for (std::size_t place = 1; place < stops.size(); ++place) {
        QWidget::setTabOrder(stops[place - 1], stops[place]);
    }
}

void QtMenuWindow::bringToFront() {
    if (!window_->isVisible()) {
        if (onOpening) {
            onOpening();
        }
        if (const auto stops = lines_->stops(); !stops.empty()) {
            stops.front()->setFocus();
        }
    }
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace brindle
