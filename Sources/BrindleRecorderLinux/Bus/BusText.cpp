#include "BrindleRecorderLinux/Bus/BusText.hpp"

#include <cstdint>

namespace brindle {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

std::uint8_t byteAt(std::string_view text, std::size_t place) {
    return place < text.size() ? static_cast<std::uint8_t>(text[place]) : std::uint8_t{0};
}

/// How many bytes the character takes that begins there; 0 when none does (RFC 3629, "Syntax of
/// UTF-8 Byte Sequences").
std::size_t lengthOfCharacter(std::string_view text, std::size_t place) {
    const auto first = byteAt(text, place);
    if (first < 0x80) {
        return 1;
    }
    // The second byte's range keeps out longer forms than needed, surrogates, and what lies beyond
    // the last character.
    std::uint8_t lowest = 0x80;
    std::uint8_t highest = 0xBF;
    std::size_t length = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        lowest = first == 0xE0 ? 0xA0 : lowest;
        highest = first == 0xED ? 0x9F : highest;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        lowest = first == 0xF0 ? 0x90 : lowest;
        highest = first == 0xF4 ? 0x8F : highest;
    } else {
        return 0;
    }
    const auto second = byteAt(text, place + 1);
    if (second < lowest || second > highest) {
        return 0;
    }
    for (std::size_t further = 2; further < length; ++further) {
        const auto byte = byteAt(text, place + further);
        if (byte < 0x80 || byte > 0xBF) {
            return 0;
        }
    }
    return length;
}

} // namespace

std::string BusText::valid(std::string_view text) {
    return cut(text, std::string_view::npos);
}

std::string BusText::cut(std::string_view text, std::size_t mostCharacters) {
    text = text.substr(0, text.find('\0'));
    std::string result;
    std::size_t beforeLast = 0; // where the last character begins
    std::size_t characters = 0;
    for (std::size_t place = 0; place < text.size();) {
        if (characters == mostCharacters) {
            result.resize(beforeLast);
            return characters > 0 ? result.append(ellipsis) : result;
        }
        beforeLast = result.size();
        ++characters;
        if (const auto length = lengthOfCharacter(text, place); length > 0) {
            result.append(text, place, length);
            place += length;
        } else {
            result.append(replacement);
            ++place;
        }
    }
    return result;
}

} // namespace brindle
