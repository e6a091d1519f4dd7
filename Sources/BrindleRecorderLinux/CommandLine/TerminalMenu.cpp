#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/SdBus/Bus.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "BrindleRecorderLinux/Tray/MenuWire.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>

namespace brindle {

namespace {

using menuwire::Layout;

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
    [[nodiscard]] std::optional<Layout> open() const {
        call("AboutToShow", "i", 0);
        const BusMessage answer = call("GetLayout", "iias", 0, -1, 0);
        if (answer == nullptr || sd_bus_message_skip(answer.get(), "u") < 0) {
            return std::nullopt;
        }
        return menuwire::readLayout(answer.get());
    }

    [[nodiscard]] bool click(int number) const {
        return call("Event", "isvu", number, "clicked", "i", 0, 0U) != nullptr;
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

std::optional<Layout> readMenu(const RunningCopy& program, std::FILE* errors) {
    auto menu = program.open();
    if (!menu) {
        printLine(
            errors, "brindle-recorder: no copy of the program with a menu runs in this session");
    }
    return menu;
}

template <class Value>
Value property(const Layout& line, std::string_view name, Value otherwise) {
    const auto found = line.properties.find(name);
    const Value* const value =
        found != line.properties.end() ? std::get_if<Value>(&found->second) : nullptr;
    return value != nullptr ? *value : otherwise;
}

std::string text(const Layout& line, std::string_view name) {
    return property(line, name, std::string{});
}

std::string words(const Layout& line) {
    std::string result = text(line, "label");
    for (auto place = result.find("__"); place != std::string::npos;
         place = result.find("__", place + 1)) {
        result.erase(place, 1);
    }
    return result;
}

bool isRule(const Layout& line) {
    return text(line, "type") == "separator";
}

bool canBePicked(const Layout& line) {
    return !isRule(line) && property(line, "enabled", true);
}

void printLines(std::FILE* output, const Layout& menu, const std::string& indent) {
    for (const Layout& line : menu.children) {
        if (isRule(line)) {
            printLine(output, "");
            continue;
        }
        std::string mark;
        if (!text(line, "toggle-type").empty()) {
            mark = property(line, "toggle-state", 0) == 1 ? "[x] " : "[ ] ";
        }
        printLine(output, indent + mark + words(line));
        printLines(output, line, indent + "    ");
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
    if (path.empty() || !place->children.empty()) {
        printLine(errors, "brindle-recorder: that is a submenu; say which of its lines");
        return false;
    }
    return program.click(place->number);
}

} // namespace brindle
