#include "BrindleRecorderLinux/Capture/Record/AudioTimeline.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace brindle::media {
namespace {

constexpr int rate = 48'000;
constexpr std::int64_t block = 1024;

/// Writes one block as the timeline says, its length stretched like a resampler would.
AudioTimeline::Placement placeBlock(AudioTimeline& timeline, std::int64_t start) {
    const auto placement = timeline.place(start, block);
    if (placement.silenceBefore > 0) {
        timeline.wroteSilence(placement.silenceBefore);
        timeline.resume();
    }
    timeline.wrote(block - placement.skipped);
    return placement;
}

TEST(AudioTimeline, PlacesSoundThatFollowsWithoutTouchingIt) {
    AudioTimeline timeline{rate};
    for (std::int64_t start = 0; start < 100 * block; start += block) {
        EXPECT_EQ(placeBlock(timeline, start), AudioTimeline::Placement{});
    }
    EXPECT_EQ(timeline.position(), 100 * block);
}

TEST(AudioTimeline, BeginsWithSilenceWhenTheSoundBeginsLate) {
    AudioTimeline timeline{rate};
    EXPECT_EQ(placeBlock(timeline, 500).silenceBefore, 500);
}

TEST(AudioTimeline, LeavesOutSoundFromBeforeTheBeginning) {
    AudioTimeline timeline{rate};
    EXPECT_EQ(placeBlock(timeline, -3 * block).skipped, block);
    EXPECT_EQ(placeBlock(timeline, -500).skipped, 500);
    EXPECT_EQ(timeline.position(), block - 500);
    EXPECT_EQ(placeBlock(timeline, block - 500), AudioTimeline::Placement{});
}

TEST(AudioTimeline, FillsAHoleWithSilenceOfItsLengthOnceItIsCertain) {
    AudioTimeline timeline{rate};
    std::int64_t start = 0;
    for (; start < 20 * block; start += block) {
        placeBlock(timeline, start);
    }
    constexpr std::int64_t hole = rate / 5;
    start += hole;
    std::int64_t silence = 0;
    for (int index = 0; index < 10; ++index, start += block) {
        silence += placeBlock(timeline, start).silenceBefore;
    }
    EXPECT_EQ(silence, hole);
    EXPECT_EQ(timeline.position(), start);
}

TEST(AudioTimeline, FillsAHoleThatTheDeviceCountedAtOnceHoweverShort) {
    AudioTimeline timeline{rate};
    std::int64_t start = 0;
    for (; start < 20 * block; start += block) {
        placeBlock(timeline, start);
    }
    start += block;
    const auto placement = timeline.place(start, block, block);
    EXPECT_EQ(placement.silenceBefore, block);
    EXPECT_EQ(placement.skipped, 0);
    timeline.wroteSilence(block);
    timeline.resume();
    timeline.wrote(block);
    start += block;
    EXPECT_EQ(placeBlock(timeline, start), AudioTimeline::Placement{});
}

TEST(AudioTimeline, DoubtsACountedHoleThatTheTimeDoesNotShow) {
    AudioTimeline timeline{rate};
    placeBlock(timeline, 0);
    const auto placement = timeline.place(block, block, block);
    EXPECT_EQ(placement.silenceBefore, 0);
    EXPECT_EQ(placement.skipped, 0);
}

TEST(AudioTimeline, FillsWhatTheDeviceDidNotCountWithTheRest) {
    AudioTimeline timeline{rate};
    placeBlock(timeline, 0);
    // A second and a half, of which the device knows of two blocks.
    EXPECT_EQ(timeline.place(block + rate * 3 / 2, block, 2 * block).silenceBefore, rate * 3 / 2);
}

TEST(AudioTimeline, FillsAHoleOfMoreThanASecondAtOnce) {
    AudioTimeline timeline{rate};
    placeBlock(timeline, 0);
    EXPECT_EQ(placeBlock(timeline, block + 2 * rate).silenceBefore, 2 * rate);
}

TEST(AudioTimeline, IgnoresASingleBlockThatSeemsLate) {
    AudioTimeline timeline{rate};
    std::int64_t start = 0;
    for (int index = 0; index < 50; ++index, start += block) {
        const std::int64_t lateness = index % 10 == 9 ? 4 * block : 0;
        const auto placement = placeBlock(timeline, start + lateness);
        EXPECT_EQ(placement.silenceBefore, 0);
        EXPECT_EQ(placement.skipped, 0);
    }
}

TEST(AudioTimeline, LeavesOutSoundThatGoesOnOverlappingWhatIsWritten) {
    AudioTimeline timeline{rate};
    std::int64_t start = 0;
    for (; start < 20 * block; start += block) {
        placeBlock(timeline, start);
    }
    start -= 10 * block;
    for (int index = 0; index < 60; ++index, start += block) {
        placeBlock(timeline, start);
    }
    EXPECT_LT(std::abs(timeline.position() - start), rate * 3 / 100);
}

TEST(AudioTimeline, AsksForTheStretchThatAbsorbsADriftingClock) {
    for (const double drift : {0.0003, -0.0003}) {
        // A microphone whose clock is slow delivers too few samples, so its moments run ahead.
        AudioTimeline timeline{rate};
        double start = 0;
        double written = 0;
        AudioTimeline::Placement placement;
        for (int index = 0; index < 47 * 120; ++index) {
            placement = timeline.place(std::llround(start), block);
            ASSERT_EQ(placement.silenceBefore, 0);
            ASSERT_EQ(placement.skipped, 0);
            const double before = written;
            written += block * (1 + placement.stretch);
            timeline.wrote(std::llround(written) - std::llround(before));
            start += block * (1 + drift);
        }
        EXPECT_NEAR(placement.stretch, drift, 0.00005);
        EXPECT_LT(std::abs(start - static_cast<double>(timeline.position())), rate * 0.01);
    }
}

TEST(AudioTimeline, NeverStretchesSoMuchThatItCanBeHeard) {
    AudioTimeline timeline{rate};
    std::int64_t start = 0;
    for (int index = 0; index < 1000; ++index, start += block + 60) {
        EXPECT_LE(std::abs(placeBlock(timeline, start).stretch), 0.005);
    }
}

TEST(AudioTimeline, KnowsTheSilenceThatIsMissingWhileNoSoundComes) {
    AudioTimeline timeline{rate};
    placeBlock(timeline, 0);
    EXPECT_EQ(timeline.missingBefore(5 * block), 4 * block);
    timeline.wroteSilence(4 * block);
    EXPECT_EQ(timeline.missingBefore(5 * block), 0);
    // What comes then is placed to the sample.
    EXPECT_EQ(placeBlock(timeline, 5 * block + 100).silenceBefore, 100);
}

} // namespace
} // namespace brindle::media
