#include "BrindleRecorderApp/Recording/EncoderChoice.hpp"

#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Words/EncoderTexts.hpp"
#include "Support/FakeDateProvider.hpp"
#include "Support/FakeUserNotifications.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/MemoryDiagnosticLog.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/ScriptedVideoEncoders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Extent = EncoderSearch::Extent;

Task<void>
search(VideoEncoders& encoders, Extent extent, std::optional<EncoderSearch::Outcome>& outcome) {
    outcome = co_await EncoderSearch::run(encoders, extent);
}

/// What comes of a search where these work, and those that were tried for it.
struct Searched {
    std::vector<std::string> tried;
    std::string chosen;
    std::vector<std::string> lines;
};

Searched searchAmong(
    std::set<std::string> working, Extent extent = Extent::untilOneIsChosen,
    std::set<std::string> silent = {}) {
    test::ScriptedVideoEncoders encoders{std::move(working)};
    encoders.thatAreSilent = std::move(silent);
    std::optional<EncoderSearch::Outcome> outcome;
    startDetached(search(encoders, extent, outcome));
    encoders.answerAll();
    return {
        .tried = encoders.tried,
        .chosen = outcome.value().chosen ? std::string{outcome->chosen->name} : "none",
        .lines = EncoderTexts::lines(*outcome)};
}

TEST(EncoderSearch, TakesTheProcessorsOwnWhereItIsAndTouchesNothingElse) {
    const auto found = searchAmong({"libx264", "libopenh264", "h264_nvenc", "h264_vaapi"});
    EXPECT_EQ(found.chosen, "libx264");
    EXPECT_THAT(found.tried, ElementsAre("libx264"));
    EXPECT_THAT(found.lines, ElementsAre("encoder: libx264 (used)"));
}

TEST(EncoderSearch, TakesTheNextWhereItIsMissing) {
    const auto found = searchAmong({"libopenh264", "h264_nvenc"});
    EXPECT_EQ(found.chosen, "libopenh264");
    EXPECT_THAT(found.tried, ElementsAre("libx264", "libopenh264"));
    EXPECT_THAT(
        found.lines,
        ElementsAre(
            "encoder: libx264 does not work here: there is none", "encoder: libopenh264 (used)"));
}

TEST(EncoderSearch, TakesHardwareOnlyWhereNothingElseWorks) {
    const auto found = searchAmong({"h264_qsv", "h264_amf"});
    EXPECT_EQ(found.chosen, "h264_qsv");
    EXPECT_THAT(found.tried, ElementsAre("libx264", "libopenh264", "h264_nvenc", "h264_qsv"));
}

TEST(EncoderSearch, NeverTakesVaapiByItself) {
    const auto found = searchAmong({"h264_vaapi"});
    EXPECT_EQ(found.chosen, "none");
    EXPECT_THAT(found.tried, testing::Not(testing::Contains("h264_vaapi")));
    EXPECT_EQ(
        found.lines.back(), "encoder: none. No video encoder works on this system, so calls are "
                            "recorded without a picture.");
}

TEST(EncoderSearch, NamesWhatWorksAndIsNotTakenWhereThatIsAskedFor) {
    const auto found = searchAmong({"libx264", "h264_vaapi"}, Extent::withTheUnchosen);
    EXPECT_EQ(found.chosen, "libx264");
    EXPECT_THAT(
        found.lines,
        ElementsAre("encoder: libx264 (used)", "encoder: h264_vaapi (works, is not used)"));
}

TEST(EncoderSearch, TakesNothingWorseWhereTheProcessorsOwnGivesNoAnswer) {
    const auto found =
        searchAmong({"libopenh264", "h264_nvenc"}, Extent::untilOneIsChosen, {"libx264"});
    EXPECT_EQ(found.chosen, "none");
    EXPECT_THAT(found.tried, ElementsAre("libx264"));
    EXPECT_THAT(
        found.lines, ElementsAre(
                         "encoder: libx264 gave no answer: 10 s have passed",
                         "encoder: not decided; each recording takes what it finds"));
}

TEST(EncoderSearch, PassesOverHardwareThatGivesNoAnswer) {
    const auto found = searchAmong({"h264_qsv"}, Extent::untilOneIsChosen, {"h264_nvenc"});
    EXPECT_EQ(found.chosen, "h264_qsv");
}

TEST(EncoderSelection, OnlyWhatIsNoGraphicsHardwareComesFirst) {
    bool isHardware = false;
    for (const auto& candidate : EncoderSelection::candidates) {
        EXPECT_GE(candidate.usesGraphics, isHardware) << candidate.name;
        isHardware = candidate.usesGraphics;
    }
    EXPECT_TRUE(isHardware);
}

class EncoderChoiceTest : public testing::Test {
  protected:
    void choose(VideoEncoders* encoders) {
        choice = std::make_unique<EncoderChoice>(
            encoders, loop, EventLog{diagnostics.log(), systemLog, clock}, notifier);
        choice->choose();
        loop.advance(std::chrono::nanoseconds{0});
    }

    test::FakeDateProvider clock;
    test::ManualMainLoop loop{clock};
    test::FakeUserNotifications notifications;
    test::MemoryDiagnosticLog diagnostics;
    test::RecordingSystemLog systemLog;
    Notifier notifier{notifications};
    std::unique_ptr<EncoderChoice> choice;
};

TEST_F(EncoderChoiceTest, IsUsedAndNamedInTheLog) {
    test::ScriptedVideoEncoders encoders{{"libopenh264"}};
    choose(&encoders);
    EXPECT_TRUE(choice->canRecordPictures());
    EXPECT_THAT(encoders.used, IsEmpty());
    encoders.answerAll();
    EXPECT_TRUE(choice->canRecordPictures());
    EXPECT_THAT(encoders.used, ElementsAre("libopenh264"));
    EXPECT_THAT(
        diagnostics.messages(),
        ElementsAre(
            "encoder: libx264 does not work here: there is none", "encoder: libopenh264 (used)"));
    EXPECT_THAT(notifications.posted, IsEmpty());
}

TEST_F(EncoderChoiceTest, TellsTheUserOnceWhereThereIsNone) {
    test::ScriptedVideoEncoders encoders{{}};
    choose(&encoders);
    encoders.answerAll();
    EXPECT_FALSE(choice->canRecordPictures());
    EXPECT_THAT(encoders.used, IsEmpty());
    ASSERT_EQ(notifications.posted.size(), 1U);
    EXPECT_EQ(
        notifications.posted.front().body,
        "No video encoder works on this system, so calls are recorded without a picture.");
}

TEST_F(EncoderChoiceTest, RecordsPicturesWhereNothingIsKnown) {
    test::ScriptedVideoEncoders encoders{{}};
    encoders.thatAreSilent = {"libx264"};
    choose(&encoders);
    encoders.answerAll();
    EXPECT_TRUE(choice->canRecordPictures());
    EXPECT_THAT(encoders.used, IsEmpty());
    EXPECT_THAT(notifications.posted, IsEmpty());
}

TEST_F(EncoderChoiceTest, HasNothingToChooseWhereTheDesktopHasOneEncoder) {
    choose(nullptr);
    EXPECT_TRUE(choice->canRecordPictures());
    EXPECT_THAT(diagnostics.messages(), IsEmpty());
}

TEST_F(EncoderChoiceTest, MayGoBeforeTheAnswerComes) {
    test::ScriptedVideoEncoders encoders{{"libx264"}};
    choose(&encoders);
    EXPECT_THAT(encoders.tried, ElementsAre("libx264"));
    choice.reset();
    encoders.answerAll();
    EXPECT_THAT(encoders.used, IsEmpty());
    EXPECT_THAT(diagnostics.messages(), IsEmpty());
}

} // namespace
} // namespace brindle
