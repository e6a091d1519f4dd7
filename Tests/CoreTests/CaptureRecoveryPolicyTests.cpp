#include "BrindleRecorderCore/Recordings/CaptureRecoveryPolicy.hpp"

#include <gtest/gtest.h>

namespace brindle {

void PrintTo(const RecoveryDecision& decision, std::ostream* out) {
    *out << "{restart: " << decision.restart << ", block: " << decision.blockCurrentCamera
         << ", audio only: " << decision.audioOnly << "}";
}

namespace {

constexpr RecoveryDecision none{};
constexpr RecoveryDecision restart{.restart = true};
constexpr RecoveryDecision restartAndBlock{.restart = true, .blockCurrentCamera = true};
constexpr RecoveryDecision restartWithSoundOnly{
    .restart = true, .blockCurrentCamera = true, .audioOnly = true};

struct Rung {
    int from;
    int to; ///< inclusive
    RecoveryDecision deviceDead;
    RecoveryDecision writingStopped;
};

// A fatal failure has no column: it never leads to anything.
constexpr Rung ladder[] = {
    {0, 1, restartAndBlock, restart},
    {2, 3, restartAndBlock, restartAndBlock},
    {4, 20, restartWithSoundOnly, restartWithSoundOnly},
    {21, 22, none, none},
};

TEST(CaptureRecoveryPolicy, FollowsEveryRowOfItsTable) {
    int rows = 0;
    for (const auto& [from, to, deviceDead, writingStopped] : ladder) {
        for (int failures = from; failures <= to; ++failures, ++rows) {
            SCOPED_TRACE(failures);
            const auto decide = [&](CaptureFailureKind kind) {
                return CaptureRecoveryPolicy::decide(kind, failures, true);
            };
            EXPECT_EQ(decide(CaptureFailureKind::deviceDead), deviceDead);
            EXPECT_EQ(decide(CaptureFailureKind::writingStopped), writingStopped);
            EXPECT_EQ(decide(CaptureFailureKind::fatal), none);
        }
    }
    EXPECT_EQ(rows, 23); // 0 to 22, none left out
}

TEST(CaptureRecoveryPolicy, DoesNothingOnceTheCallIsOver) {
    for (const auto kind :
         {CaptureFailureKind::deviceDead, CaptureFailureKind::writingStopped,
          CaptureFailureKind::fatal}) {
        for (int failures = 0; failures <= 22; ++failures) {
            EXPECT_EQ(CaptureRecoveryPolicy::decide(kind, failures, false), none) << failures;
        }
    }
}

TEST(CaptureRecoveryPolicy, FirstDeadDeviceBlocksItsCameraButKeepsThePicture) {
    EXPECT_EQ(
        CaptureRecoveryPolicy::decide(CaptureFailureKind::deviceDead, 1, true), restartAndBlock);
}

TEST(CaptureRecoveryPolicy, FirstStoppedFileOnlyRestarts) {
    EXPECT_EQ(CaptureRecoveryPolicy::decide(CaptureFailureKind::writingStopped, 1, true), restart);
}

TEST(CaptureRecoveryPolicy, FourthFailureGoesOnWithSoundOnly) {
    EXPECT_EQ(
        CaptureRecoveryPolicy::decide(CaptureFailureKind::writingStopped, 4, true),
        restartWithSoundOnly);
}

TEST(CaptureRecoveryPolicy, GivesUpAfterTheTwentiethFailure) {
    EXPECT_EQ(CaptureRecoveryPolicy::maxRestartsPerCall, 20);
    EXPECT_EQ(CaptureRecoveryPolicy::audioOnlyAfter, 4);
    for (const auto kind : {CaptureFailureKind::deviceDead, CaptureFailureKind::writingStopped}) {
        EXPECT_TRUE(CaptureRecoveryPolicy::decide(kind, 20, true).restart);
        EXPECT_EQ(CaptureRecoveryPolicy::decide(kind, 21, true), none);
        EXPECT_EQ(CaptureRecoveryPolicy::decide(kind, 1'000'000, true), none);
    }
}

} // namespace
} // namespace brindle
