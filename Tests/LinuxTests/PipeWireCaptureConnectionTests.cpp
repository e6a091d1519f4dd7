#include "BrindleRecorderLinux/Capture/Streams/CaptureConnection.hpp"

#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"
#include "BrindleRecorderLinux/Capture/Streams/WaitingMedia.hpp"
#include "DesktopDevices.hpp"
#include "MovieInspection.hpp"
#include "ServerGate.hpp"
#include "TestCamera.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace brindle::pipewire {
namespace {

using media::Moment;

bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds{40};
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
    }
    return true;
}

/// The moments at which was taken what a connection has handed on.
class HandedOn {
  public:
    void add(Moment taken) {
        const std::lock_guard lock{mutex_};
        moments_.push_back(taken);
    }
    [[nodiscard]] std::size_t count() const { return takenBetween(Moment::min(), Moment::max()); }
    [[nodiscard]] std::size_t takenBetween(Moment first, Moment last) const {
        const std::lock_guard lock{mutex_};
        return static_cast<std::size_t>(std::ranges::count_if(
            moments_, [&](Moment taken) { return taken > first && taken <= last; }));
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Moment> moments_;
};

class PipeWireCaptureConnectionTest : public testing::Test {
  protected:
    /// More than the buffers that a camera and its recorder share can hold: so many deliveries have
    /// reached the recorder, but for those few.
    static constexpr int manyDeliveries = 20;
    static constexpr std::size_t fewerThanThose = 10;
    static constexpr WaitingMedia::Room waitingRoom{
        .pictures = CaptureConfiguration::videoSettings.mostWaitingBytes,
        .sound = CaptureConfiguration::audioSettings.mostWaitingBytes};

    void SetUp() override {
        if (!test::inPrivateSession()) {
            GTEST_SKIP() << "runs in scripts/private-session --speaker only";
        }
    }

    CaptureConnection::Handlers handlers() {
        return {
            .picture =
                [this](media::CapturedPicture picture) {
                    lostPictures_ += picture.lostBefore;
                    (failures_.count() == 0 ? pictures_ : late_).add(picture.time);
                },
            .sound =
                [this](media::CapturedSound sound) {
                    (failures_.count() == 0 ? sounds_ : late_).add(sound.time);
                },
            .agreed =
                [this](const AgreedPictures& agreed) {
                    const std::lock_guard lock{agreedMutex_};
                    agreed_ = agreed;
                },
            .failed =
                [this](const PlatformError& error) {
                    EXPECT_EQ(error.description, "the camera was disconnected");
                    failures_.add(media::monotonicNow());
                }};
    }
    CaptureConnection::Devices devices(const std::string& camera) {
        return {
            .camera = camera,
            .microphone = "virt-mic",
            .pictures = {.width = 320, .height = 240, .frameRate = 30},
            .sampleRate = 48'000,
            .channels = 1,
            .waitingRoom = waitingRoom};
    }
    bool someHaveBeenHandedOn() {
        return eventually([this] { return pictures_.count() > 0 && sounds_.count() > 0; });
    }
    static bool deliversMany(const test::TestCamera& camera) {
        return eventually([&camera, before = camera.delivered()] {
            return camera.delivered() - before >= manyDeliveries;
        });
    }

    std::optional<AgreedPictures> agreed() {
        const std::lock_guard lock{agreedMutex_};
        return agreed_;
    }

    std::mutex agreedMutex_;
    std::optional<AgreedPictures> agreed_;
    std::atomic<std::int64_t> lostPictures_ = 0;
    HandedOn pictures_;
    HandedOn sounds_;
    HandedOn late_; ///< after the capture has failed
    HandedOn failures_;
};

TEST_F(PipeWireCaptureConnectionTest, HandsNothingOnBeforeTheServerHasConfirmedWhereItCameFrom) {
    test::ServerGate gate;
    const test::TestCamera camera{"waiting-cam", test::TestCamera::i420(320, 240, 30)};
    CaptureConnection connection{devices("waiting-cam"), handlers()};
    ASSERT_TRUE(connection.start());
    ASSERT_TRUE(someHaveBeenHandedOn());

    gate.close();
    const Moment closed = media::monotonicNow();
    ASSERT_TRUE(deliversMany(camera));
    EXPECT_EQ(pictures_.takenBetween(closed, Moment::max()), 0U);
    EXPECT_EQ(sounds_.takenBetween(closed, Moment::max()), 0U);

    const Moment opened = media::monotonicNow();
    gate.open();
    EXPECT_TRUE(eventually([&] {
        return pictures_.takenBetween(closed, opened) >= fewerThanThose &&
               sounds_.takenBetween(closed, opened) >= fewerThanThose;
    })) << "it had been there";
    EXPECT_EQ(failures_.count(), 0U);
}

TEST_F(PipeWireCaptureConnectionTest, KeepsNoMoreThanThereIsRoomForWhileTheServerDoesNotAnswer) {
    test::ServerGate gate;
    const test::TestCamera camera{"large-cam", test::TestCamera::i420(1920, 1080, 30)};
    auto wanted = devices("large-cam");
    wanted.pictures = {.width = 1920, .height = 1080, .frameRate = 30};
    CaptureConnection connection{wanted, handlers()};
    ASSERT_TRUE(connection.start());
    ASSERT_TRUE(someHaveBeenHandedOn());

    gate.close();
    const Moment closed = media::monotonicNow();
    ASSERT_TRUE(deliversMany(camera));
    ASSERT_TRUE(deliversMany(camera));
    ASSERT_TRUE(deliversMany(camera));
    const Moment opened = media::monotonicNow();
    gate.open();
    ASSERT_TRUE(eventually([this] { return lostPictures_ > 0; }));
    constexpr std::size_t pictureBytes = 1920 * 1080 * 3 / 2;
    EXPECT_LE(pictures_.takenBetween(closed, opened), waitingRoom.pictures / pictureBytes + 1);
    EXPECT_EQ(failures_.count(), 0U);
}

TEST_F(PipeWireCaptureConnectionTest, ACameraThatOffersSlowRatesFirstDeliversFastOnes) {
    auto format = test::TestCamera::yuy2(320, 240, 30);
    format.slowerRates = {1, 2, 15};
    const test::TestCamera camera{"choosy-cam", format};
    CaptureConnection connection{devices("choosy-cam"), handlers()};
    ASSERT_TRUE(connection.start());
    ASSERT_TRUE(someHaveBeenHandedOn());
    const auto pictures = agreed();
    ASSERT_TRUE(pictures);
    EXPECT_EQ(pictures->name, "YUY2");
    EXPECT_EQ(pictures->format.width, 320);
    EXPECT_EQ(pictures->format.height, 240);
    EXPECT_EQ(pictures->rate, (PictureRate{30, 1}));
}

TEST_F(PipeWireCaptureConnectionTest, ACameraThatRunsForSomebodyElseKeepsItsFormat) {
    auto format = test::TestCamera::yuy2(320, 240, 30);
    format.slowerRates = {15};
    const test::TestCamera camera{"shared-cam", format};
    auto slow = devices("shared-cam");
    slow.pictures.frameRate = 15;
    std::atomic<bool> hasPictures = false;
    CaptureConnection other{
        slow,
        {.picture = [&hasPictures](const media::CapturedPicture&) { hasPictures = true; },
         .sound = [](const media::CapturedSound&) {},
         .agreed = {},
         .failed =
             [](const PlatformError& error) {
                 ADD_FAILURE() << error.description;
             }}};
    ASSERT_TRUE(other.start());
    ASSERT_TRUE(eventually([&hasPictures] { return hasPictures.load(); }));

    CaptureConnection connection{devices("shared-cam"), handlers()};
    ASSERT_TRUE(connection.start());
    ASSERT_TRUE(someHaveBeenHandedOn());
    ASSERT_TRUE(agreed());
    EXPECT_EQ(agreed()->rate, (PictureRate{15, 1}));
    EXPECT_EQ(failures_.count(), 0U);
}

TEST_F(PipeWireCaptureConnectionTest, WhatWasNotConfirmedBeforeTheCaptureFailedIsNeverHandedOn) {
    test::ServerGate gate;
    test::TestCamera camera{"leaving-cam", test::TestCamera::i420(320, 240, 30)};
    CaptureConnection connection{devices("leaving-cam"), handlers()};
    ASSERT_TRUE(connection.start());
    ASSERT_TRUE(someHaveBeenHandedOn());

    gate.close();
    ASSERT_TRUE(deliversMany(camera));
    camera.unplug();
    ASSERT_TRUE(eventually([] { return !test::hasNode("leaving-cam"); }));
    gate.open();
    ASSERT_TRUE(eventually([this] { return failures_.count() == 1; }));
    // The server answers in order: what was asked when the gate was opened has its answer now.
    ASSERT_TRUE(test::outputOf("pw-cli info 0"));
    EXPECT_EQ(late_.count(), 0U);
}

} // namespace
} // namespace brindle::pipewire
