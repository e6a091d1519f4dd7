#include "BrindleRecorderApp/Shell/MenuBarIconAnimator.hpp"

#include "Support/FakeDateProvider.hpp"
#include "Support/FakeWorkspace.hpp"
#include "Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace brindle {
namespace {

using std::chrono::milliseconds;

class MenuBarIconAnimatorTest : public testing::Test {
  protected:
    MenuBarIconAnimatorTest() { make(); }

    void make() { animator_.emplace(loop_, clock_, workspace_); }
    /// How often the time is published while the loop runs for so long.
    int ticksDuring(std::chrono::nanoseconds duration) {
        int ticks = 0;
        const auto observation = animator_->time().observe([&](double) { ++ticks; });
        loop_.advance(duration);
        return ticks;
    }

    test::FakeDateProvider clock_;
    test::ManualMainLoop loop_{clock_};
    test::FakeWorkspace workspace_;
    std::optional<MenuBarIconAnimator> animator_;
};

TEST_F(MenuBarIconAnimatorTest, HasNoTimerUntilAnimationIsWanted) {
    EXPECT_FALSE(animator_->wantsAnimation());
    animator_->update();
    EXPECT_EQ(loop_.pendingTimers(), 0U);
}

TEST_F(MenuBarIconAnimatorTest, TicksTwelveTimesASecond) {
    animator_->setWantsAnimation(true);
    EXPECT_EQ(ticksDuring(milliseconds{83}), 0);
    EXPECT_EQ(ticksDuring(milliseconds{1}), 1);
    EXPECT_EQ(ticksDuring(std::chrono::seconds{1}), 12);
}

TEST_F(MenuBarIconAnimatorTest, EachTickReadsTheClock) {
    clock_.set(dateFromUnixSeconds(1'000'000));
    animator_->setWantsAnimation(true);
    loop_.advance(std::chrono::seconds{1});
    EXPECT_NEAR(animator_->time().get(), 1'000'001, 1.0 / 12);
    EXPECT_GT(animator_->time().get(), 1'000'000);
}

TEST_F(MenuBarIconAnimatorTest, WantingAnimationAgainAddsNoSecondTimer) {
    animator_->setWantsAnimation(true);
    loop_.advance(milliseconds{50});
    animator_->setWantsAnimation(true);
    animator_->update();
    EXPECT_EQ(loop_.pendingTimers(), 1U);
    EXPECT_EQ(ticksDuring(milliseconds{34}), 1) << "the running timer was not put back";
}

TEST_F(MenuBarIconAnimatorTest, StopsWhenAnimationIsNotWantedAnyMore) {
    animator_->setWantsAnimation(true);
    loop_.advance(std::chrono::seconds{1});
    animator_->setWantsAnimation(false);
    EXPECT_EQ(loop_.pendingTimers(), 0U);
    EXPECT_EQ(ticksDuring(std::chrono::seconds{1}), 0);
}

TEST_F(MenuBarIconAnimatorTest, ReducedMotionFromTheStartMeansNoTimer) {
    workspace_.setReducesMotion(true);
    make();
    EXPECT_TRUE(animator_->reduceMotion().get());
    animator_->setWantsAnimation(true);
    EXPECT_EQ(loop_.pendingTimers(), 0U);
}

TEST_F(MenuBarIconAnimatorTest, SwitchingReducedMotionOnStopsTheTimerAtOnce) {
    animator_->setWantsAnimation(true);
    workspace_.setReducesMotion(true);
    EXPECT_TRUE(animator_->reduceMotion().get());
    EXPECT_EQ(loop_.pendingTimers(), 0U);
}

TEST_F(MenuBarIconAnimatorTest, SwitchingReducedMotionOffStartsTheTimerWhereItIsWanted) {
    workspace_.setReducesMotion(true);
    workspace_.setReducesMotion(false);
    EXPECT_EQ(loop_.pendingTimers(), 0U);
    workspace_.setReducesMotion(true);
    animator_->setWantsAnimation(true);
    workspace_.setReducesMotion(false);
    EXPECT_EQ(loop_.pendingTimers(), 1U);
}

TEST_F(MenuBarIconAnimatorTest, MayBeStoppedByWhoeverHearsATick) {
    animator_->setWantsAnimation(true);
    const auto observation =
        animator_->time().observe([&](double) { animator_->setWantsAnimation(false); });
    loop_.advance(std::chrono::seconds{1});
    EXPECT_EQ(loop_.pendingTimers(), 0U);
}

TEST_F(MenuBarIconAnimatorTest, LeavesNothingBehind) {
    animator_->setWantsAnimation(true);
    EXPECT_EQ(workspace_.motionListeners(), 1U);
    animator_.reset();
    EXPECT_EQ(workspace_.motionListeners(), 0U);
    EXPECT_EQ(loop_.pendingTimers(), 0U);
}

} // namespace
} // namespace brindle
