#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/MessageSocket.hpp"
#include "BrindleRecorderLinux/CaptureLink/Silence.hpp"
#include "LinuxTests/MovieFixtures.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace brindle::capture {
namespace {

using testing::HasSubstr;
using What = MessageSocket::Received::What;

constexpr VideoOutputSettings video{
    .width = 1920,
    .height = 1080,
    .averageBitRate = 5'000'000,
    .expectedSourceFrameRate = 30,
    .maxKeyFrameInterval = 60,
    .firstPictureWithin = Seconds{2},
    .mostWaitingBytes = 64'000'000};
constexpr AudioOutputSettings audio{
    .numberOfChannels = 1, .sampleRate = 48'000, .bitRate = 96'000, .mostWaitingBytes = 16'000'000};

/// Any byte but zero, in no encoding.
std::string everyByte() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

PlatformError fullError() {
    return {
        .domain = "FFmpeg",
        .code = -1094995529,
        .description = "Invalid data found when processing input",
        .underlying = PlatformError::Underlying{.domain = "POSIX", .code = 28},
        .recordingSuccessfullyFinished = true,
        .userInfo = {{"stream", "0"}, {everyByte(), "any name"}}};
}

std::vector<Message> everyKind() {
    return {
        Hello{.version = "1.2.3", .isConfined = false},
        Beat{.recorded = Seconds{12.5}, .converted = 0.25},
        OpenDevices{
            .camera = everyByte(), .microphone = std::nullopt, .video = video, .audio = audio},
        OpenDevices{.camera = std::nullopt, .microphone = "", .video = video, .audio = audio},
        BeginMovie{.video = video, .audio = std::nullopt, .fragmentInterval = Seconds{5}},
        BeginMovie{
            .video = video,
            .audio = audio,
            .fragmentInterval = Seconds{5},
            .encoder = "libopenh264"},
        ReleaseCamera{},
        RetakeCamera{},
        FinishMovie{},
        Complete{.isAsWritten = true},
        Convert{},
        Measure{},
        TryEncoder{.encoder = "libx264", .video = video},
        Cancel{},
        Opened{.error = std::nullopt},
        Opened{.error = fullError()},
        CameraAgreed{.format = "YUY2", .width = 1920, .height = 1080, .frameRate = 29.97},
        CaptureFailed{.error = recordingError("the camera was disconnected")},
        MovieFinished{.error = systemError(28), .recorded = Seconds{3}, .isEmpty = false},
        MovieFinished{.error = std::nullopt, .recorded = Seconds{0}, .isEmpty = true},
        PicturesDropped{.count = 7},
        Completed{.why = std::nullopt},
        Completed{.why = "it is damaged"},
        Converted{.error = std::nullopt, .damagedBytes = 12'345'678'901},
        Measured{.duration = Seconds{30.03}},
        Measured{.duration = std::nullopt},
        EncoderTried{.error = std::nullopt},
        EncoderTried{.error = recordingError("there is no such encoder")}};
}

TEST(CaptureMessage, ComesBackAsItWasSaid) {
    for (const Message& message : everyKind()) {
        const auto read = decode(encode(message));
        ASSERT_TRUE(read) << read.error() << ": " << encode(message);
        EXPECT_EQ(*read, message) << encode(message);
    }
}

TEST(CaptureMessage, IsNeverTooLongToBeSent) {
    const std::string long1(1'000'000, '\1');
    PlatformError error{
        .domain = long1, .code = 1, .description = long1, .underlying = std::nullopt};
    error.underlying = PlatformError::Underlying{.domain = long1, .code = 2};
    for (int detail = 0; detail < 1000; ++detail) {
        error.userInfo[std::to_string(detail) + long1] = long1;
    }
    for (const Message& message : std::vector<Message>{
             MovieFinished{.error = error, .recorded = Seconds{1}},
             OpenDevices{.camera = long1, .microphone = long1, .video = video, .audio = audio},
             Hello{.version = long1}}) {
        EXPECT_LE(encode(message).size(), MessageSocket::longestMessage);
        EXPECT_TRUE(decode(encode(message)));
    }
}

TEST(CaptureMessage, RefusesWhatIsNoneInWords) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", "cannot be read"},
        {"{", "cannot be read"},
        {"[]", "cannot be read"},
        {"null", "cannot be read"},
        {"{}", "without a name"},
        {R"({"is": 3})", "without a name"},
        {R"({"is": "thanks"})", "unknown kind"},
        {R"({"is": "hello"})", "lacks a part"},
        {R"({"is": "hello", "protocol": 1.5, "version": "1", "confined": true})", "lacks a part"},
        {R"({"is": "hello", "protocol": 18446744073709551615, "version": "1", "confined": true})",
         "lacks a part"},
        {R"({"is": "beat", "recorded": -1, "converted": 0})", "lacks a part"},
        {R"({"is": "beat", "recorded": 1e999, "converted": 0})", ""},
        {R"({"is": "beat", "recorded": "1", "converted": 0})", "lacks a part"},
        {R"({"is": "begin", "video": {"width": -5}, "fragments": 5})", "lacks a part"},
        {R"({"is": "opened", "error": 7})", "lacks a part"},
        {R"({"is": "failed", "error": {"domain": "\u0141"}})", "lacks a part"},
        {std::string(MessageSocket::longestMessage, '['), "cannot be read"},
        {"{\"is\": \"beat\", \"recorded\": " + std::string(30'000, '[') + std::string(30'000, ']') +
             ", \"converted\": 0}",
         "lacks a part"}};
    for (const auto& [bytes, words] : cases) {
        const auto read = decode(bytes);
        ASSERT_FALSE(read) << bytes.substr(0, 100);
        EXPECT_THAT(read.error(), HasSubstr(words)) << bytes.substr(0, 100);
    }
}

TEST(CaptureMessage, SurvivesAnyDamage) {
    auto random = test::seededRandom();
    const auto messages = everyKind();
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes = encode(messages[random() % messages.size()]);
        for (auto changes = random() % 4 + 1; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        // Whatever it is taken for can be said again.
        if (const auto read = decode(bytes)) {
            const auto again = decode(encode(*read));
            ASSERT_TRUE(again) << bytes;
            EXPECT_EQ(*again, *read) << bytes;
        }
    }
}

class MessageSocketTest : public testing::Test {
  protected:
    MessageSocketTest() {
        auto pair = MessageSocket::makePair();
        ends = std::make_unique<std::pair<MessageSocket, MessageSocket>>(std::move(*pair));
    }
    std::unique_ptr<std::pair<MessageSocket, MessageSocket>> ends;
};

TEST_F(MessageSocketTest, BringsMessagesWholeAndInOrder) {
    const auto& [one, other] = *ends;
    EXPECT_EQ(other.receive().what, What::nothingYet);
    const std::string longest(MessageSocket::longestMessage, 'x');
    ASSERT_TRUE(one.send("first"));
    ASSERT_TRUE(one.send(longest));
    EXPECT_EQ(other.receive().bytes, "first");
    const auto second = other.receive();
    EXPECT_EQ(second.what, What::message);
    EXPECT_EQ(second.bytes, longest);
    EXPECT_EQ(other.receive().what, What::nothingYet);
}

TEST_F(MessageSocketTest, SendsNothingThatIsTooLongOrEmpty) {
    const auto& [one, other] = *ends;
    EXPECT_FALSE(one.send(std::string(MessageSocket::longestMessage + 1, 'x')));
    EXPECT_FALSE(one.send(""));
    EXPECT_EQ(other.receive().what, What::nothingYet);
}

TEST_F(MessageSocketTest, BringsOpenFiles) {
    const auto& [one, other] = *ends;
    std::array<int, 2> pipe{};
    ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    const FileDescriptor readEnd{pipe[0]};
    {
        const FileDescriptor writeEnd{pipe[1]};
        const std::array<int, 1> descriptors{writeEnd.number()};
        ASSERT_TRUE(one.send("a pipe", descriptors));
    }
    {
        const auto received = other.receive();
        ASSERT_EQ(received.descriptors.size(), 1U);
        EXPECT_EQ(fcntl(received.descriptors[0].number(), F_GETFD), FD_CLOEXEC);
        ASSERT_TRUE(received.descriptors[0].writeAll("through it"));
    }
    EXPECT_EQ(readEnd.readUpTo(100).value_or(""), "through it") << "nobody else holds it";
}

TEST_F(MessageSocketTest, TellsTheEndAfterTheLastMessage) {
    const auto& [one, other] = *ends;
    ASSERT_TRUE(one.send("last"));
    one.sendNoMore();
    EXPECT_EQ(other.receive().what, What::message);
    EXPECT_EQ(other.receive().what, What::end);
    ASSERT_TRUE(other.send("an answer all the same"));
    EXPECT_EQ(one.receive().what, What::message);
}

TEST_F(MessageSocketTest, DoesNotWaitForOneWhoDoesNotListen) {
    const auto& [one, other] = *ends;
    int sent = 0;
    while (one.send(std::string(1000, 'x'))) {
        ASSERT_LT(++sent, 100'000);
    }
    EXPECT_GT(sent, 10);
}

TEST(Silence, CountsTheTimeInWhichNothingWasHeard) {
    Silence silence;
    for (int step = 0; step < 6; ++step) {
        silence.passed(betweenBeats);
    }
    EXPECT_EQ(silence.length(), 6 * betweenBeats);
    silence.heard();
    EXPECT_EQ(silence.length(), std::chrono::nanoseconds{0});
}

TEST(Silence, TakesOneLongGapForAPauseOfEverybody) {
    Silence silence;
    silence.passed(std::chrono::hours{8});
    EXPECT_LE(silence.length(), std::chrono::seconds{1});
}

} // namespace
} // namespace brindle::capture
