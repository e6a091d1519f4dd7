#include "BrindleRecorderLinux/PipeWire/SilentStart.hpp"

#include <gtest/gtest.h>

namespace brindle::pipewire {
namespace {

/// A tenth of a second.
media::CapturedSound sound(std::uint8_t byte) {
    return {
        .format = {.sampleFormat = AV_SAMPLE_FMT_FLT, .sampleRate = 48'000, .channels = 1},
        .count = 4800,
        .bytes = std::vector<std::uint8_t>(19'200, byte)};
}

/// The tenths of a second in which another stream was asked for.
std::vector<int> attempts(SilentStart& start, int tenths, std::uint8_t byte = 0) {
    std::vector<int> found;
    for (int tenth = 1; tenth <= tenths; ++tenth) {
        if (start.heard(sound(byte))) {
            found.push_back(tenth);
        }
    }
    return found;
}

TEST(SilentStart, AsksForAnotherStreamThreeTimesAndEverLater) {
    SilentStart start;
    EXPECT_EQ(attempts(start, 1000), (std::vector{3, 23, 123}));
}

TEST(SilentStart, LeavesAMicrophoneAloneThatIsHeard) {
    SilentStart start;
    EXPECT_EQ(attempts(start, 1000, 1), std::vector<int>{});
}

TEST(SilentStart, LeavesAMicrophoneAloneThatWasHeardOnceAndIsMutedLater) {
    SilentStart start;
    EXPECT_FALSE(start.heard(sound(1)));
    EXPECT_EQ(attempts(start, 1000), std::vector<int>{});
}

TEST(SilentStart, IsContentWithASingleSampleThatIsNotZero) {
    SilentStart start;
    media::CapturedSound almostSilent = sound(0);
    almostSilent.bytes.back() = 1;
    EXPECT_FALSE(start.heard(almostSilent));
    EXPECT_EQ(attempts(start, 1000), std::vector<int>{});
}

} // namespace
} // namespace brindle::pipewire
