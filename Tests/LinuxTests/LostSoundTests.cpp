#include "BrindleRecorderLinux/Capture/Streams/LostSound.hpp"

#include <gtest/gtest.h>

namespace brindle::pipewire {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr std::chrono::duration<double> unit{1.0 / 48'000};
constexpr milliseconds turn{20};
constexpr std::uint64_t unitsPerTurn = 960;

TEST(LostSound, MissesNothingWhileEveryTurnIsTaken) {
    LostSound lost;
    for (std::uint64_t count = 5'000'000; count < 5'000'000 + 100 * unitsPerTurn;
         count += unitsPerTurn) {
        EXPECT_EQ(lost.before(count, unit, turn), nanoseconds{0});
    }
}

TEST(LostSound, TellsHowMuchAMissedTurnWouldHaveBrought) {
    LostSound lost;
    EXPECT_EQ(lost.before(unitsPerTurn, unit, turn), nanoseconds{0});
    EXPECT_EQ(lost.before(4 * unitsPerTurn, unit, turn), 2 * turn);
    EXPECT_EQ(lost.before(5 * unitsPerTurn, unit, turn), nanoseconds{0});
}

TEST(LostSound, MissesNothingWhenSeveralTurnsComeAtOnce) {
    LostSound lost;
    EXPECT_EQ(lost.before(unitsPerTurn, unit, turn), nanoseconds{0});
    EXPECT_EQ(lost.before(4 * unitsPerTurn, unit, 3 * turn), nanoseconds{0});
}

TEST(LostSound, TakesADifferenceOfSomeSamplesForRounding) {
    LostSound lost;
    EXPECT_EQ(lost.before(unitsPerTurn, unit, turn), nanoseconds{0});
    EXPECT_EQ(lost.before(2 * unitsPerTurn, unit, turn - milliseconds{1}), nanoseconds{0});
}

TEST(LostSound, BeginsAnewWhereTheCountDoes) {
    LostSound lost;
    EXPECT_EQ(lost.before(1000 * unitsPerTurn, unit, turn), nanoseconds{0});
    EXPECT_EQ(lost.before(3 * unitsPerTurn, unit, turn), nanoseconds{0});
    EXPECT_EQ(lost.before(5 * unitsPerTurn, unit, turn), turn);
}

} // namespace
} // namespace brindle::pipewire
