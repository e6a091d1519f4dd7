#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/MenuReader.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>

namespace brindle {

namespace {

/// The menu of the copy that runs, over a connection of the command's own.
class RunningCopy {
  public:
    RunningCopy() {
        sd_bus* bus = nullptr;
        if (sd_bus_open_user(&bus) >= 0) {
            bus_.reset(bus);
        }
    }

    /// As a panel does before it shows the menu.
    [[nodiscard]] std::optional<Menu> open() const {
        call("AboutToShow", "i", 0);
        const BusMessage answer = call("GetLayout", "iias", 0, -1, 0);
        return answer != nullptr ? MenuReader::read(answer.get()) : std::nullopt;
    }

    [[nodiscard]] bool click(const MenuItem& line) const {
        return call("Event", "isvu", std::stoi(line.id), "clicked", "i", 0, 0U) != nullptr;
    }

  private:
    /// Null when nobody answers, or with an error.
    template <class... Arguments>
    BusMessage call(const char* method, const char* types, Arguments... arguments) const {
        sd_bus_message* made = nullptr;
        if (bus_ == nullptr ||
            sd_bus_message_new_method_call(
                bus_.get(), &made, std::string{AppInfo::bundleIdentifier}.c_str(),
                ExportedMenu::path, ExportedMenu::interface, method) < 0) {
            return nullptr;
        }
        const BusMessage question{made};
        sd_bus_message* answer = nullptr;
        if (sd_bus_message_set_auto_start(made, 0) < 0 ||
            sd_bus_message_append(made, types, arguments...) < 0 ||
            sd_bus_call(bus_.get(), made, 0, nullptr, &answer) < 0) {
            return nullptr;
        }
        return BusMessage{answer};
    }

    BusHandle bus_;
};

std::optional<Menu> readMenu(const RunningCopy& program, std::FILE* errors) {
    auto menu = program.open();
    if (!menu) {
        printLine(
            errors, "brindle-recorder: no copy of the program with a menu runs in this session");
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

bool TerminalMenu::print() const {
    const RunningCopy program;
    const auto menu = readMenu(program, errors);
    if (!menu) {
        return false;
    }
    printLines(output, *menu, {});
    return true;
}

bool TerminalMenu::pick(const std::vector<std::string>& path) const {
    const RunningCopy program;
    const auto menu = readMenu(program, errors);
    if (!menu) {
        return false;
    }
    const Menu* lines = &*menu;
    const MenuItem* place = nullptr;
    for (const auto& wanted : path) {
        const auto found = std::ranges::find_if(*lines, [&](const MenuItem& line) {
            return canBePicked(line) && words(line) == wanted;
        });
        if (found == lines->end()) {
            printLine(errors, "brindle-recorder: the menu has no '" + wanted + "' to pick there");
            return false;
        }
        place = &*found;
        static const Menu none;
        lines = place->asSubmenu() != nullptr ? &place->asSubmenu()->items : &none;
    }
    if (place == nullptr || place->asSubmenu() != nullptr) {
        printLine(errors, "brindle-recorder: that is a submenu; say which of its lines");
        return false;
    }
    return program.click(*place);
}

} // namespace brindle
