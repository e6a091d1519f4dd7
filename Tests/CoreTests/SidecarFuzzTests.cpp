// Sidecars as a broken disk or a stranger might leave them. Every run is another one; the seed
// that it prints repeats it.
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include "Support/ExampleSidecar.hpp"
#include "Support/NamedTimeZone.hpp"
#include "Support/RandomSource.hpp"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindle {
namespace {

using test::exampleSidecar;

class SidecarFuzz : public testing::Test {
  protected:
    char anyByte() { return static_cast<char>(random_.below(256)); }

    const std::uint64_t seed_ = test::freshSeed();
    test::RandomSource random_{seed_};
    const testing::ScopedTrace trace_{
        __FILE__, __LINE__, "replay with BRINDLE_SEED=" + std::to_string(seed_)};
};

std::vector<std::string> validDocuments() {
    Sidecar running = exampleSidecar();
    running.endedAt.reset();
    running.notes.clear();
    running.source.reset();
    running.callName.reset();
    Sidecar odd = exampleSidecar();
    odd.notes = {"\"\\\n\x01", "日本語 · 🎥", ""};
    odd.source->site = "meet.example.org";
    std::vector<std::string> documents;
    for (const Sidecar& sidecar : {exampleSidecar(), running, odd}) {
        for (const char* zone : {"UTC", "Asia/Kathmandu"}) {
            documents.push_back(SidecarCoding::encode(sidecar, test::timeZoneNamed(zone)));
        }
    }
    return documents;
}

// What a blind change of bytes would take too long to find.
const std::vector<std::string> tokens{
    "{",
    "}",
    "[",
    "]",
    ",",
    ":",
    "\"",
    "null",
    "true",
    "false",
    "0",
    "-1e308",
    "1e999",
    "\"\"",
    "\\u0000",
    "\\ud800",
    "\\ud83c\\udfa5",
    "\xEF\xBB\xBF",
    "\xFF",
    "\xF0\x9F\x8E\xA5",
    "[[[[[[[[[[[[",
    "\"kind\" : \"other\",",
    "\"notes\" : [],",
    "\"endedAt\" : null,",
    "\"source\" : {},",
    "1900-01-01T00:00:00Z",
    "0001-01-01T00:00:00Z",
    "9999-12-31T23:59:59-23:59"};

TEST_F(SidecarFuzz, WhateverIsReadWritesAndReadsBackEqual) {
    const std::vector<std::string> documents = validDocuments();
    const std::vector<std::string> zones{
        "UTC", "Asia/Kathmandu", "America/St_Johns", "Europe/Amsterdam", "Pacific/Kiritimati"};
    int readable = 0;
    constexpr int rounds = 5'000;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        std::string text = random_.oneOf(documents);
        for (std::size_t changes = 1 + random_.below(4); changes > 0; --changes) {
            const std::size_t at = random_.below(text.size() + 1);
            const std::size_t length =
                random_.below(std::min<std::size_t>(text.size() - at, 40) + 1);
            switch (random_.below(7)) {
            case 0:
                text.insert(at, 1, anyByte());
                break;
            case 1:
                text.insert(at, random_.oneOf(tokens));
                break;
            case 2:
                text.erase(at, length);
                break;
            case 3:
                text.insert(at, text.substr(at, length));
                break;
            case 4:
                text.replace(at, length, random_.oneOf(documents).substr(0, random_.below(60)));
                break;
            case 5:
                if (at < text.size()) {
                    text[at] = static_cast<char>('0' + random_.below(10));
                }
                break;
            default:
                if (at < text.size()) {
                    text[at] = static_cast<char>(text[at] ^ (1 << random_.below(8)));
                }
            }
        }
        SCOPED_TRACE(text);
        const auto read = SidecarCoding::decode(text);
        if (!read) {
            EXPECT_FALSE(read.error().message.empty());
            continue;
        }
        ++readable;
        const auto again = SidecarCoding::decode(
            SidecarCoding::encode(*read, test::timeZoneNamed(random_.oneOf(zones))));
        ASSERT_TRUE(again) << again.error().message;
        EXPECT_TRUE(*again == *read);
    }
    // Otherwise the changes are too rough to say anything about reading.
    EXPECT_GT(readable, rounds / 100);
    EXPECT_LT(readable, rounds);
}

TEST_F(SidecarFuzz, WhateverIsWrittenCanBeRead) {
    const auto anyText = [&] {
        std::string text;
        for (std::size_t length = random_.below(30); length > 0; --length) {
            text += random_.below(3) == 0 ? random_.oneOf(tokens) : std::string(1, anyByte());
        }
        return text;
    };
    for (int round = 0; round < 2'000; ++round) {
        SCOPED_TRACE(round);
        Sidecar sidecar = exampleSidecar();
        sidecar.roomCode = anyText();
        sidecar.videoDevice = anyText();
        sidecar.audioDevice = anyText();
        sidecar.notes.assign(random_.below(4), anyText());
        sidecar.source->app = anyText();
        sidecar.source->bundleID = anyText();
        sidecar.source->site = anyText();
        sidecar.callName = anyText();
        const std::string text = SidecarCoding::encode(sidecar, TimeZone::utc());
        const auto read = SidecarCoding::decode(text);
        ASSERT_TRUE(read) << read.error().message << '\n' << text;
        EXPECT_EQ(read->notes.size(), sidecar.notes.size());
        EXPECT_EQ(SidecarCoding::encode(*read, TimeZone::utc()), text);
    }
}

} // namespace
} // namespace brindle
