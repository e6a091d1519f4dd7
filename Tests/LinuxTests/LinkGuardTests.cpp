#include "BrindleRecorderLinux/Capture/Streams/LinkGuard.hpp"

#include <gtest/gtest.h>

namespace brindle::pipewire {
namespace {

class LinkGuardTest : public testing::Test {
  protected:
    LinkGuardTest() {
        guard_.addNode(1, {.serial = 11, .name = "microphone", .mediaClass = "Audio/Source"});
        guard_.addPort(2, 1, false);
        guard_.addNode(3, {.serial = 13, .name = "speakers", .mediaClass = "Audio/Sink"});
        guard_.addPort(4, 3, true);
        guard_.addNode(5, {.serial = 15, .name = "other", .mediaClass = "Audio/Source"});
        guard_.addPort(6, 5, false);
    }
    LinkGuard guard_;
};

TEST_F(LinkGuardTest, AcceptsTheChosenMicrophone) {
    EXPECT_TRUE(guard_.isGenuine(1, 2, 11));
}

TEST_F(LinkGuardTest, RefusesTheMonitorOfASpeakerWhoeverAsksForIt) {
    EXPECT_FALSE(guard_.isGenuine(3, 4, 11));
    EXPECT_FALSE(guard_.isGenuine(3, 4, 13));
}

TEST_F(LinkGuardTest, RefusesAnotherMicrophone) {
    EXPECT_FALSE(guard_.isGenuine(5, 6, 11));
}

TEST_F(LinkGuardTest, RefusesWhatItDoesNotKnow) {
    EXPECT_FALSE(guard_.isGenuine(1, 99, 11));
    EXPECT_FALSE(guard_.isGenuine(99, 2, 11));
    EXPECT_FALSE(guard_.isGenuine(1, 6, 11)) << "a port of another node";
}

TEST_F(LinkGuardTest, RefusesADeviceThatTookTheIdOfTheChosenOne) {
    guard_.remove(1);
    guard_.addNode(1, {.serial = 21, .name = "microphone", .mediaClass = "Audio/Source"});
    EXPECT_FALSE(guard_.isGenuine(1, 2, 11));
}

TEST_F(LinkGuardTest, RefusesTheMonitorOfACardThatAlsoPlays) {
    guard_.addNode(7, {.serial = 17, .name = "card", .mediaClass = "Audio/Duplex"});
    guard_.addPort(8, 7, true);
    guard_.addPort(9, 7, false);
    EXPECT_FALSE(guard_.isGenuine(7, 8, 17));
    EXPECT_TRUE(guard_.isGenuine(7, 9, 17));
}

TEST_F(LinkGuardTest, AcceptsTheOutputOfAVirtualMicrophone) {
    guard_.addNode(7, {.serial = 17, .name = "virtual", .mediaClass = "Audio/Source/Virtual"});
    guard_.addPort(8, 7, true);
    EXPECT_TRUE(guard_.isGenuine(7, 8, 17));
}

TEST_F(LinkGuardTest, RefusesWhatAProgramPlays) {
    guard_.addNode(7, {.serial = 17, .name = "player", .mediaClass = "Stream/Output/Audio"});
    guard_.addPort(8, 7, false);
    EXPECT_FALSE(guard_.isGenuine(7, 8, 17));
}

TEST_F(LinkGuardTest, FindsMicrophonesByName) {
    ASSERT_TRUE(guard_.nodeNamed("microphone", isMicrophoneClass));
    EXPECT_EQ(guard_.nodeNamed("microphone", isMicrophoneClass)->first, 1U);
    EXPECT_FALSE(guard_.nodeNamed("nobody", isMicrophoneClass));
    guard_.remove(1);
    EXPECT_FALSE(guard_.nodeNamed("microphone", isMicrophoneClass));
}

TEST_F(LinkGuardTest, FindsTheFirstOfTwoMicrophonesOfOneName) {
    // The id of an object that has gone is free for a younger one.
    guard_.addNode(0, {.serial = 21, .name = "microphone", .mediaClass = "Audio/Source"});
    ASSERT_TRUE(guard_.nodeNamed("microphone", isMicrophoneClass));
    EXPECT_EQ(guard_.nodeNamed("microphone", isMicrophoneClass)->second.serial, 11U);
}

TEST_F(LinkGuardTest, AStreamThatIsCalledLikeTheMicrophoneIsNotTakenForIt) {
    guard_.addNode(0, {.serial = 5, .name = "microphone", .mediaClass = "Stream/Output/Audio"});
    ASSERT_TRUE(guard_.nodeNamed("microphone", isMicrophoneClass));
    EXPECT_EQ(guard_.nodeNamed("microphone", isMicrophoneClass)->first, 1U);
    EXPECT_FALSE(guard_.nodeNamed("speakers", isMicrophoneClass));
    EXPECT_FALSE(guard_.nodeNamed("microphone", isCameraClass));
}

} // namespace
} // namespace brindle::pipewire
