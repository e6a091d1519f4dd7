#include "BrindleRecorderCore/Base/Date.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using namespace std::chrono_literals;

TEST(Date, TellsSpansOfTimeInBothDirections) {
    const Date noon = dateFromUnixSeconds(1'773'480'612);
    EXPECT_EQ(secondsBetween(noon, noon), Seconds{0});
    EXPECT_EQ(secondsBetween(noon, noon + 5s), Seconds{5});
    EXPECT_EQ(secondsBetween(noon + 5s, noon), Seconds{-5});
    EXPECT_EQ(secondsBetween(noon, noon + 300ms), Seconds{0.3});
    EXPECT_EQ(secondsBetween(noon, noon + 4'999'999'999ns), Seconds{4.999999999});
}

TEST(Date, TellsSpansOfTimeAcrossAllOfTime) {
    // 2^64 - 1 nanoseconds, which a double rounds to 2^64.
    const Seconds everything{18'446'744'073.709551616};
    EXPECT_EQ(secondsBetween(Date::min(), Date::max()), everything);
    EXPECT_EQ(secondsBetween(Date::max(), Date::min()), -everything);
}

} // namespace
} // namespace brindle
