#include "BrindleRecorderLinux/Bus/BusText.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace brindle {
namespace {

using namespace std::string_view_literals;

TEST(BusText, TextStaysAsItIs) {
    for (const auto text : {""sv, "Zoom"sv, "Ä – 你好 – 🎥"sv, "\xF4\x8F\xBF\xBF"sv}) {
        EXPECT_EQ(BusText::valid(text), text);
    }
}

TEST(BusText, WhatIsNoCharacterIsReplacedByteByByte) {
    const struct {
        std::string_view text;
        std::string_view valid;
    } rows[] = {
        {"a\xFF"
         "b",
         "a\uFFFDb"},
        {"\xC3", "\uFFFD"},
        {"\xE2\x80", "\uFFFD\uFFFD"},
        {"\xC0\xAF", "\uFFFD\uFFFD"},                     // longer than needed
        {"\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},           // the same
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},           // half of a surrogate pair
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last character
        {"\xC3"
         "A",
         "\uFFFDA"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(BusText::valid(row.text), row.valid);
    }
}

TEST(BusText, AZeroEndsIt) {
    EXPECT_EQ(BusText::valid("a\0b"sv), "a");
}

TEST(BusText, CutsAtCharactersAndSaysSo) {
    EXPECT_EQ(BusText::cut("äöü", 3), "äöü");
    EXPECT_EQ(BusText::cut("äöüß", 3), "äö…");
    EXPECT_EQ(BusText::cut("äö", 1), "…");
    EXPECT_EQ(BusText::cut("äö", 0), "");
    EXPECT_EQ(BusText::cut("", 0), "");
}

} // namespace
} // namespace brindle
