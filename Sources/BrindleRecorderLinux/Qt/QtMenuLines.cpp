#include "BrindleRecorderLinux/Qt/QtMenuLines.hpp"

#include "BrindleRecorderLinux/Qt/QtLabel.hpp"

#include <QCheckBox>
#include <QFont>
#include <QFrame>
#include <QKeySequence>
#include <QLabel>
#include <QPaintEvent>
#include <QPushButton>
#include <QString>
#include <QStyleOptionFocusRect>
#include <QStylePainter>
#include <QVBoxLayout>

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

namespace brindle {

namespace {

/// A line that only says something: the keyboard stops at it too, so that it is read aloud.
class TextLine final : public QLabel {
  public:
    explicit TextLine(QWidget* parent) : QLabel{parent} {
        setTextFormat(Qt::PlainText);
        setWordWrap(true);
        setFocusPolicy(Qt::TabFocus);
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QLabel::paintEvent(event);
        if (hasFocus()) {
            QStyleOptionFocusRect option;
            option.initFrom(this);
            QStylePainter{this}.drawPrimitive(QStyle::PE_FrameFocusRect, option);
        }
    }
};

/// Without telling screen readers of what is as it was.
template <class Widget>
void setText(Widget& widget, const QString& text) {
    if (widget.text() != text) {
        widget.setText(text);
    }
}

struct Say {
    QWidget& widget;

    void operator()(const MenuItem::Text& text) const {
        setText(static_cast<QLabel&>(widget), QString::fromStdString(text.text));
    }
    void operator()(const MenuItem::Button& button) const {
        auto& pushButton = static_cast<QPushButton&>(widget);
        setText(pushButton, labelOf(button.title));
        // A change of its words takes a button's shortcut away.
        const auto shortcut =
            button.shortcut
                ? QKeySequence{QStringLiteral("Ctrl+%1").arg(QLatin1Char(button.shortcut->key))}
                : QKeySequence{};
        if (pushButton.shortcut() != shortcut) {
            pushButton.setShortcut(shortcut);
        }
    }
    void operator()(const MenuItem::Toggle& toggle) const {
        auto& checkBox = static_cast<QCheckBox&>(widget);
        setText(checkBox, labelOf(toggle.title));
        checkBox.setChecked(toggle.isOn);
    }
    void operator()(const MenuItem::Submenu& /*submenu*/) const {}
    void operator()(const MenuItem::Divider& /*divider*/) const {}
};

/// Without what would stand first, last or twice.
Menu withoutNeedlessDividers(const Menu& lines) {
    Menu result;
    for (const MenuItem& line : lines) {
        const bool dividesNothing =
            line.isDivider() && (result.empty() || result.back().isDivider());
        if (line.asSubmenu() == nullptr && !dividesNothing) {
            result.push_back(line);
        }
    }
    if (!result.empty() && result.back().isDivider()) {
        result.pop_back();
    }
    return result;
}

} // namespace

QtMenuLines::QtMenuLines(QWidget* parent, bool hasHeadline)
    : QWidget{parent}, hasHeadline_{hasHeadline}, layout_{new QVBoxLayout{this}} {
    layout_->addStretch(1);
}

void QtMenuLines::show(const Menu& lines) {
    std::vector<Line> next;
    for (const MenuItem& item : withoutNeedlessDividers(lines)) {
        next.push_back({item.id, item.value.index(), widgetFor(item)});
        std::visit(Say{*next.back().widget}, item.value);
    }
    giveFocusAway(next);
    const auto isText = [](const Line& line) {
        return qobject_cast<QLabel*>(line.widget) != nullptr;
    };
    if (const auto first = std::ranges::find_if(next, isText);
        hasHeadline_ && first != next.end()) {
        QFont font = first->widget->font();
        font.setBold(true);
        first->widget->setFont(font);
    }
    const auto isNext = [&](const Line& line) {
        return std::ranges::find(next, line.widget, &Line::widget) != next.end();
    };
    for (const Line& line : lines_) {
        if (!isNext(line)) {
            layout_->removeWidget(line.widget);
            line.widget->hide();
            line.widget->deleteLater(); // it may be the one that was just pressed
        }
    }
    for (std::size_t place = 0; place < next.size(); ++place) {
        const int index = static_cast<int>(place);
        QWidget* const widget = next[place].widget;
        if (layout_->indexOf(widget) != index) {
            layout_->removeWidget(widget);
            layout_->insertWidget(index, widget);
            widget->show();
        }
    }
    lines_ = std::move(next);
}

QWidget* QtMenuLines::widgetFor(const MenuItem& item) {
    const auto found = std::ranges::find_if(lines_, [&](const Line& line) {
        return line.id == item.id && line.sort == item.value.index();
    });
    return found != lines_.end() ? found->widget : make(item);
}

QWidget* QtMenuLines::make(const MenuItem& item) {
    const auto tellOf = [this, id = item.id](auto* widget) {
        QObject::connect(widget, &QAbstractButton::clicked, this, [this, id] {
            if (onActivation) {
                onActivation(id);
            }
        });
    };
    if (item.asText() != nullptr) {
        return new TextLine{this};
    }
    if (item.isDivider()) {
        auto* line = new QFrame{this};
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);
        return line;
    }
    if (item.asToggle() != nullptr) {
        auto* checkBox = new QCheckBox{this};
        tellOf(checkBox);
        return checkBox;
    }
    auto* button = new QPushButton{this};
    button->setAutoDefault(true); // Return presses it, too
    tellOf(button);
    return button;
}

void QtMenuLines::giveFocusAway(const std::vector<Line>& next) {
    QWidget* const focused = window()->focusWidget();
    const auto stays = [&](const Line& line) {
        return line.widget->focusPolicy() != Qt::NoFocus &&
               std::ranges::find(next, line.widget, &Line::widget) != next.end();
    };
    const auto at = std::ranges::find(lines_, focused, &Line::widget);
    if (focused == nullptr || at == lines_.end() || stays(*at)) {
        return;
    }
    const auto above = std::find_if(std::make_reverse_iterator(at), lines_.rend(), stays);
    const auto below = std::find_if(at, lines_.end(), stays);
    if (above != lines_.rend()) {
        above->widget->setFocus(Qt::OtherFocusReason);
    } else if (below != lines_.end()) {
        below->widget->setFocus(Qt::OtherFocusReason);
    }
}

std::vector<QWidget*> QtMenuLines::stops() const {
    std::vector<QWidget*> result;
    for (const Line& line : lines_) {
        if (line.widget->focusPolicy() != Qt::NoFocus) {
            result.push_back(line.widget);
        }
    }
    return result;
}

} // namespace brindle
