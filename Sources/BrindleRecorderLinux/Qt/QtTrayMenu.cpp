#include "BrindleRecorderLinux/Qt/QtTrayMenu.hpp"

#include "BrindleRecorderLinux/Qt/QtLabel.hpp"

#include <QAction>
#include <QCursor>
#include <QGuiApplication>
#include <QKeySequence>
#include <QList>
#include <QString>

#include <variant>

namespace brindle {

namespace {

/// A line is known by its name and, since an action cannot become one of another sort, by its sort.
QAction* actionOf(const MenuItem& item, const QMenu& menu) {
    const QString name = QString::fromStdString(item.id);
    for (QAction* action : menu.actions()) {
        if (action->objectName() == name &&
            action->data() == QVariant::fromValue(item.value.index())) {
            return action;
        }
    }
    return nullptr;
}

QAction* makeAction(const MenuItem& item, QMenu& menu) {
    QAction* action =
        item.asSubmenu() != nullptr ? (new QMenu{&menu})->menuAction() : new QAction{&menu};
    action->setObjectName(QString::fromStdString(item.id));
    action->setData(QVariant::fromValue(item.value.index()));
    return action;
}

/// Later: the line may be the one that was just picked.
void remove(QAction* action, QMenu& menu) {
    menu.removeAction(action);
    if (action->menu() != nullptr) {
        action->menu()->deleteLater(); // and its action with it
    } else {
        action->deleteLater();
    }
}

void fill(QMenu& menu, const Menu& items);

struct Say {
    QAction& action;

    void operator()(const MenuItem::Text& text) const { action.setText(labelOf(text.text)); }
    void operator()(const MenuItem::Button& button) const {
        action.setText(labelOf(button.title));
        action.setShortcut(
            button.shortcut
                ? QKeySequence{QStringLiteral("Ctrl+%1").arg(QLatin1Char(button.shortcut->key))}
                : QKeySequence{});
        action.setShortcutVisibleInContextMenu(true);
    }
    void operator()(const MenuItem::Toggle& toggle) const {
        action.setText(labelOf(toggle.title));
        action.setCheckable(true);
        action.setChecked(toggle.isOn);
    }
    void operator()(const MenuItem::Submenu& submenu) const {
        action.setText(labelOf(submenu.title));
        fill(*action.menu(), submenu.items);
    }
    void operator()(const MenuItem::Divider& /*divider*/) const { action.setSeparator(true); }
};

void fill(QMenu& menu, const Menu& items) {
    QList<QAction*> lines;
    for (const MenuItem& item : items) {
        QAction* action = actionOf(item, menu);
        if (action == nullptr) {
            action = makeAction(item, menu);
        }
        std::visit(Say{*action}, item.value);
        lines.append(action);
    }
    for (QAction* action : menu.actions()) {
        if (!lines.contains(action)) {
            remove(action, menu);
        }
    }
    // What stands where it belongs is not touched: Qt forgets the highlight of whatever it moves.
    for (qsizetype place = 0; place < lines.size(); ++place) {
        QAction* const there = menu.actions().value(place);
        if (there != lines[place]) {
            menu.insertAction(there, lines[place]);
        }
    }
}

} // namespace

QtTrayMenu::QtTrayMenu() {
    // Qt tells the outermost menu of what is picked in its submenus too.
    QObject::connect(&menu_, &QMenu::triggered, &menu_, [this](QAction* action) {
        if (onActivation) {
            onActivation(action->objectName().toStdString());
        }
    });
    QObject::connect(&menu_, &QMenu::aboutToShow, &menu_, [this] {
        if (onOpening) {
            onOpening();
        }
    });
}

void QtTrayMenu::show(const Menu& menu) {
    fill(menu_, menu);
}

void QtTrayMenu::open() {
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        menu_.popup(QCursor::pos());
    }
}

} // namespace brindle
