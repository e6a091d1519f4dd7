// Functions of ours in the table of an object on a message bus: its methods and properties.
#pragma once

#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <type_traits>

/// Each is called by the bus on the main thread, with the object that the table was registered for.
namespace brindle::bustable {

namespace details {

template <class Class>
Class* ownerOf(void* self, int (Class::*)(sd_bus_message*)) {
    return static_cast<Class*>(self);
}
template <class Class>
const Class* ownerOf(void* self, int (Class::*)(sd_bus_message*) const) {
    return static_cast<const Class*>(self);
}

template <auto function>
int callWith(sd_bus_message* message, void* self) {
    if constexpr (std::is_member_function_pointer_v<decltype(function)>) {
        return std::invoke(function, ownerOf(self, function), message);
    } else {
        return function(message);
    }
}

} // namespace details

/// A method: `function` gets the call, answers it, and returns less than zero when it cannot.
template <auto function>
int handle(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    return details::callWith<function>(call, self);
}

/// A property: `function` appends its value to the answer, and returns less than zero when it
/// cannot.
template <auto function>
int say(
    sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
    sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
    return details::callWith<function>(answer, self);
}

/// A text as a template's argument, by its characters: where it is a pointer to a constant that a
/// file has for itself, GCC 14 calls the functions of two files alike, and the linker keeps one.
template <std::size_t size>
struct FixedText {
    consteval FixedText(const char (&text)[size]) { std::ranges::copy(text, characters.begin()); }
    std::array<char, size> characters{};
};

/// A property that is always that text.
template <FixedText text>
int sayText(
    sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
    sd_bus_message* answer, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_message_append(answer, "s", text.characters.data());
}

} // namespace brindle::bustable
