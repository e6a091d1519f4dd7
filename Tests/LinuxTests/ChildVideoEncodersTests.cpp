#include "BrindleRecorderLinux/CaptureChild/ChildVideoEncoders.hpp"

#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

namespace brindle {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* works = "works";
constexpr const char* noAnswer = "no answer: ";

/// The capture program, asked as at launch. What this machine's FFmpeg has not is named by names
/// that it does not know.
class ChildVideoEncodersTest : public testing::Test {
  protected:
    /// "works", or why not, after "no answer: " where nothing is known.
    std::string trialOf(
        std::string_view encoder, bool usesGraphics = false,
        const char* program = BRINDLE_CAPTURE_PROGRAM) {
        capture::CaptureChildren children{loop, program};
        ChildVideoEncoders encoders{loop, children};
        std::optional<std::string> answer;
        encoders.tryOut(
            {.name = encoder, .usesGraphics = usesGraphics}, CaptureConfiguration::videoSettings,
            [&answer](const std::optional<EncoderRefusal>& refusal) {
                answer = refusal ? (refusal->isCertain ? "" : noAnswer) + refusal->why : works;
            });
        EXPECT_FALSE(answer);
        EXPECT_TRUE(waitUntil(loop, [&answer] { return answer.has_value(); }));
        return answer.value_or("none came");
    }

    EventLoop loop;
};

TEST_F(ChildVideoEncodersTest, OneThatIsThereMakesAPicture) {
    EXPECT_EQ(trialOf("libx264"), works);
}

TEST_F(ChildVideoEncodersTest, OneThatIsMissingSaysSo) {
    EXPECT_EQ(
        trialOf("libnosuchencoder"), "this system's FFmpeg has no H.264 encoder libnosuchencoder");
}

TEST_F(ChildVideoEncodersTest, OneOfSomethingElseIsNone) {
    EXPECT_THAT(trialOf("aac"), HasSubstr("no H.264 encoder aac"));
}

TEST_F(ChildVideoEncodersTest, OneWithoutItsHardwareSaysWhatIsMissing) {
    if (access("/dev/dri", F_OK) == 0) {
        GTEST_SKIP() << "this machine has graphics hardware";
    }
    const auto answer = trialOf("h264_vaapi", true);
    EXPECT_NE(answer, works);
    EXPECT_THAT(answer, testing::Not(testing::IsEmpty()));
}

TEST_F(ChildVideoEncodersTest, AProgramThatCrashesCostsTheTrialAlone) {
    const test::EnvironmentVariable oddity{"BRINDLE_ODDITY", "crashes"};
    EXPECT_THAT(
        trialOf("libx264", false, BRINDLE_ODD_CAPTURE_PROGRAM),
        StartsWith("no answer: the capture program stopped unexpectedly"));
}

TEST_F(ChildVideoEncodersTest, AProgramThatIsMissingIsNoEncoder) {
    EXPECT_THAT(
        trialOf("libx264", false, "/nonexistent/brindle-recorder-capture"),
        AllOf(StartsWith(noAnswer), HasSubstr("is missing")));
}

TEST_F(ChildVideoEncodersTest, MayGoBeforeTheAnswerComes) {
    bool isAnswered = false;
    capture::CaptureChildren children{loop, BRINDLE_CAPTURE_PROGRAM};
    {
        ChildVideoEncoders encoders{loop, children};
        encoders.tryOut(
            {.name = "libx264"}, CaptureConfiguration::videoSettings,
            [&isAnswered](const std::optional<EncoderRefusal>&) { isAnswered = true; });
    }
    bool hasPassed = false;
    loop.post([&hasPassed] { hasPassed = true; });
    EXPECT_TRUE(waitUntil(loop, [&hasPassed] { return hasPassed; }));
    EXPECT_FALSE(isAnswered);
}

TEST_F(ChildVideoEncodersTest, WhatIsUsedIsNamedToRecordings) {
    capture::CaptureChildren children{loop, BRINDLE_CAPTURE_PROGRAM};
    ChildVideoEncoders encoders{loop, children};
    EXPECT_EQ(children.encoder(), std::nullopt);
    encoders.use({.name = "libopenh264"});
    EXPECT_EQ(children.encoder(), "libopenh264");
}

} // namespace
} // namespace brindle
