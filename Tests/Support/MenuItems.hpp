// The items of which tests make menus: each with the name that is reported when it is chosen, and
// the words that the user reads.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

inline MenuItem text(const char* id, const char* words) {
    return {id, MenuItem::Text{words}};
}

inline MenuItem button(const char* id, const char* words) {
    return {id, MenuItem::Button{words, std::nullopt}};
}

inline MenuItem toggle(const char* id, const char* words, bool isOn) {
    return {id, MenuItem::Toggle{words, isOn}};
}

inline MenuItem divider(const char* id) {
    return {id, MenuItem::Divider{}};
}

inline MenuItem submenu(const char* id, const char* words, std::vector<MenuItem> items) {
    return {id, MenuItem::Submenu{words, std::move(items)}};
}

} // namespace brindle::test
