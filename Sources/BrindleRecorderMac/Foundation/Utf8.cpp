#include "BrindleRecorderMac/Foundation/Utf8.hpp"

#include <algorithm>
#include <cstddef>

namespace brindle {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

unsigned byteAt(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

/// The bytes of the character that the text begins with; 0 where it begins with none.
std::size_t characterLength(std::string_view text) {
    const unsigned first = byteAt(text, 0);
    if (first < 0x80U) {
        return 1;
    }
    const std::size_t length = first >= 0xF5U   ? 0
                               : first >= 0xF0U ? 4
                               : first >= 0xE0U ? 3
                               : first >= 0xC2U ? 2
                                                : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    const auto continues = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
    };
    if (!std::all_of(
            text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), continues)) {
        return 0;
    }
    const unsigned second = byteAt(text, 1);
    const bool isTooLong = (first == 0xE0U && second < 0xA0U) || (first == 0xF0U && second < 0x90U);
    const bool isSurrogate = first == 0xEDU && second > 0x9FU;
    const bool isBeyondUnicode = first == 0xF4U && second > 0x8FU;
    return isTooLong || isSurrogate || isBeyondUnicode ? 0 : length;
}

} // namespace

std::string withReplacedInvalidUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        result += length == 0 ? replacement : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

} // namespace brindle
