#include "BrindleRecorderLinux/Capture/Media/PresentationClock.hpp"

#include <gtest/gtest.h>

namespace brindle::media {
namespace {

using namespace std::chrono_literals;

constexpr Moment at(std::chrono::seconds time) {
    return Moment{time};
}

TEST(PresentationClock, TakesTheCamerasStampWhenItIsOnTheSameClock) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(at(100s), at(100s) + 30ms), at(100s));
}

TEST(PresentationClock, TakesTheArrivalWhenTheCameraSaysNothing) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(std::nullopt, at(100s)), at(100s));
    EXPECT_EQ(clock.timeOf(at(-1s), at(100s)), at(100s));
}

TEST(PresentationClock, TakesTheArrivalWhenTheStampIsOnAnotherClock) {
    PresentationClock clock;
    EXPECT_EQ(clock.timeOf(at(3s), at(100s)), at(100s));
    EXPECT_EQ(clock.timeOf(at(5000s), at(100s)), at(100s));
}

TEST(PresentationClock, BelievesOldStampsOfACameraThatWasFrozen) {
    PresentationClock clock;
    ASSERT_EQ(clock.timeOf(at(100s), at(100s)), at(100s));
    EXPECT_EQ(clock.timeOf(at(101s), at(108s)), at(101s));
}

} // namespace
} // namespace brindle::media
