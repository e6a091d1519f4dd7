#include "BrindleRecorderApp/Calls/SoundServerNotice.hpp"

#include "Support/FakeUserNotifications.hpp"
#include "Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace brindle {
namespace {

using namespace std::chrono_literals;

class SoundServerNoticeTest : public testing::Test {
  protected:
    test::ManualMainLoop loop_;
    test::FakeUserNotifications notifications_;
    SoundServerNotice notice_{loop_, notifications_};
};

TEST_F(SoundServerNoticeTest, TellsThatCallsCannotBeNoticed) {
    notice_.soundGoesElsewhere(true);
    loop_.advance(SoundServerNotice::patience - 1ms);
    EXPECT_TRUE(notifications_.posted.empty());
    loop_.advance(1ms);
    ASSERT_EQ(notifications_.posted.size(), 1U);
    EXPECT_EQ(notifications_.posted.front().title, "Brindle Recorder");
    EXPECT_EQ(
        notifications_.posted.front().body,
        "Sound on this desktop does not go through PipeWire, so calls cannot be noticed.");
}

TEST_F(SoundServerNoticeTest, TellsItOnce) {
    for (const bool elsewhere : {true, true, false, true}) {
        notice_.soundGoesElsewhere(elsewhere);
        loop_.advance(1min);
    }
    EXPECT_EQ(notifications_.posted.size(), 1U);
}

TEST_F(SoundServerNoticeTest, SaysNothingWhenSoundIsElsewhereForAMomentOnly) {
    notice_.soundGoesElsewhere(true);
    loop_.advance(9s);
    notice_.soundGoesElsewhere(false);
    loop_.advance(1h);
    EXPECT_TRUE(notifications_.posted.empty());
}

TEST_F(SoundServerNoticeTest, MayGoWhileItWaits) {
    {
        SoundServerNotice other{loop_, notifications_};
        other.soundGoesElsewhere(true);
    }
    loop_.advance(1h);
    EXPECT_TRUE(notifications_.posted.empty());
}

} // namespace
} // namespace brindle
