// Texts of other programs, whose bytes may be anything.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// The text with U+FFFD in place of every byte that belongs to no character of UTF-8.
std::string withReplacedInvalidUtf8(std::string_view text);

} // namespace brindle
