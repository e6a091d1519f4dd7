#include "BrindleRecorderLinux/Capture/Record/SoundConverter.hpp"

#include "MovieInspection.hpp"
#include "SyntheticMedia.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace brindle::media {
namespace {

using test::toneBlock;

/// One second of what comes out of blocks of 10 ms each.
std::vector<float> converted(SoundConverter& converter, const SoundFormat& format) {
    std::vector<float> all;
    const int count = format.sampleRate / 100;
    for (int block = 0; block < 100; ++block) {
        CapturedSound mono = toneBlock(
            Moment{std::chrono::milliseconds{10} * block}, count, 0.5, 1000, format.sampleRate);
        CapturedSound sound{.format = format, .count = count, .bytes = {}, .time = mono.time};
        std::vector<float> samples(static_cast<std::size_t>(count));
        std::memcpy(samples.data(), mono.bytes.data(), mono.bytes.size());
        // Interleaved 16 bit for any number of channels, all the same.
        for (const float sample : samples) {
            const auto value = static_cast<std::int16_t>(sample * 32'767);
            for (int channel = 0; channel < format.channels; ++channel) {
                const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&value);
                sound.bytes.insert(sound.bytes.end(), bytes, bytes + sizeof(value));
            }
        }
        const std::vector<float> out = converter.convert(sound);
        all.insert(all.end(), out.begin(), out.end());
    }
    return all;
}

TEST(SoundConverter, MakesMonoAt48kHzOfAnything) {
    for (const int rate : {8000, 16'000, 44'100, 48'000, 96'000}) {
        for (const int channels : {1, 2, 3, 6, 12}) {
            SoundConverter converter{48'000, 1};
            const auto samples = converted(
                converter,
                {.sampleFormat = AV_SAMPLE_FMT_S16, .sampleRate = rate, .channels = channels});
            EXPECT_NEAR(static_cast<double>(samples.size()), 48'000, 400)
                << rate << " Hz, " << channels;
            EXPECT_NEAR(test::strengthOf(1000, samples, 12'000, 24'000), 0.5, 0.02)
                << rate << " Hz, " << channels;
        }
    }
}

TEST(SoundConverter, StretchesAsItIsTold) {
    for (const double stretch : {0.005, -0.005, 0.0002}) {
        SoundConverter converter{48'000, 1};
        const SoundFormat format{
            .sampleFormat = AV_SAMPLE_FMT_S16, .sampleRate = 48'000, .channels = 1};
        converter.setStretch(stretch);
        double count = 0;
        for (int second = 0; second < 8; ++second) {
            count += static_cast<double>(converted(converter, format).size());
        }
        EXPECT_NEAR(count, 8 * 48'000 * (1 + stretch), 40) << stretch;
    }
}

TEST(SoundConverter, TakesPlanarSound) {
    SoundConverter converter{48'000, 1};
    CapturedSound left = toneBlock(Moment{}, 4800, 0.5);
    const CapturedSound right = toneBlock(Moment{}, 4800, 0.25);
    CapturedSound both = left;
    both.format.sampleFormat = AV_SAMPLE_FMT_FLTP;
    both.format.channels = 2;
    both.bytes.insert(both.bytes.end(), right.bytes.begin(), right.bytes.end());
    EXPECT_NEAR(test::strengthOf(1000, converter.convert(both), 960, 2880), 0.375, 0.01);
}

TEST(SoundConverter, FollowsAChangeOfFormat) {
    SoundConverter converter{48'000, 1};
    converted(converter, {.sampleFormat = AV_SAMPLE_FMT_S16, .sampleRate = 48'000, .channels = 2});
    const auto samples = converted(
        converter, {.sampleFormat = AV_SAMPLE_FMT_S16, .sampleRate = 16'000, .channels = 1});
    EXPECT_NEAR(test::strengthOf(1000, samples, 12'000, 24'000), 0.5, 0.02);
}

TEST(SoundConverter, RefusesWhatMakesNoSense) {
    SoundConverter converter{48'000, 1};
    CapturedSound shortened = toneBlock(Moment{}, 480, 0.5);
    shortened.bytes.pop_back();
    EXPECT_TRUE(converter.convert(shortened).empty());
    CapturedSound silent = toneBlock(Moment{}, 480, 0.5);
    silent.format.channels = 0;
    EXPECT_TRUE(converter.convert(silent).empty());
    CapturedSound many = toneBlock(Moment{}, 480, 0.5);
    many.format.channels = 1'000'000;
    EXPECT_TRUE(converter.convert(many).empty());
}

} // namespace
} // namespace brindle::media
