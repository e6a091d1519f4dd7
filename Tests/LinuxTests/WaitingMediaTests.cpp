#include "BrindleRecorderLinux/Capture/Streams/WaitingMedia.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace brindle::pipewire {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Room for three pictures and four blocks of sound, and a server that answers when it is told to.
class WaitingMediaTest : public testing::Test {
  protected:
    static constexpr int pictureBytes = 100;
    static constexpr int rate = 1000; // a sample is a millisecond

    static media::CapturedPicture picture(int number, std::size_t bytes = pictureBytes) {
        media::CapturedPicture made;
        made.bytes.resize(bytes);
        made.time = media::Moment{std::chrono::seconds{number}};
        return made;
    }
    static media::CapturedSound sound(int number) {
        media::CapturedSound made{
            .format = {.sampleFormat = AV_SAMPLE_FMT_FLT, .sampleRate = rate, .channels = 1},
            .count = 10,
            .bytes = {}};
        made.bytes.resize(static_cast<std::size_t>(made.count) * sizeof(float));
        made.time = media::Moment{std::chrono::seconds{number}};
        return made;
    }
    /// Answers until nothing waits any more.
    void answerAll() {
        while (answered != asked) {
            waiting.answered(++answered);
        }
    }
    [[nodiscard]] std::vector<int> pictureNumbers() const { return numbersOf(pictures); }
    [[nodiscard]] std::vector<int> soundNumbers() const { return numbersOf(sounds); }

    int asked = 0;
    int answered = 0;
    std::vector<media::CapturedPicture> pictures;
    std::vector<media::CapturedSound> sounds;
    WaitingMedia waiting{
        {.ask = [this] { return ++asked; },
         .picture = [this](media::CapturedPicture taken) { pictures.push_back(std::move(taken)); },
         .sound =
             [this](media::CapturedSound taken) {
                 sounds.push_back(std::move(taken));
             }},
        {.pictures = 3 * pictureBytes, .sound = 4 * 10 * sizeof(float)}};

  private:
    template <class Item>
    static std::vector<int> numbersOf(const std::vector<Item>& items) {
        std::vector<int> numbers;
        for (const Item& item : items) {
            numbers.push_back(
                static_cast<int>(item.time.time_since_epoch() / std::chrono::seconds{1}));
        }
        return numbers;
    }
};

TEST_F(WaitingMediaTest, ComesOutAsItCameInWhenTheServerHasAnswered) {
    waiting.arrived(picture(1));
    waiting.arrived(sound(1));
    waiting.arrived(picture(2));
    EXPECT_THAT(pictures, IsEmpty());
    answerAll();
    EXPECT_THAT(pictureNumbers(), ElementsAre(1, 2));
    EXPECT_THAT(soundNumbers(), ElementsAre(1));
    EXPECT_EQ(pictures.back().lostBefore, 0);
    EXPECT_EQ(sounds.back().lostBefore, 0s);
}

TEST_F(WaitingMediaTest, PicturesForWhichThereIsNoRoomAreLeftOutAndCounted) {
    for (int number = 1; number <= 1000; ++number) {
        waiting.arrived(picture(number));
    }
    EXPECT_EQ(waiting.arrivals(), 3U) << "nobody waits for what was left out";
    answerAll();
    EXPECT_THAT(pictureNumbers(), ElementsAre(1, 2, 3));
    waiting.arrived(picture(1001));
    waiting.arrived(picture(1002));
    answerAll();
    EXPECT_THAT(pictureNumbers(), ElementsAre(1, 2, 3, 1001, 1002));
    EXPECT_EQ(pictures.at(3).lostBefore, 997);
    EXPECT_EQ(pictures.at(4).lostBefore, 0);
}

TEST_F(WaitingMediaTest, SoundForWhichThereIsNoRoomIsMissingByItsLength) {
    for (int number = 1; number <= 1000; ++number) {
        auto block = sound(number);
        block.lostBefore = number == 500 ? 7ms : 0ms;
        waiting.arrived(std::move(block));
    }
    answerAll();
    EXPECT_THAT(soundNumbers(), ElementsAre(1, 2, 3, 4));
    waiting.arrived(sound(1001));
    waiting.arrived(sound(1002));
    answerAll();
    EXPECT_EQ(sounds.at(4).lostBefore, 996 * 10ms + 7ms) << "and what was missing already";
    EXPECT_EQ(sounds.at(5).lostBefore, 0ms);
}

TEST_F(WaitingMediaTest, PicturesTakeNoRoomFromSound) {
    for (int number = 1; number <= 10; ++number) {
        waiting.arrived(picture(number));
    }
    waiting.arrived(sound(1));
    answerAll();
    EXPECT_THAT(soundNumbers(), ElementsAre(1));
}

TEST_F(WaitingMediaTest, APictureThatIsLargerThanTheRoomWaitsAlone) {
    waiting.arrived(picture(1, 5 * pictureBytes));
    waiting.arrived(picture(2, 5 * pictureBytes));
    answerAll();
    waiting.arrived(picture(3, 5 * pictureBytes));
    answerAll();
    EXPECT_THAT(pictureNumbers(), ElementsAre(1, 3));
}

TEST_F(WaitingMediaTest, WhatIsForgottenMakesRoom) {
    for (int number = 1; number <= 3; ++number) {
        waiting.arrived(picture(number));
    }
    waiting.clear();
    waiting.arrived(picture(4));
    answerAll();
    EXPECT_THAT(pictureNumbers(), ElementsAre(4));
}

} // namespace
} // namespace brindle::pipewire
