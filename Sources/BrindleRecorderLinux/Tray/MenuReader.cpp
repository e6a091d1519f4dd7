#include "BrindleRecorderLinux/Tray/MenuReader.hpp"

#include "BrindleRecorderLinux/Tray/MenuWire.hpp"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace brindle {

namespace {

using menuwire::Layout;

constexpr const char* interface = "com.canonical.dbusmenu";

/// What the protocol says when a line does not say it is `otherwise`.
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

/// Of the key combinations the first, where it is a letter with the modifier for commands.
std::optional<MenuShortcut> shortcutOf(const Layout& line) {
    const auto combinations = property(line, "shortcut", menuwire::Shortcut{});
    if (combinations.empty() || combinations.front().size() != 2 ||
        combinations.front().front() != "Control") {
        return std::nullopt;
    }
    const std::string& key = combinations.front().back();
    const bool isLetter =
        key.size() == 1 && std::isalpha(static_cast<unsigned char>(key.front())) != 0;
    return isLetter ? std::optional{MenuShortcut{key.front()}} : std::nullopt;
}

Menu menuOf(const std::vector<Layout>& lines);

MenuItem itemOf(const Layout& line) {
    const std::string title = withoutMarks(text(line, "label"));
    MenuItem item{std::to_string(line.number), MenuItem::Text{title}};
    if (text(line, "type") == "separator") {
        item.value = MenuItem::Divider{};
    } else if (text(line, "children-display") == "submenu") {
        item.value = MenuItem::Submenu{title, menuOf(line.children)};
    } else if (!text(line, "toggle-type").empty()) {
        item.value = MenuItem::Toggle{title, property(line, "toggle-state", 0) == 1};
    } else if (property(line, "enabled", true) && !property(line, textMark, false)) {
        item.value = MenuItem::Button{title, shortcutOf(line)};
    }
    return item;
}

Menu menuOf(const std::vector<Layout>& lines) {
    Menu menu;
    for (const Layout& line : lines) {
        if (property(line, "visible", true)) {
            menu.push_back(itemOf(line));
        }
    }
    return menu;
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
    std::apply(
        [&](auto... values) { sd_bus_message_append(call.get(), "iias", values...); }, question);
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
    if (sd_bus_message_skip(layout, "u") < 0) {
        return std::nullopt;
    }
    const auto root = menuwire::readLayout(layout);
    return root ? std::optional{menuOf(root->children)} : std::nullopt;
}

} // namespace brindle
