#include "BrindleRecorderLinux/Window/MenuReader.hpp"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr const char* interface = "com.canonical.dbusmenu";

/// What the protocol says of one line; what it leaves out is as here.
struct Line {
    std::int32_t number = 0;
    std::string label;
    std::string type;
    std::string toggleType;
    std::string display;
    bool isEnabled = true;
    bool isVisible = true;
    bool isOn = false;
    std::optional<MenuShortcut> shortcut;
};

std::string readText(sd_bus_message* message) {
    const char* text = nullptr;
    if (sd_bus_message_read(message, "v", "s", &text) <= 0 ||
        std::string_view{text}.size() > MenuReader::mostBytes) {
        return {};
    }
    return text;
}

bool readTruth(sd_bus_message* message) {
    int value = 0; // the wire's booleans have the size of an int
    return sd_bus_message_read(message, "v", "b", &value) > 0 && value != 0;
}

/// Of a list of key combinations the first, where it is a letter with the modifier for commands.
std::optional<MenuShortcut> readShortcut(sd_bus_message* message) {
    std::optional<MenuShortcut> result;
    if (sd_bus_message_enter_container(message, 'v', "aas") <= 0 ||
        sd_bus_message_enter_container(message, 'a', "as") <= 0) {
        return std::nullopt;
    }
    if (sd_bus_message_enter_container(message, 'a', "s") > 0) {
        const char* modifier = nullptr;
        const char* key = nullptr;
        if (sd_bus_message_read(message, "s", &modifier) > 0 &&
            sd_bus_message_read(message, "s", &key) > 0 &&
            sd_bus_message_at_end(message, /*complete=*/0) > 0 &&
            std::string_view{modifier} == "Control" && std::string_view{key}.size() == 1 &&
            std::isalpha(static_cast<unsigned char>(*key)) != 0) {
            result = MenuShortcut{*key};
        }
        while (sd_bus_message_skip(message, "s") > 0) {
        }
        sd_bus_message_exit_container(message);
    }
    while (sd_bus_message_skip(message, "as") > 0) {
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
    return result;
}

/// In a label of the protocol an underscore marks the key that picks the line, and two are one.
std::string withoutMarks(std::string_view label) {
    std::string words;
    for (std::size_t place = 0; place < label.size(); ++place) {
        if (label[place] == '_' && ++place == label.size()) {
            break;
        }
        words += label[place];
    }
    return words;
}

bool isOfType(sd_bus_message* message, std::string_view wanted) {
    char type = 0;
    const char* inside = nullptr;
    return sd_bus_message_peek_type(message, &type, &inside) > 0 && type == 'v' &&
           inside != nullptr && wanted == inside;
}

void readProperty(sd_bus_message* message, std::string_view name, Line& line) {
    const bool isText = isOfType(message, "s");
    if (isText && name == "label") {
        line.label = withoutMarks(readText(message));
    } else if (isText && name == "type") {
        line.type = readText(message);
    } else if (isText && name == "toggle-type") {
        line.toggleType = readText(message);
    } else if (isText && name == "children-display") {
        line.display = readText(message);
    } else if (isOfType(message, "b") && name == "enabled") {
        line.isEnabled = readTruth(message);
    } else if (isOfType(message, "b") && name == "visible") {
        line.isVisible = readTruth(message);
    } else if (isOfType(message, "i") && name == "toggle-state") {
        std::int32_t state = 0;
        line.isOn = sd_bus_message_read(message, "v", "i", &state) > 0 && state == 1;
    } else if (isOfType(message, "aas") && name == "shortcut") {
        line.shortcut = readShortcut(message);
    } else {
        sd_bus_message_skip(message, "v");
    }
}

bool readProperties(sd_bus_message* message, Line& line) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return false;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0) {
            return false;
        }
        readProperty(message, name, line);
        if (sd_bus_message_exit_container(message) <= 0) {
            return false;
        }
    }
    return sd_bus_message_exit_container(message) > 0;
}

MenuItem itemOf(const Line& line, Menu children) {
    MenuItem item{std::to_string(line.number), MenuItem::Text{line.label}};
    if (line.type == "separator") {
        item.value = MenuItem::Divider{};
    } else if (line.display == "submenu") {
        item.value = MenuItem::Submenu{line.label, std::move(children)};
    } else if (!line.toggleType.empty()) {
        item.value = MenuItem::Toggle{line.label, line.isOn};
    } else if (line.isEnabled) {
        item.value = MenuItem::Button{line.label, line.shortcut};
    }
    return item;
}

/// Reads one line with those below it, at most so many altogether.
bool readLine(sd_bus_message* message, int depth, std::size_t& room, Menu& lines) {
    Line line;
    Menu children;
    if (sd_bus_message_enter_container(message, 'r', "ia{sv}av") <= 0 ||
        sd_bus_message_read(message, "i", &line.number) <= 0 || !readProperties(message, line) ||
        sd_bus_message_enter_container(message, 'a', "v") <= 0) {
        return false;
    }
    while (depth > 0 && room > 0 &&
           sd_bus_message_enter_container(message, 'v', "(ia{sv}av)") > 0) {
        --room;
        if (!readLine(message, depth - 1, room, children) ||
            sd_bus_message_exit_container(message) <= 0) {
            return false;
        }
    }
    while (sd_bus_message_skip(message, "v") > 0) {
    }
    const bool hasLeftTheChildren = sd_bus_message_exit_container(message) > 0;
    if (!hasLeftTheChildren || sd_bus_message_exit_container(message) <= 0) {
        return false;
    }
    if (line.isVisible) {
        lines.push_back(itemOf(line, std::move(children)));
    }
    return true;
}

} // namespace

MenuReader::MenuReader(Bus& bus, const std::string& name, const std::string& path)
    : name_{name}, path_{path}, owner_{bus, name, {}}, calls_{bus} {
    // Where the bus is gone nothing changes any more.
    for (const char* signal : {"LayoutUpdated", "ItemsPropertiesUpdated"}) {
        static_cast<void>(
            owner_.follow(path_, interface, signal, [this](sd_bus_message*) { ask(); }));
    }
    ask();
}

void MenuReader::tellOpening() {
    auto call = calls_.make(name_, path_.c_str(), interface, "AboutToShow");
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message_append(call.get(), "i", 0);
    // Whatever the answer is, the menu is looked at once more.
    static_cast<void>(calls_.send(std::move(call), [this](sd_bus_message*) { ask(); }));
}

void MenuReader::tellPicked(const std::string& line, const std::function<void()>& told) {
    std::int32_t number = 0;
    const auto read = std::from_chars(line.data(), line.data() + line.size(), number);
    auto call = calls_.make(name_, path_.c_str(), interface, "Event");
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message_append(call.get(), "isvu", number, "clicked", "i", 0, 0U);
    if (read.ec != std::errc{} ||
        !calls_.send(std::move(call), [told](sd_bus_message*) { told(); })) {
        told();
    }
}

void MenuReader::ask() {
    if (isAsking_) {
        hasChangedSince_ = true;
        return;
    }
    hasChangedSince_ = false;
    auto call = calls_.make(name_, path_.c_str(), interface, "GetLayout");
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message_append(call.get(), "iias", 0, -1, 0);
    isAsking_ = calls_.send(std::move(call), [this](sd_bus_message* answer) { take(answer); });
}

void MenuReader::take(sd_bus_message* answer) {
    isAsking_ = false;
    if (hasChangedSince_) {
        ask();
        return;
    }
    if (const auto menu = isAnswer(answer) ? read(answer) : std::nullopt; menu && onMenu) {
        onMenu(*menu);
    }
}

std::optional<Menu> MenuReader::read(sd_bus_message* layout) {
    std::uint32_t revision = 0;
    std::size_t room = mostLines;
    Menu root;
    if (sd_bus_message_read(layout, "u", &revision) <= 0 ||
        !readLine(layout, mostDepth, room, root) || root.size() != 1) {
        return std::nullopt;
    }
    const auto* const whole = root.front().asSubmenu();
    return whole != nullptr ? std::optional{whole->items} : std::nullopt;
}

} // namespace brindle
