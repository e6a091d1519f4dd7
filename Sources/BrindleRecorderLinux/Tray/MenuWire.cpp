#include "BrindleRecorderLinux/Tray/MenuWire.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"

#include <cstdint>
#include <string_view>
#include <utility>

namespace brindle::menuwire {

namespace {

int appendText(sd_bus_message* message, std::string_view text) {
    return sd_bus_message_append(message, "s", BusText::valid(text).c_str());
}

struct AppendVariant {
    sd_bus_message* message;

    int operator()(bool flag) const {
        return sd_bus_message_append(message, "v", "b", flag ? 1 : 0);
    }
    int operator()(int number) const { return sd_bus_message_append(message, "v", "i", number); }
    int operator()(const std::string& text) const {
        sd_bus_message_open_container(message, 'v', "s");
        appendText(message, text);
        return sd_bus_message_close_container(message);
    }
    int operator()(const Shortcut& shortcut) const {
        sd_bus_message_open_container(message, 'v', "aas");
        sd_bus_message_open_container(message, 'a', "as");
        for (const auto& keys : shortcut) {
            sd_bus_message_open_container(message, 'a', "s");
            for (const auto& key : keys) {
                appendText(message, key);
            }
            sd_bus_message_close_container(message);
        }
        sd_bus_message_close_container(message);
        return sd_bus_message_close_container(message);
    }
};

void appendNumberAndProperties(sd_bus_message* message, int number, const Properties& properties) {
    sd_bus_message_append(message, "i", number);
    append(message, properties);
}

/// Reads what is in the container that comes next, and leaves it. False when something else comes,
/// or what is in it cannot be read.
template <class ReadOne>
bool readAll(sd_bus_message* message, char type, const char* contents, const ReadOne& readOne) {
    if (sd_bus_message_enter_container(message, type, contents) <= 0) {
        return false;
    }
    while (sd_bus_message_at_end(message, 0) == 0) {
        if (!readOne()) {
            return false;
        }
    }
    return sd_bus_message_exit_container(message) >= 0;
}

std::optional<std::string> readText(sd_bus_message* message) {
    const char* text = nullptr;
    if (sd_bus_message_read(message, "s", &text) <= 0) {
        return std::nullopt;
    }
    return text;
}

std::optional<Shortcut> readShortcut(sd_bus_message* message) {
    Shortcut result;
    const bool isRead = readAll(message, 'a', "as", [&] {
        auto keys = readTexts(message);
        if (keys) {
            result.push_back(std::move(*keys));
        }
        return keys.has_value();
    });
    return isRead ? std::optional{std::move(result)} : std::nullopt;
}

/// False when the message ends there; a property of another kind is passed over.
bool readProperty(sd_bus_message* message, Properties& properties) {
    auto name = readText(message);
    const char* contents = nullptr;
    if (!name || sd_bus_message_peek_type(message, nullptr, &contents) <= 0) {
        return false;
    }
    const std::string_view kind = contents;
    if (kind != "b" && kind != "i" && kind != "s" && kind != "aas") {
        return sd_bus_message_skip(message, "v") >= 0;
    }
    if (sd_bus_message_enter_container(message, 'v', contents) <= 0) {
        return false;
    }
    if (kind == "b") {
        int flag = 0; // the wire's booleans have the size of an int
        sd_bus_message_read(message, "b", &flag);
        properties.insert_or_assign(std::move(*name), flag != 0);
    } else if (kind == "i") {
        int number = 0;
        sd_bus_message_read(message, "i", &number);
        properties.insert_or_assign(std::move(*name), number);
    } else if (kind == "s") {
        auto text = readText(message);
        if (text && text->size() <= mostBytes) {
            properties.insert_or_assign(std::move(*name), std::move(*text));
        }
    } else {
        properties.insert_or_assign(std::move(*name), readShortcut(message).value_or(Shortcut{}));
    }
    return sd_bus_message_exit_container(message) >= 0;
}

bool readInto(sd_bus_message* message, Properties& properties) {
    return readAll(message, 'a', "{sv}", [&] {
        return sd_bus_message_enter_container(message, 'e', "sv") > 0 &&
               readProperty(message, properties) && sd_bus_message_exit_container(message) >= 0;
    });
}

/// One line with those below it, at most so many altogether.
bool readInto(sd_bus_message* message, Layout& layout, int depth, std::size_t& room) {
    return sd_bus_message_enter_container(message, 'r', "ia{sv}av") > 0 &&
           sd_bus_message_read(message, "i", &layout.number) > 0 &&
           readInto(message, layout.properties) &&
           readAll(
               message, 'a', "v",
               [&] {
                   if (depth == 0 || room == 0) {
                       return sd_bus_message_skip(message, "v") >= 0;
                   }
                   --room;
                   return sd_bus_message_enter_container(message, 'v', "(ia{sv}av)") > 0 &&
                          readInto(message, layout.children.emplace_back(), depth - 1, room) &&
                          sd_bus_message_exit_container(message) >= 0;
               }) &&
           sd_bus_message_exit_container(message) >= 0;
}

} // namespace

int appendVariant(sd_bus_message* message, const Value& value) {
    return std::visit(AppendVariant{message}, value);
}

int append(sd_bus_message* message, const Properties& properties) {
    sd_bus_message_open_container(message, 'a', "{sv}");
    for (const auto& [name, value] : properties) {
        sd_bus_message_open_container(message, 'e', "sv");
        appendText(message, name);
        appendVariant(message, value);
        sd_bus_message_close_container(message);
    }
    return sd_bus_message_close_container(message);
}

int append(sd_bus_message* message, int number, const Properties& properties) {
    sd_bus_message_open_container(message, 'r', "ia{sv}");
    appendNumberAndProperties(message, number, properties);
    return sd_bus_message_close_container(message);
}

int append(sd_bus_message* message, const Layout& layout) {
    sd_bus_message_open_container(message, 'r', "ia{sv}av");
    appendNumberAndProperties(message, layout.number, layout.properties);
    sd_bus_message_open_container(message, 'a', "v");
    for (const Layout& child : layout.children) {
        sd_bus_message_open_container(message, 'v', "(ia{sv}av)");
        append(message, child);
        sd_bus_message_close_container(message);
    }
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

std::optional<Layout> readLayout(sd_bus_message* message) {
    Layout layout;
    std::size_t room = mostLines;
    if (!readInto(message, layout, mostDepth, room)) {
        return std::nullopt;
    }
    return layout;
}

std::optional<std::vector<int>> readNumbers(sd_bus_message* message) {
    std::vector<int> numbers;
    const bool isRead = readAll(message, 'a', "i", [&] {
        return sd_bus_message_read(message, "i", &numbers.emplace_back()) > 0;
    });
    return isRead ? std::optional{std::move(numbers)} : std::nullopt;
}

std::optional<std::vector<std::string>> readTexts(sd_bus_message* message) {
    std::vector<std::string> texts;
    const bool isRead = readAll(message, 'a', "s", [&] {
        auto text = readText(message);
        if (text) {
            texts.push_back(std::move(*text));
        }
        return text.has_value();
    });
    return isRead ? std::optional{std::move(texts)} : std::nullopt;
}

} // namespace brindle::menuwire
