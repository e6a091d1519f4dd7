// Text as a message bus takes it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindle {

/// Pure functions; any thread.
struct BusText {
    /// The text with U+FFFD in place of every byte that is not valid UTF-8 there, and without what
    /// stands behind a zero: a bus ends the connection of whoever sends it such text.
    static std::string valid(std::string_view text);

    /// Valid text of at most so many characters, the last an ellipsis where something is left out.
    static std::string cut(std::string_view text, std::size_t mostCharacters);
};

} // namespace brindle
