#include "BrindleRecorderLinux/Capture/Record/FragmentedMovieWriter.hpp"
#include "BrindleRecorderLinux/Capture/Record/MediaEncoder.hpp"

#include "MovieInspection.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyntheticMedia.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>

namespace brindle::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using test::greyPicture;
using test::toneBlock;

constexpr VideoOutputSettings video{
    .width = 1920,
    .height = 1080,
    .averageBitRate = 5'000'000,
    .expectedSourceFrameRate = 30,
    .maxKeyFrameInterval = 60,
    .firstPictureWithin = Seconds{2}};
constexpr AudioOutputSettings audio{.numberOfChannels = 1, .sampleRate = 48'000, .bitRate = 96'000};

/// Any moment of the monotonic clock will do.
constexpr Moment origin{seconds{1000}};

/// When the camera takes its pictures.
constexpr nanoseconds momentOf(int picture) {
    return nanoseconds{seconds{1}} * picture / 30;
}

/// Makes a movie without threads and without the clock: what goes in is told, moment by moment.
class MediaEncoderTest : public testing::Test {
  protected:
    void open(bool withVideo, bool withAudio) {
        auto opened = MediaEncoder::open(
            withVideo ? std::optional{video_} : std::nullopt,
            withAudio ? std::optional{audio} : std::nullopt, seconds{5},
            [this](EncodedPacket packet) { ASSERT_TRUE(writer_->write(std::move(packet))); });
        ASSERT_TRUE(opened);
        encoder_ = std::move(*opened);
        auto file = capture::OutputFile::create(movie_);
        ASSERT_TRUE(file);
        auto created = FragmentedMovieWriter::create(std::move(*file), encoder_->encoders());
        ASSERT_TRUE(created);
        writer_ = std::move(*created);
    }

    void picture(nanoseconds time, int brightness) {
        ASSERT_TRUE(encoder_->addPicture(greyPicture(origin + time, brightness)));
    }

    void sound(nanoseconds time, int count, double amplitude, double frequency = 1000) {
        CapturedSound block = toneBlock(origin + time, count, amplitude, frequency);
        ASSERT_TRUE(encoder_->addSound(std::move(block)));
    }

    /// Blocks of 10 ms: silence, and a beep in the first 100 ms of every second.
    void beepingSound(nanoseconds from, nanoseconds until) {
        for (nanoseconds time = from; time < until; time += milliseconds{10}) {
            sound(time, 480, time % seconds{1} < milliseconds{100} ? 0.8 : 0);
        }
    }

    /// Pictures and sound as they come from devices; white for the first 100 ms of every second.
    void flashingAndBeeping(nanoseconds until) {
        for (int index = 0; momentOf(index) < until; ++index) {
            const nanoseconds time = momentOf(index);
            picture(time, index % 30 < 3 ? 235 : 16);
            for (; soundTime_ <= time; soundTime_ += milliseconds{10}) {
                sound(soundTime_, 480, soundTime_ % seconds{1} < milliseconds{100} ? 0.8 : 0);
            }
        }
    }

    void finish(nanoseconds end) {
        ASSERT_TRUE(encoder_->end(origin + end));
        ASSERT_TRUE(writer_->finish());
    }

    test::TemporaryFolder folder_;
    std::filesystem::path movie_ = folder_.path() / "movie.mov";
    std::unique_ptr<FragmentedMovieWriter> writer_;
    std::unique_ptr<MediaEncoder> encoder_;
    nanoseconds soundTime_{0};
    VideoOutputSettings video_ = video;
};

/// Where the beeps begin, in seconds.
std::vector<double> beeps(const std::vector<float>& samples) {
    std::vector<double> found;
    constexpr double quietBefore = 0.3;
    double lastLoud = -1;
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double time = static_cast<double>(index) / 48'000;
        if (std::abs(samples[index]) > 0.3) {
            if (lastLoud < 0 || time - lastLoud > quietBefore) {
                found.push_back(time);
            }
            lastLoud = time;
        }
    }
    return found;
}

/// Where the flashes begin, in seconds.
std::vector<double> flashes(const std::filesystem::path& movie) {
    const auto pictures = test::decodedPictures(movie);
    const auto times = test::packets(movie, "v");
    std::vector<double> found;
    bool wasBright = false;
    for (std::size_t index = 0; index < std::min(pictures.size(), times.size()); ++index) {
        const bool isBright = pictures[index][1000] > 128;
        if (isBright && !wasBright) {
            found.push_back(times[index].time);
        }
        wasBright = isBright;
    }
    return found;
}

TEST_F(MediaEncoderTest, KeepsSoundWithinTwentyMillisecondsOfThePicture) {
    open(true, true);
    flashingAndBeeping(seconds{9});
    finish(seconds{9});
    const auto bright = flashes(movie_);
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(bright.size(), 9U);
    ASSERT_EQ(loud.size(), 9U);
    for (std::size_t index = 1; index < bright.size(); ++index) {
        EXPECT_NEAR(loud[index], bright[index], 0.005) << index;
    }
    EXPECT_NEAR(test::trackFacts(movie_, "a")->start, 0, 0.001);
    EXPECT_NEAR(test::trackFacts(movie_, "v")->start, 0, 0.001);
}

TEST_F(MediaEncoderTest, WritesTheFormatsThatWereAskedFor) {
    open(true, true);
    flashingAndBeeping(seconds{3});
    finish(seconds{3});
    const auto picture = test::trackFacts(movie_, "v");
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->codec, "h264");
    EXPECT_EQ(picture->profile, "High");
    EXPECT_EQ(picture->width, 1920);
    EXPECT_EQ(picture->height, 1080);
    EXPECT_EQ(picture->frameRate, "30/1");
    EXPECT_EQ(picture->pixelFormat, "yuv420p");
    EXPECT_EQ(picture->colors, "tv bt709 bt709 bt709");
    EXPECT_EQ(picture->bFrames, 0);
    const auto heard = test::trackFacts(movie_, "a");
    ASSERT_TRUE(heard);
    EXPECT_EQ(heard->codec, "aac");
    EXPECT_EQ(heard->sampleRate, 48'000);
    EXPECT_EQ(heard->channels, 1);
}

TEST_F(MediaEncoderTest, CutsFragmentsOfBothTracksAtKeyFrames) {
    open(true, true);
    flashingAndBeeping(seconds{9});
    finish(seconds{9});
    EXPECT_EQ(test::tracksPerFragment(movie_), (std::vector<int>{2, 2, 2, 2}));
    std::vector<double> keys;
    for (const auto& packet : test::packets(movie_, "v")) {
        if (packet.isKey) {
            keys.push_back(packet.time);
        }
    }
    for (const double cut : {0.0, 1.0, 2.0, 7.0}) {
        EXPECT_TRUE(std::any_of(keys.begin(), keys.end(), [cut](double key) {
            return std::abs(key - cut) < 0.001;
        })) << cut;
    }
    for (std::size_t index = 1; index < keys.size(); ++index) {
        EXPECT_LE(keys[index] - keys[index - 1], 2.001);
    }
}

TEST_F(MediaEncoderTest, BeginsBothTracksWithTheFirstPicture) {
    open(true, true);
    // Sound has been coming for a while when the camera is ready.
    beepingSound(-milliseconds{1500}, milliseconds{500});
    picture(milliseconds{0}, 235);
    for (int index = 1; index < 60; ++index) {
        picture(momentOf(index), 16);
    }
    beepingSound(milliseconds{500}, seconds{2});
    finish(seconds{2});
    EXPECT_NEAR(test::trackFacts(movie_, "a")->start, test::trackFacts(movie_, "v")->start, 0.04);
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(loud.size(), 2U);
    EXPECT_NEAR(loud[1], 1.0, 0.005);
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 2, 0.05);
}

TEST_F(MediaEncoderTest, WaitsTwoSecondsOfSoundForTheFirstPicture) {
    open(true, true);
    beepingSound(seconds{0}, seconds{2});
    ASSERT_TRUE(encoder_->passTime(origin + seconds{2}));
    EXPECT_EQ(writer_->mediaEnd(), nanoseconds{0});
    picture(milliseconds{1950}, 235);
    finish(seconds{2});
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 0.05, 0.03);
}

TEST_F(MediaEncoderTest, RecordsSoundFromTheFirstOnWhenNoPictureComes) {
    open(true, true);
    beepingSound(seconds{0}, seconds{8});
    EXPECT_TRUE(encoder_->awaitsPictures());
    finish(seconds{8});
    EXPECT_EQ(beeps(test::decodedSound(movie_)).size(), 8U);
    const auto pictures = test::decodedPictures(movie_);
    ASSERT_EQ(pictures.size(), 240U) << "black stands for those that did not come";
    for (const auto& picture : pictures) {
        EXPECT_LE(picture[1000], 20);
    }
}

TEST_F(MediaEncoderTest, FragmentsAreCutAlsoWhileNoPictureComes) {
    open(true, true);
    for (nanoseconds time{0}; time < seconds{8}; time += milliseconds{10}) {
        sound(time, 480, 0.1);
        ASSERT_TRUE(encoder_->passTime(origin + time));
    }
    finish(seconds{8});
    EXPECT_EQ(test::tracksPerFragment(movie_), (std::vector<int>{2, 2, 2, 2}));
}

TEST_F(MediaEncoderTest, KeepsWhatWasHeardWhenItEndsBeforeThePictureCame) {
    open(true, true);
    beepingSound(seconds{0}, milliseconds{1500});
    finish(milliseconds{1500});
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 1.5, 0.05);
}

TEST_F(MediaEncoderTest, GivesPicturesThatComeLateTheirPlaceBesideTheSound) {
    open(true, true);
    beepingSound(seconds{0}, seconds{4});
    soundTime_ = seconds{4};
    for (int index = 120; index < 240; ++index) {
        picture(momentOf(index), index % 30 < 3 ? 235 : 16);
        for (; soundTime_ <= momentOf(index); soundTime_ += milliseconds{10}) {
            sound(soundTime_, 480, soundTime_ % seconds{1} < milliseconds{100} ? 0.8 : 0);
        }
    }
    EXPECT_FALSE(encoder_->awaitsPictures());
    finish(seconds{8});
    const auto bright = flashes(movie_);
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(bright.size(), 4U);
    ASSERT_EQ(loud.size(), 8U);
    for (std::size_t index = 0; index < bright.size(); ++index) {
        EXPECT_NEAR(bright[index], loud[index + 4], 0.005) << index;
    }
}

TEST_F(MediaEncoderTest, LetsLateSoundBeginWithSilence) {
    open(true, true);
    for (int index = 0; index < 90; ++index) {
        picture(momentOf(index), 100);
    }
    beepingSound(milliseconds{2000}, milliseconds{3000});
    finish(seconds{3});
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(loud.size(), 1U);
    EXPECT_NEAR(loud[0], 2.0, 0.005);
    EXPECT_NEAR(test::packets(movie_, "a").front().time, 0, 0.001);
}

TEST_F(MediaEncoderTest, FillsAHoleInTheSoundWithSilence) {
    open(true, true);
    for (int index = 0; index < 180; ++index) {
        picture(momentOf(index), 100);
    }
    beepingSound(seconds{0}, milliseconds{2300});
    beepingSound(milliseconds{2700}, seconds{6});
    finish(seconds{6});
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(loud.size(), 6U);
    EXPECT_NEAR(loud[2], 2, 0.005);
    EXPECT_NEAR(loud[3], 3, 0.005);
    EXPECT_NEAR(loud[5], 5, 0.005);
}

TEST_F(MediaEncoderTest, FillsAShortHoleThatTheDeviceCountedWithSilence) {
    open(true, true);
    for (int index = 0; index < 90; ++index) {
        picture(momentOf(index), 100);
    }
    beepingSound(seconds{0}, milliseconds{1900});
    CapturedSound late = toneBlock(origin + milliseconds{1920}, 480, 0, 1000);
    late.lostBefore = milliseconds{20};
    ASSERT_TRUE(encoder_->addSound(std::move(late)));
    beepingSound(milliseconds{1930}, seconds{3});
    finish(seconds{3});
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(loud.size(), 3U);
    EXPECT_NEAR(loud[1], 1, 0.002);
    // Closed up, it would be 20 ms early.
    EXPECT_NEAR(loud[2], 2, 0.002);
}

TEST_F(MediaEncoderTest, AbsorbsTheDriftOfTheMicrophonesClock) {
    // Small pictures, for it takes a while until a drift shows.
    video_.width = 320;
    video_.height = 180;
    open(true, true);
    // A clock that is 300 millionths slow: after a minute, 18 ms of samples are missing.
    constexpr double drift = 1.0003;
    constexpr int length = 60;
    for (int index = 0; index < length * 30; ++index) {
        picture(momentOf(index), index % 30 < 3 ? 235 : 16);
        const nanoseconds now = momentOf(index + 1);
        for (; soundTime_ < now;
             soundTime_ += std::chrono::duration_cast<nanoseconds>(milliseconds{10} * drift)) {
            const auto second = soundTime_ % seconds{1};
            sound(soundTime_, 480, second < milliseconds{100} ? 0.8 : 0);
        }
    }
    finish(seconds{length});
    const auto bright = flashes(movie_);
    const auto loud = beeps(test::decodedSound(movie_));
    ASSERT_EQ(bright.size(), loud.size());
    for (std::size_t index = 1; index < bright.size(); ++index) {
        // A block is 10 ms, and a beep begins with a block.
        EXPECT_NEAR(loud[index], bright[index] + 0.005, 0.015) << index;
    }
}

TEST_F(MediaEncoderTest, HoldsTheLastPictureWhileOnlySoundGoesOn) {
    open(true, true);
    for (int index = 0; index < 30; ++index) {
        picture(momentOf(index), index == 29 ? 235 : 16);
    }
    for (nanoseconds time{0}; time < seconds{4}; time += milliseconds{10}) {
        sound(time, 480, 0.1);
        ASSERT_TRUE(encoder_->passTime(origin + time));
    }
    EXPECT_GE(writer_->mediaEnd(), milliseconds{3400});
    finish(seconds{4});
    const auto pictures = test::decodedPictures(movie_);
    ASSERT_EQ(pictures.size(), 120U);
    EXPECT_GT(pictures.back()[1000], 200);
}

TEST_F(MediaEncoderTest, StandsStillWhenBothDevicesDo) {
    open(true, true);
    flashingAndBeeping(seconds{2});
    ASSERT_TRUE(encoder_->passTime(origin + seconds{3}));
    const auto before = writer_->mediaEnd();
    ASSERT_TRUE(encoder_->passTime(origin + seconds{9}));
    EXPECT_EQ(writer_->mediaEnd(), before);
    finish(seconds{9});
}

TEST_F(MediaEncoderTest, EndsWhereBothDevicesFellSilentHoweverLongAgo) {
    for (const seconds silence : {seconds{3}, seconds{15}}) {
        open(true, true);
        flashingAndBeeping(seconds{2});
        finish(seconds{2} + silence);
        EXPECT_NEAR(test::trackFacts(movie_, "v")->duration, 2, 0.1) << silence.count();
        EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 2, 0.1) << silence.count();
        std::filesystem::remove(movie_);
    }
}

TEST_F(MediaEncoderTest, EndsBothTracksTogetherWhenPicturesCameBehindTheMomentOfTheEnd) {
    open(true, true);
    flashingAndBeeping(seconds{3});
    for (int index = 90; index < 98; ++index) {
        picture(momentOf(index), 16);
    }
    finish(seconds{3});
    const auto pictures = test::trackFacts(movie_, "v");
    const auto heard = test::trackFacts(movie_, "a");
    ASSERT_TRUE(pictures && heard);
    EXPECT_NEAR(pictures->duration, 98.0 / 30, 0.04);
    EXPECT_NEAR(heard->duration, pictures->duration, 0.1);
}

TEST_F(MediaEncoderTest, GoesOnWithSilenceWhileOnlyPicturesDo) {
    open(true, true);
    flashingAndBeeping(milliseconds{1500});
    for (int index = 45; index < 240; ++index) {
        picture(momentOf(index), 16);
        ASSERT_TRUE(encoder_->passTime(origin + momentOf(index)));
    }
    // Both tracks are in every fragment although no sound came.
    finish(seconds{8});
    EXPECT_EQ(test::tracksPerFragment(movie_), (std::vector<int>{2, 2, 2, 2}));
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 8, 0.1);
}

TEST_F(MediaEncoderTest, RecordsSoundAlone) {
    open(false, true);
    beepingSound(seconds{0}, seconds{8});
    finish(seconds{8});
    EXPECT_FALSE(test::trackFacts(movie_, "v"));
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 8, 0.05);
    EXPECT_EQ(test::tracksPerFragment(movie_), (std::vector<int>{1, 1, 1, 1}));
}

TEST_F(MediaEncoderTest, RecordsPicturesAlone) {
    open(true, false);
    for (int index = 0; index < 90; ++index) {
        picture(momentOf(index), index * 2);
    }
    finish(seconds{3});
    EXPECT_FALSE(test::trackFacts(movie_, "a"));
    EXPECT_NEAR(test::trackFacts(movie_, "v")->duration, 3, 0.001);
    EXPECT_EQ(test::decodedPictures(movie_).size(), 90U);
}

TEST_F(MediaEncoderTest, ShowsTheLastGoodPictureInPlaceOfADamagedOne) {
    open(true, false);
    for (int index = 0; index < 30; ++index) {
        CapturedPicture next = greyPicture(origin + momentOf(index), 100);
        if (index % 2 == 1) {
            next.bytes.resize(10);
        }
        ASSERT_TRUE(encoder_->addPicture(next));
    }
    finish(seconds{1});
    EXPECT_EQ(test::decodedPictures(movie_).size(), 30U);
}

} // namespace
} // namespace brindle::media
