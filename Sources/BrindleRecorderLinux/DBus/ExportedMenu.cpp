#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"

#include <QChar>
#include <QString>

#include <utility>

namespace brindle {

namespace {

/// In a label of the protocol an underscore marks the key that picks the line; ours mark none.
QString label(const std::string& text) {
    return QString::fromStdString(text).replace(QLatin1Char('_'), QLatin1String("__"));
}

struct PropertiesOf {
    QVariantMap operator()(const MenuItem::Text& text) const {
        return {{QStringLiteral("label"), label(text.text)}, {QStringLiteral("enabled"), false}};
    }
    QVariantMap operator()(const MenuItem::Button& button) const {
        QVariantMap result{{QStringLiteral("label"), label(button.title)}};
        if (button.shortcut) {
            const menuwire::Shortcut shortcut{
                {QStringLiteral("Control"), QString{QLatin1Char(button.shortcut->key)}}};
            result.insert(QStringLiteral("shortcut"), QVariant::fromValue(shortcut));
        }
        return result;
    }
    QVariantMap operator()(const MenuItem::Toggle& toggle) const {
        return {
            {QStringLiteral("label"), label(toggle.title)},
            {QStringLiteral("toggle-type"), QStringLiteral("checkmark")},
            {QStringLiteral("toggle-state"), toggle.isOn ? 1 : 0}};
    }
    QVariantMap operator()(const MenuItem::Submenu& submenu) const {
        return {
            {QStringLiteral("label"), label(submenu.title)},
            {QStringLiteral("children-display"), QStringLiteral("submenu")}};
    }
    QVariantMap operator()(const MenuItem::Divider& /*divider*/) const {
        return {{QStringLiteral("type"), QStringLiteral("separator")}};
    }
};

} // namespace

ExportedMenu::ExportedMenu(QObject* parent) : QObject{parent} {
    menuwire::registerTypes();
}

bool ExportedMenu::exportOn(QDBusConnection bus) {
    return bus.registerObject(
        QString::fromLatin1(path), this,
        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
            QDBusConnection::ExportAllProperties);
}

void ExportedMenu::show(const Menu& menu) {
    auto changes = numbers_.show(menu);
    if (changes.lines.empty() && changes.parents.empty()) {
        // A panel may have turned a toggle by itself that stands as it stood.
        changes.lines = toggles();
    }
    if (!changes.parents.empty()) {
        ++revision_;
        Q_EMIT LayoutUpdated(
            revision_, changes.parents.size() == 1 ? changes.parents.front() : MenuNumbers::root);
    }
    menuwire::PropertiesList updated;
    for (const int number : changes.lines) {
        updated.append({number, properties(number, {})});
    }
    if (!updated.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(updated, {});
    }
}

uint ExportedMenu::GetLayout(
    int parentId, int recursionDepth, const QStringList& propertyNames,
    menuwire::Layout& result) const {
    result = layout(parentId, recursionDepth, propertyNames);
    return revision_;
}

menuwire::PropertiesList
ExportedMenu::GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) const {
    menuwire::PropertiesList result;
    if (ids.isEmpty()) {
        for (const auto& [number, line] : numbers_.lines()) {
            result.append({number, properties(number, propertyNames)});
        }
    }
    for (const int number : ids) {
        if (numbers_.line(number) != nullptr) {
            result.append({number, properties(number, propertyNames)});
        }
    }
    return result;
}

QDBusVariant ExportedMenu::GetProperty(int id, const QString& name) const {
    const QVariant value = properties(id, {name}).value(name);
    return QDBusVariant{value.isValid() ? value : QVariant{QString{}}};
}

void ExportedMenu::Event(
    int id, const QString& eventId, const QDBusVariant& /*data*/, uint /*timestamp*/) {
    handle(id, eventId);
}

QList<int> ExportedMenu::EventGroup(const menuwire::EventList& events) {
    QList<int> unknown;
    for (const auto& event : events) {
        if (!handle(event.number, event.name)) {
            unknown.append(event.number);
        }
    }
    return unknown;
}

// Whoever hears of the opening changes the menu.
// NOLINTNEXTLINE(readability-make-member-function-const)
bool ExportedMenu::AboutToShow(int id) {
    const uint before = revision_;
    if (id == MenuNumbers::root && onOpening) {
        onOpening();
    }
    return revision_ != before;
}

QList<int> ExportedMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    QList<int> changed;
    for (const int id : ids) {
        if (numbers_.line(id) == nullptr) {
            idErrors.append(id);
        } else if (AboutToShow(id)) {
            changed.append(id);
        }
    }
    return changed;
}

QVariantMap ExportedMenu::properties(int number, const QStringList& wanted) const {
    const auto* line = numbers_.line(number);
    if (line == nullptr) {
        return {};
    }
    QVariantMap all =
        number == MenuNumbers::root
            ? QVariantMap{{QStringLiteral("children-display"), QStringLiteral("submenu")}}
            : std::visit(PropertiesOf{}, line->item.value);
    if (wanted.isEmpty()) {
        return all;
    }
    QVariantMap result;
    for (const QString& name : wanted) {
        if (const auto found = all.constFind(name); found != all.constEnd()) {
            result.insert(name, *found);
        }
    }
    return result;
}

menuwire::Layout
ExportedMenu::layout(int number, int depth, const QStringList& propertyNames) const {
    menuwire::Layout result{number, properties(number, propertyNames), {}};
    const auto* line = numbers_.line(number);
    if (line != nullptr && depth != 0) {
        for (const int child : line->children) {
            result.children.append(layout(child, depth - 1, propertyNames));
        }
    }
    return result;
}

std::vector<int> ExportedMenu::toggles() const {
    std::vector<int> result;
    for (const auto& [number, line] : numbers_.lines()) {
        if (number != MenuNumbers::root && line.item.asToggle() != nullptr) {
            result.push_back(number);
        }
    }
    return result;
}

bool ExportedMenu::handle(int number, const QString& event) {
    const auto* line = numbers_.line(number);
    if (line == nullptr) {
        return false;
    }
    if (event == QLatin1String("clicked") && number != MenuNumbers::root && onActivation) {
        const std::string name = line->name; // the menu may change on the way
        onActivation(name);
    }
    return true;
}

} // namespace brindle
