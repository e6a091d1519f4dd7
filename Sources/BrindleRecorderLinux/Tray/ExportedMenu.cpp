#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"

#include "BrindleRecorderLinux/Bus/ObjectTable.hpp"
#include "BrindleRecorderLinux/Tray/TextMark.hpp"

#include <cerrno>
#include <optional>
#include <utility>
#include <variant>

namespace brindle {

namespace {

int sayVersion(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "u", 3U);
}
int sayNoThemePath(sd_bus_message* answer) {
    return sd_bus_message_append(answer, "as", 0);
}

/// In a label of the protocol an underscore marks the key that picks the line; ours mark none.
std::string label(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result.append(character == '_' ? 2 : 1, character);
    }
    return result;
}

struct PropertiesOf {
    menuwire::Properties operator()(const MenuItem::Text& text) const {
        // Were it switched off, panels would draw it pale, and the keyboard would not come to it.
        return {{"label", label(text.text)}, {textMark, true}};
    }
    menuwire::Properties operator()(const MenuItem::Button& button) const {
        menuwire::Properties result{{"label", label(button.title)}};
        if (button.shortcut) {
            result.emplace(
                "shortcut", menuwire::Shortcut{{"Control", std::string(1, button.shortcut->key)}});
        }
        return result;
    }
    menuwire::Properties operator()(const MenuItem::Toggle& toggle) const {
        return {
            {"label", label(toggle.title)},
            {"toggle-type", std::string{"checkmark"}},
            {"toggle-state", toggle.isOn ? 1 : 0}};
    }
    menuwire::Properties operator()(const MenuItem::Submenu& submenu) const {
        return {{"label", label(submenu.title)}, {"children-display", std::string{"submenu"}}};
    }
    menuwire::Properties operator()(const MenuItem::Divider& /*divider*/) const {
        return {{"type", std::string{"separator"}}};
    }
};

BusMessage answerTo(sd_bus_message* call) {
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_message_new_method_return(call, &answer);
    return BusMessage{result >= 0 ? answer : nullptr};
}

int send(const BusMessage& message) {
    return sd_bus_send(nullptr, message.get(), nullptr);
}

int appendNumbers(const BusMessage& message, const std::vector<int>& numbers) {
    return sd_bus_message_append_array(
        message.get(), 'i', numbers.data(), numbers.size() * sizeof(int));
}

} // namespace

const sd_bus_vtable* ExportedMenu::table() {
    using Self = ExportedMenu;
    constexpr auto constant = SD_BUS_VTABLE_PROPERTY_CONST;
    constexpr auto anybody = SD_BUS_VTABLE_UNPRIVILEGED;
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("Version", "u", &bustable::say<&sayVersion>, 0, constant),
        SD_BUS_PROPERTY("TextDirection", "s", &bustable::sayText<"ltr">, 0, constant),
        SD_BUS_PROPERTY("Status", "s", &bustable::sayText<"normal">, 0, constant),
        SD_BUS_PROPERTY("IconThemePath", "as", &bustable::say<&sayNoThemePath>, 0, constant),
        SD_BUS_METHOD_WITH_NAMES(
            "GetLayout", "iias",
            SD_BUS_PARAM(parentId) SD_BUS_PARAM(recursionDepth) SD_BUS_PARAM(propertyNames),
            "u(ia{sv}av)", SD_BUS_PARAM(revision) SD_BUS_PARAM(layout),
            &bustable::handle<&Self::getLayout>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "GetGroupProperties", "aias", SD_BUS_PARAM(ids) SD_BUS_PARAM(propertyNames),
            "a(ia{sv})", SD_BUS_PARAM(properties), &bustable::handle<&Self::getGroupProperties>,
            anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "GetProperty", "is", SD_BUS_PARAM(id) SD_BUS_PARAM(name), "v", SD_BUS_PARAM(value),
            &bustable::handle<&Self::getProperty>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "Event", "isvu",
            SD_BUS_PARAM(id) SD_BUS_PARAM(eventId) SD_BUS_PARAM(data) SD_BUS_PARAM(timestamp), "", ,
            &bustable::handle<&Self::event>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "EventGroup", "a(isvu)", SD_BUS_PARAM(events), "ai", SD_BUS_PARAM(idErrors),
            &bustable::handle<&Self::eventGroup>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "AboutToShow", "i", SD_BUS_PARAM(id), "b", SD_BUS_PARAM(needUpdate),
            &bustable::handle<&Self::aboutToShow>, anybody),
        SD_BUS_METHOD_WITH_NAMES(
            "AboutToShowGroup", "ai", SD_BUS_PARAM(ids), "aiai",
            SD_BUS_PARAM(updatesNeeded) SD_BUS_PARAM(idErrors),
            &bustable::handle<&Self::aboutToShowGroup>, anybody),
        SD_BUS_SIGNAL_WITH_NAMES(
            "ItemsPropertiesUpdated", "a(ia{sv})a(ias)",
            SD_BUS_PARAM(updatedProps) SD_BUS_PARAM(removedProps), 0),
        SD_BUS_SIGNAL_WITH_NAMES(
            "LayoutUpdated", "ui", SD_BUS_PARAM(revision) SD_BUS_PARAM(parent), 0),
        SD_BUS_SIGNAL_WITH_NAMES(
            "ItemActivationRequested", "iu", SD_BUS_PARAM(id) SD_BUS_PARAM(timestamp), 0),
        SD_BUS_VTABLE_END,
    };
    return table;
}

bool ExportedMenu::exportOn(Bus& bus) {
    sd_bus_slot* object = nullptr;
    if (sd_bus_add_object_vtable(bus.get(), &object, path, interface, table(), this) < 0) {
        return false;
    }
    object_.reset(object);
    bus_ = &bus;
    return true;
}

void ExportedMenu::show(const Menu& menu) {
    auto changes = numbers_.show(menu);
    if (changes.lines.empty() && changes.parents.empty()) {
        // A panel may have turned a toggle by itself that stands as it stood.
        changes.lines = toggles();
    }
    if (!changes.parents.empty()) {
        ++revision_;
        announceLayout(changes.parents.size() == 1 ? changes.parents.front() : MenuNumbers::root);
    }
    if (!changes.lines.empty()) {
        announceLines(changes.lines);
    }
}

void ExportedMenu::askToOpen() {
    if (bus_ != nullptr) {
        sd_bus_emit_signal(
            bus_->get(), path, interface, "ItemActivationRequested", "iu", MenuNumbers::root, 0U);
        bus_->wake();
    }
}

void ExportedMenu::announceLayout(int parent) {
    if (bus_ != nullptr) {
        sd_bus_emit_signal(bus_->get(), path, interface, "LayoutUpdated", "ui", revision_, parent);
        bus_->wake();
    }
}

void ExportedMenu::announceLines(const std::vector<int>& numbers) {
    sd_bus_message* made = nullptr;
    if (bus_ == nullptr || sd_bus_message_new_signal(
                               bus_->get(), &made, path, interface, "ItemsPropertiesUpdated") < 0) {
        return;
    }
    const BusMessage signal{made};
    sd_bus_message_open_container(made, 'a', "(ia{sv})");
    for (const int number : numbers) {
        menuwire::append(made, number, properties(number, {}));
    }
    sd_bus_message_close_container(made);
    sd_bus_message_append(made, "a(ias)", 0);
    sd_bus_send(bus_->get(), made, nullptr);
    bus_->wake();
}

int ExportedMenu::getLayout(sd_bus_message* call) const {
    int parent = 0;
    int depth = 0;
    if (sd_bus_message_read(call, "ii", &parent, &depth) <= 0) {
        return -EBADMSG;
    }
    const auto names = menuwire::readTexts(call);
    if (!names) {
        return -EBADMSG;
    }
    const BusMessage answer = answerTo(call);
    sd_bus_message_append(answer.get(), "u", revision_);
    menuwire::append(answer.get(), layout(parent, depth, *names));
    return send(answer);
}

int ExportedMenu::getGroupProperties(sd_bus_message* call) const {
    auto numbers = menuwire::readNumbers(call);
    const auto names = menuwire::readTexts(call);
    if (!numbers || !names) {
        return -EBADMSG;
    }
    if (numbers->empty()) {
        for (const auto& [number, line] : numbers_.lines()) {
            numbers->push_back(number);
        }
    }
    const BusMessage answer = answerTo(call);
    sd_bus_message_open_container(answer.get(), 'a', "(ia{sv})");
    for (const int number : *numbers) {
        if (numbers_.line(number) != nullptr) {
            menuwire::append(answer.get(), number, properties(number, *names));
        }
    }
    sd_bus_message_close_container(answer.get());
    return send(answer);
}

int ExportedMenu::getProperty(sd_bus_message* call) const {
    int number = 0;
    const char* name = nullptr;
    if (sd_bus_message_read(call, "is", &number, &name) <= 0) {
        return -EBADMSG;
    }
    const auto all = properties(number, {name});
    const auto found = all.find(std::string_view{name});
    const BusMessage answer = answerTo(call);
    menuwire::appendVariant(
        answer.get(), found != all.end() ? found->second : menuwire::Value{std::string{}});
    return send(answer);
}

int ExportedMenu::event(sd_bus_message* call) {
    int number = 0;
    const char* name = nullptr;
    if (sd_bus_message_read(call, "is", &number, &name) <= 0) {
        return -EBADMSG;
    }
    handleEvent(number, name);
    return sd_bus_reply_method_return(call, nullptr);
}

int ExportedMenu::eventGroup(sd_bus_message* call) {
    std::vector<std::pair<int, std::string>> events;
    if (sd_bus_message_enter_container(call, 'a', "(isvu)") < 0) {
        return -EBADMSG;
    }
    while (sd_bus_message_enter_container(call, 'r', "isvu") > 0) {
        int number = 0;
        const char* name = nullptr;
        if (sd_bus_message_read(call, "is", &number, &name) <= 0 ||
            sd_bus_message_skip(call, "vu") < 0 || sd_bus_message_exit_container(call) < 0) {
            return -EBADMSG;
        }
        events.emplace_back(number, name);
    }
    std::vector<int> unknown;
    for (const auto& [number, name] : events) {
        if (!handleEvent(number, name)) {
            unknown.push_back(number);
        }
    }
    const BusMessage answer = answerTo(call);
    appendNumbers(answer, unknown);
    return send(answer);
}

int ExportedMenu::aboutToShow(sd_bus_message* call) {
    int number = 0;
    if (sd_bus_message_read(call, "i", &number) <= 0) {
        return -EBADMSG;
    }
    return sd_bus_reply_method_return(call, "b", open(number) ? 1 : 0);
}

int ExportedMenu::aboutToShowGroup(sd_bus_message* call) {
    const auto numbers = menuwire::readNumbers(call);
    if (!numbers) {
        return -EBADMSG;
    }
    std::vector<int> changed;
    std::vector<int> unknown;
    for (const int number : *numbers) {
        if (numbers_.line(number) == nullptr) {
            unknown.push_back(number);
        } else if (open(number)) {
            changed.push_back(number);
        }
    }
    const BusMessage answer = answerTo(call);
    appendNumbers(answer, changed);
    appendNumbers(answer, unknown);
    return send(answer);
}

// Whoever hears of the opening changes the menu.
// NOLINTNEXTLINE(readability-make-member-function-const)
bool ExportedMenu::open(int number) {
    const std::uint32_t before = revision_;
    if (number == MenuNumbers::root && onOpening) {
        onOpening();
    }
    return revision_ != before;
}

menuwire::Properties ExportedMenu::properties(int number, const Names& wanted) const {
    const auto* line = numbers_.line(number);
    if (line == nullptr) {
        return {};
    }
    menuwire::Properties all =
        number == MenuNumbers::root
            ? menuwire::Properties{{"children-display", std::string{"submenu"}}}
            : std::visit(PropertiesOf{}, line->item.value);
    if (wanted.empty()) {
        all.erase(textMark);
        return all;
    }
    menuwire::Properties result;
    for (const std::string& name : wanted) {
        if (const auto found = all.find(name); found != all.end()) {
            result.insert(*found);
        }
    }
    return result;
}

menuwire::Layout ExportedMenu::layout(int number, int depth, const Names& wanted) const {
    menuwire::Layout result{number, properties(number, wanted), {}};
    const auto* line = numbers_.line(number);
    if (line != nullptr && depth != 0) {
        for (const int child : line->children) {
            result.children.push_back(layout(child, depth - 1, wanted));
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

bool ExportedMenu::handleEvent(int number, std::string_view event) {
    const auto* line = numbers_.line(number);
    if (line == nullptr) {
        return false;
    }
    if (event == "clicked" && number != MenuNumbers::root && onActivation) {
        const std::string name = line->name; // the menu may change on the way
        onActivation(name);
    }
    return true;
}

} // namespace brindle
