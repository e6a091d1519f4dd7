#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>

namespace brindle {
namespace {

TEST(SystemDateProvider, ReadsTheMachinesWallClock) {
    const Date expected = dateFromUnixSeconds(static_cast<double>(std::time(nullptr)));
    const Seconds difference = secondsBetween(expected, SystemDateProvider{}.now());
    // Far more than a slow machine or a clock that is being set makes.
    EXPECT_LT(std::chrono::abs(difference), std::chrono::hours{1});
}

} // namespace
} // namespace brindle
