#include "BrindleRecorderCore/Recordings/RemuxVerification.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace brindle {
namespace {

constexpr Seconds tolerance{1.0};

bool complete(std::optional<Seconds> source, std::optional<Seconds> output) {
    return RemuxVerification::outputIsComplete(source, output, tolerance);
}

TEST(RemuxVerification, ForgivesUpToTheTolerance) {
    EXPECT_TRUE(complete(Seconds{60.0}, Seconds{60.0}));
    EXPECT_TRUE(complete(Seconds{60.0}, Seconds{59.0}));
    EXPECT_FALSE(complete(Seconds{60.0}, Seconds{58.9}));
    EXPECT_FALSE(complete(Seconds{60.0}, Seconds{0.0}));
}

TEST(RemuxVerification, TakesALongerOutputForComplete) {
    EXPECT_TRUE(complete(Seconds{60.0}, Seconds{60.001}));
    EXPECT_TRUE(complete(Seconds{60.0}, Seconds{86'400.0}));
}

TEST(RemuxVerification, DoesNotVerifyWithoutBothDurations) {
    EXPECT_FALSE(complete(Seconds{60.0}, std::nullopt));
    EXPECT_FALSE(complete(std::nullopt, Seconds{60.0}));
    EXPECT_FALSE(complete(std::nullopt, std::nullopt));
}

TEST(RemuxVerification, DoesNotVerifyDurationsThatAreNoNumbers) {
    constexpr Seconds notANumber{std::numeric_limits<double>::quiet_NaN()};
    constexpr Seconds endless{std::numeric_limits<double>::infinity()};
    for (const Seconds odd : {notANumber, endless, -endless}) {
        EXPECT_FALSE(complete(odd, Seconds{60.0}));
        EXPECT_FALSE(complete(Seconds{60.0}, odd));
        EXPECT_FALSE(complete(odd, odd));
    }
}

} // namespace
} // namespace brindle
