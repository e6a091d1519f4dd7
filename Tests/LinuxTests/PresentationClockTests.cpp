#include "BrindleRecorderLinux/Capture/Media/PresentationClock.hpp"

#include <gtest/gtest.h>

namespace brindle::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(PresentationClock, TakesTheCamerasStampWhenItIsOnTheSameClock) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(seconds{100}, seconds{100} + milliseconds{30}), seconds{100});
}

TEST(PresentationClock, TakesTheArrivalWhenTheCameraSaysNothing) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(std::nullopt, seconds{100}), seconds{100});
    EXPECT_EQ(clock.timeOf(std::chrono::nanoseconds{-1}, seconds{100}), seconds{100});
}

TEST(PresentationClock, TakesTheArrivalWhenTheStampIsOnAnotherClock) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(seconds{3}, seconds{100}), seconds{100});
    EXPECT_EQ(clock.timeOf(seconds{5000}, seconds{100}), seconds{100});
}

TEST(PresentationClock, BelievesOldStampsOfACameraThatWasFrozen) {
    PresentationClock clock;
    ASSERT_EQ(clock.timeOf(seconds{100}, seconds{100}), seconds{100});
    EXPECT_EQ(clock.timeOf(seconds{101}, seconds{108}), seconds{101});
}

} // namespace
} // namespace brindle::media
