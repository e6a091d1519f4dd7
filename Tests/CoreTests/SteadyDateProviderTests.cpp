#include "BrindleRecorderCore/Base/SteadyDateProvider.hpp"

#include "Support/FakeDateProvider.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace brindle {
namespace {

using namespace std::chrono_literals;

class SteadyDateProviderTest : public testing::Test {
  protected:
    test::FakeDateProvider wall_;
    std::chrono::nanoseconds steady_ = 1000s;
    SteadyDateProvider clock_{wall_, [this] {
                                  return steady_;
                              }};
};

TEST_F(SteadyDateProviderTest, BeginsAtTheWallTime) {
    EXPECT_EQ(clock_.now(), wall_.now());
}

TEST_F(SteadyDateProviderTest, AdvancesWithTheSteadyClock) {
    const Date before = clock_.now();
    steady_ += 90min;
    EXPECT_EQ(clock_.now() - before, 90min);
}

TEST_F(SteadyDateProviderTest, AJumpOfTheWallTimeIsNotSeen) {
    const Date before = clock_.now();
    wall_.advance(7200s);
    EXPECT_EQ(clock_.now(), before);
}

TEST_F(SteadyDateProviderTest, TakesTheWallTimeOverWhenTold) {
    wall_.advance(7200s);
    steady_ += 5s;
    clock_.takeOverWallTime();
    EXPECT_EQ(clock_.now(), wall_.now());
    steady_ += 1s;
    EXPECT_EQ(clock_.now(), wall_.now() + 1s);
}

} // namespace
} // namespace brindle
