#include "BrindleRecorderCore/Recordings/StallDetector.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace brindle {
namespace {

using namespace std::chrono_literals;

const Date start = dateFromUnixSeconds(1'741'944'612);
constexpr Seconds limit{10.0};
constexpr Seconds notANumber{std::numeric_limits<double>::quiet_NaN()};
constexpr Seconds endless{std::numeric_limits<double>::infinity()};

TEST(StallDetector, BeginsWithNothingRecordedAtTheStart) {
    const StallDetector detector{start, limit};
    EXPECT_EQ(detector.stallAfter, limit);
    EXPECT_EQ(detector.lastProgressAt, start);
    EXPECT_EQ(detector.lastDuration, Seconds{0});
    EXPECT_EQ(detector.lastFileSize, 0);
    EXPECT_EQ(detector, (StallDetector{start, limit}));
    EXPECT_NE(detector, (StallDetector{start + 1ns, limit}));
}

TEST(StallDetector, StallsExactlyAtTheLimit) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{0}, 0, start + 9'990ms));
    EXPECT_FALSE(detector.observe(Seconds{0}, 0, start + 9'999'999'999ns));
    EXPECT_TRUE(detector.observe(Seconds{0}, 0, start + 10s));
    EXPECT_TRUE(detector.observe(Seconds{0}, 0, start + 1h));
}

TEST(StallDetector, CountsTheLimitFromTheLastProgress) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{3}, 100, start + 7s));
    EXPECT_FALSE(detector.observe(Seconds{3}, 100, start + 16'990ms));
    EXPECT_TRUE(detector.observe(Seconds{3}, 100, start + 17s));
}

TEST(StallDetector, ReportsAStallForANaNDurationWithoutAFileSize) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(notANumber, std::nullopt, start + 9'990ms));
    EXPECT_TRUE(detector.observe(notANumber, std::nullopt, start + 10s));
}

TEST(StallDetector, TakesAnInfiniteDurationForNone) {
    for (const Seconds duration : {endless, -endless}) {
        StallDetector detector{start, limit};
        EXPECT_TRUE(detector.observe(duration, std::nullopt, start + 10s));
        EXPECT_EQ(detector, (StallDetector{start, limit}));
    }
}

TEST(StallDetector, TakesAGrowingFileForProgressWhenTheDurationIsFrozen) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{5}, 1'000, start + 10s));
    EXPECT_FALSE(detector.observe(Seconds{5}, 1'001, start + 20s));
    EXPECT_FALSE(detector.observe(notANumber, 1'002, start + 30s));
    EXPECT_EQ(detector.lastDuration, Seconds{5});
    EXPECT_EQ(detector.lastFileSize, 1'002);
    EXPECT_TRUE(detector.observe(Seconds{5}, 1'002, start + 40s));
}

TEST(StallDetector, TakesAGrowingDurationForProgressWithoutAFileSize) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{5}, std::nullopt, start + 10s));
    EXPECT_FALSE(detector.observe(Seconds{5.001}, std::nullopt, start + 20s));
    EXPECT_EQ(detector.lastFileSize, 0);
    EXPECT_TRUE(detector.observe(Seconds{5.001}, std::nullopt, start + 30s));
}

TEST(StallDetector, NeverForgetsTheLargestValues) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{60}, 5'000, start + 1s));
    // Each moves one measure forward and lets the other fall back.
    EXPECT_FALSE(detector.observe(Seconds{61}, 10, start + 2s));
    EXPECT_EQ(detector.lastFileSize, 5'000);
    EXPECT_FALSE(detector.observe(Seconds{62}, std::nullopt, start + 3s));
    EXPECT_EQ(detector.lastFileSize, 5'000);
    EXPECT_FALSE(detector.observe(Seconds{1}, 5'001, start + 4s));
    EXPECT_EQ(detector.lastDuration, Seconds{62});
    EXPECT_EQ(detector.lastFileSize, 5'001);
}

TEST(StallDetector, TakesValuesThatFallBackForNoProgress) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{60}, 5'000, start + 1s));
    const StallDetector before = detector;
    EXPECT_FALSE(detector.observe(Seconds{2}, 10, start + 5s));
    EXPECT_TRUE(detector.observe(Seconds{30}, 4'000, start + 11s));
    EXPECT_EQ(detector, before);
}

TEST(StallDetector, RecoversWhenProgressComesBack) {
    StallDetector detector{start, limit};
    EXPECT_TRUE(detector.observe(Seconds{0}, 0, start + 10s));
    EXPECT_FALSE(detector.observe(Seconds{1}, 0, start + 12s));
    EXPECT_EQ(detector.lastProgressAt, start + 12s);
    EXPECT_FALSE(detector.observe(Seconds{1}, 0, start + 21s));
}

TEST(StallDetector, DoesNotStallWhenTheClockStepsBack) {
    StallDetector detector{start, limit};
    EXPECT_FALSE(detector.observe(Seconds{0}, 0, start - 1h));
}

} // namespace
} // namespace brindle
