#include "BrindleRecorderCore/Base/Language.hpp"

#include "BrindleRecorderCore/Base/ByteCount.hpp"
#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"
#include "Support/MarkedLanguage.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

namespace brindle {
namespace {

/// What a translator has written, by the English text or by context and text.
class WrittenLanguage final : public Language {
  public:
    explicit WrittenLanguage(std::map<std::string, std::string> texts) : texts_{std::move(texts)} {}

  protected:
    [[nodiscard]] std::string translated(const char* context, const char* english) const override {
        const auto found = texts_.find(std::string{context} + english);
        return found == texts_.end() ? english : found->second;
    }
    [[nodiscard]] std::string
    translated(const char* one, const char* several, std::uint64_t count) const override {
        return translated("", count < 2 ? one : several);
    }

  private:
    std::map<std::string, std::string> texts_;
};

TEST(Language, EnglishIsWhatStandsInTheSources) {
    const auto& english = Language::english();
    EXPECT_EQ(english.say("Stop recording"), "Stop recording");
    EXPECT_EQ(english.sayOf("camera", "none"), "none");
    EXPECT_EQ(english.say("{a} and {b}", fmt::arg("a", 1), fmt::arg("b", "two")), "1 and two");
    EXPECT_EQ(english.sayCount("{count} byte", "{count} bytes", 1), "1 byte");
    EXPECT_EQ(english.sayCount("{count} byte", "{count} bytes", 0), "0 bytes");
}

TEST(Language, TheUserReadsEnglishUntilTheProgramSaysOtherwise) {
    EXPECT_EQ(say("Stop recording"), "Stop recording");
    {
        const test::MarkedLanguage language;
        EXPECT_EQ(say("Stop recording"), "⟦Stop recording⟧");
        EXPECT_EQ(sayOf("camera", "none"), "⟦none⟧");
        EXPECT_EQ(Language::english().say("Stop recording"), "Stop recording");
    }
    EXPECT_EQ(say("Stop recording"), "Stop recording");
}

TEST(Language, ATranslationPutsWhatIsInsertedWhereItWants) {
    const WrittenLanguage language{{{"{a} before {b}", "{b} nach {a}, {a}"}}};
    EXPECT_EQ(
        language.say("{a} before {b}", fmt::arg("a", "A"), fmt::arg("b", "B")), "B nach A, A");
}

TEST(Language, WhatIsInsertedIsNeverReadAsASentence) {
    EXPECT_EQ(say("{a}", fmt::arg("a", "{b} {} }{")), "{b} {} }{");
}

TEST(Language, ATranslationThatInsertsWhatIsNotThereGivesWayToEnglish) {
    for (const char* wrong : {"{b}", "{", "{1}", "{a:d}"}) {
        const WrittenLanguage language{{{"for {a}", wrong}}};
        EXPECT_EQ(language.say("for {a}", fmt::arg("a", "A")), "for A") << wrong;
    }
}

TEST(Language, OneWordMayBeTwoElsewhere) {
    const WrittenLanguage language{{{"cameranone", "keine"}, {"microphonenone", "keins"}}};
    EXPECT_EQ(language.sayOf("camera", "none"), "keine");
    EXPECT_EQ(language.sayOf("microphone", "none"), "keins");
    EXPECT_EQ(language.say("none"), "none");
}

TEST(Language, DecidesByItselfWhichNumbersAreSeveral) {
    const WrittenLanguage french{
        {{"{count} byte", "{count} octet"}, {"{count} bytes", "{count} octets"}}};
    EXPECT_EQ(ByteCount::format(0, french), "0 octet");
    EXPECT_EQ(ByteCount::format(1, french), "1 octet");
    EXPECT_EQ(ByteCount::format(2, french), "2 octets");
}

TEST(Language, SizesHaveItsUnitsAndItsDecimalSign) {
    const WrittenLanguage french{
        {{"{number} GB", "{number} Go"}, {"between a number and its decimals.", ","}}};
    EXPECT_EQ(ByteCount::format(1'234'567'890, french), "1,23 Go");
    EXPECT_EQ(ByteCount::format(2'000'000'000, french), "2 Go");
}

TEST(Language, TheUserIsToldOfFreeSpaceInIt) {
    const test::MarkedLanguage language;
    EXPECT_EQ(
        DiskSpaceVerdict::warn(1'234'000'000).message(),
        "⟦Only 1⟦.⟧2 GB free — recording anyway.⟧");
}

} // namespace
} // namespace brindle
