#include "BrindleRecorderLinux/DBus/TerminalMenu.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"
#include "BrindleRecorderLinux/DBus/MenuWire.hpp"

#include <QDBusMessage>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace brindle {

namespace {

using menuwire::Layout;

QDBusMessage makeCall(const char* method) {
    const auto name = QString::fromLatin1(
        AppInfo::bundleIdentifier.data(), qsizetype{AppInfo::bundleIdentifier.size()});
    auto call = QDBusMessage::createMethodCall(
        name, QString::fromLatin1(ExportedMenu::path), QStringLiteral("com.canonical.dbusmenu"),
        QString::fromLatin1(method));
    call.setAutoStartService(false);
    return call;
}

std::optional<Layout> readMenu(const QDBusConnection& bus, std::FILE* errors) {
    menuwire::registerTypes();
    // As a panel does before it shows the menu.
    auto opening = makeCall("AboutToShow");
    opening << 0;
    bus.call(opening);
    auto question = makeCall("GetLayout");
    question << 0 << -1 << QStringList{};
    const QDBusMessage answer = bus.call(question);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().size() < 2) {
        printLine(
            errors, "brindle-recorder: no copy of the program with a menu runs in this session");
        return std::nullopt;
    }
    return qdbus_cast<Layout>(answer.arguments().at(1));
}

QString property(const Layout& line, const char* name) {
    return line.properties.value(QString::fromLatin1(name)).toString();
}

std::string words(const Layout& line) {
    return property(line, "label").replace(QLatin1String("__"), QLatin1String("_")).toStdString();
}

bool canBePicked(const Layout& line) {
    return property(line, "type") != QLatin1String("separator") &&
           line.properties.value(QStringLiteral("enabled"), true).toBool();
}

void printLines(std::FILE* output, const Layout& menu, const std::string& indent) {
    for (const Layout& line : menu.children) {
        if (property(line, "type") == QLatin1String("separator")) {
            printLine(output, "");
            continue;
        }
        std::string mark;
        if (!property(line, "toggle-type").isEmpty()) {
            mark = property(line, "toggle-state") == QLatin1String("1") ? "[x] " : "[ ] ";
        }
        printLine(output, indent + mark + words(line));
        printLines(output, line, indent + "    ");
    }
}

} // namespace

bool TerminalMenu::print() const {
    const auto menu = readMenu(bus, errors);
    if (!menu) {
        return false;
    }
    printLines(output, *menu, {});
    return true;
}

bool TerminalMenu::pick(const std::vector<std::string>& path) const {
    const auto menu = readMenu(bus, errors);
    if (!menu) {
        return false;
    }
    const Layout* place = &*menu;
    for (const auto& wanted : path) {
        const auto found = std::ranges::find_if(place->children, [&](const Layout& line) {
            return canBePicked(line) && words(line) == wanted;
        });
        if (found == place->children.end()) {
            printLine(errors, "brindle-recorder: the menu has no '" + wanted + "' to pick there");
            return false;
        }
        place = &*found;
    }
    if (path.empty() || !place->children.isEmpty()) {
        printLine(errors, "brindle-recorder: that is a submenu; say which of its lines");
        return false;
    }
    auto click = makeCall("Event");
    click << place->number << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant{0})
          << 0U;
    return bus.call(click).type() == QDBusMessage::ReplyMessage;
}

} // namespace brindle
