#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"

#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/MenuReader.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <variant>

namespace brindle {

namespace {

/// As a panel does before it shows the menu.
std::optional<Menu> open(RunningCopy& program) {
    constexpr const char* object = ExportedMenu::path;
    constexpr const char* interface = ExportedMenu::interface;
    if (program.call(object, interface, "AboutToShow", "i", 0) == nullptr) {
        return std::nullopt;
    }
    const BusMessage answer = std::apply(
        [&](auto... values) {
            return program.call(object, interface, "GetLayout", "iias", values...);
        },
        MenuReader::question);
    auto menu = answer != nullptr ? MenuReader::read(answer.get()) : std::nullopt;
    if (answer != nullptr && !menu) {
        program.couldNotRead();
    }
    return menu;
}

/// What a line says, but for its mark; nothing where it only divides.
std::string words(const MenuItem& line) {
    struct Words {
        std::string operator()(const MenuItem::Text& text) const { return text.text; }
        std::string operator()(const MenuItem::Button& button) const { return button.title; }
        std::string operator()(const MenuItem::Toggle& toggle) const { return toggle.title; }
        std::string operator()(const MenuItem::Submenu& submenu) const { return submenu.title; }
        std::string operator()(const MenuItem::Divider& /*divider*/) const { return {}; }
    };
    return std::visit(Words{}, line.value);
}

bool canBePicked(const MenuItem& line) {
    return line.asText() == nullptr && !line.isDivider();
}

void printLines(std::FILE* output, const Menu& menu, const std::string& indent) {
    for (const MenuItem& line : menu) {
        if (line.isDivider()) {
            printLine(output, "");
            continue;
        }
        std::string mark;
        if (const auto* toggle = line.asToggle()) {
            mark = toggle->isOn ? "[x] " : "[ ] ";
        }
        printLine(output, indent + mark + words(line));
        if (const auto* submenu = line.asSubmenu()) {
            printLines(output, submenu->items, indent + "    ");
        }
    }
}

} // namespace

ExitStatus TerminalMenu::print() const {
    RunningCopy program{errors};
    if (const auto menu = open(program)) {
        printLines(output, *menu, {});
    }
    return program.status();
}

ExitStatus TerminalMenu::pick(const std::vector<std::string>& path) const {
    RunningCopy program{errors};
    const auto menu = open(program);
    if (!menu) {
        return program.status();
    }
    const Menu* lines = &*menu;
    const MenuItem* place = nullptr;
    for (const auto& wanted : path) {
        const auto found = std::ranges::find_if(*lines, [&](const MenuItem& line) {
            return canBePicked(line) && words(line) == wanted;
        });
        if (found == lines->end()) {
            printLine(errors, "brindle-recorder: the menu has no '" + wanted + "' to pick there");
            return ExitStatus::couldNotRun;
        }
        place = &*found;
        static const Menu none;
        lines = place->asSubmenu() != nullptr ? &place->asSubmenu()->items : &none;
    }
    if (place == nullptr || place->asSubmenu() != nullptr) {
        printLine(errors, "brindle-recorder: that is a submenu; say which of its lines");
        return ExitStatus::couldNotRun;
    }
    static_cast<void>(program.call(
        ExportedMenu::path, ExportedMenu::interface, "Event", "isvu", std::stoi(place->id),
        "clicked", "i", 0, 0U));
    return program.status();
}

} // namespace brindle
