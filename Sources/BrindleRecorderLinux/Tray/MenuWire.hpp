// The records of com.canonical.dbusmenu (version 3, from its XML description) on the bus.
#pragma once

#include <systemd/sd-bus.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// Pure functions, but for the messages that they write and read.
namespace brindle::menuwire {

/// Signature aas: each the keys that are pressed together.
using Shortcut = std::vector<std::vector<std::string>>;
using Value = std::variant<bool, int, std::string, Shortcut>;

/// What a line says. Signature a{sv}.
using Properties = std::map<std::string, Value, std::less<>>;

/// Signature (ia{sv}av); the children are of the same sort.
struct Layout {
    int number = 0;
    Properties properties;
    std::vector<Layout> children;
};

/// Write behind what the message has already; less than zero when that has failed, and then the
/// message cannot be sent either. Text that is not UTF-8 is mended.
int appendVariant(sd_bus_message* message, const Value& value);
int append(sd_bus_message* message, const Properties& properties);
int append(sd_bus_message* message, const Layout& layout);
/// Signature (ia{sv}).
int append(sd_bus_message* message, int number, const Properties& properties);

constexpr int mostDepth = 8;
constexpr std::size_t mostLines = 1000; ///< of a whole menu
constexpr std::size_t mostBytes = 4000; ///< of a text

/// What stands next in the message; nothing when it is something else. Properties of kinds that no
/// menu of ours has are left out, and so is what is too deep, too many or too long.
std::optional<Layout> readLayout(sd_bus_message* message);
/// Signatures ai and as.
std::optional<std::vector<int>> readNumbers(sd_bus_message* message);
std::optional<std::vector<std::string>> readTexts(sd_bus_message* message);

} // namespace brindle::menuwire
