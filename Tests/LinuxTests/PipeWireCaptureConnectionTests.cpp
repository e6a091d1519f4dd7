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
