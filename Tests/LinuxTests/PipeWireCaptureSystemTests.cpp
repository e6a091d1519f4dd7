#include "BrindleRecorderLinux/Devices/PipeWireCaptureSystem.hpp"

#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Portal/CameraPortal.hpp"
#include "DesktopDevices.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedCameraPortal.hpp"
#include "LinuxTests/SessionAudio.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "MovieInspection.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyntheticMedia.hpp"
#include "TestCamera.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace brindle {
namespace {

class PipeWireCaptureSystemTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::inPrivateSession()) {
            GTEST_SKIP() << "runs in scripts/private-session --speaker only";
        }
    }

    static const CaptureDeviceInfo*
    named(const std::vector<CaptureDeviceInfo>& infos, const std::string& uniqueID) {
        const auto found = std::find_if(infos.begin(), infos.end(), [&](const auto& info) {
            return info.uniqueID == uniqueID;
        });
        return found != infos.end() ? &*found : nullptr;
    }

    [[nodiscard]] bool
    has(const CaptureSystem& system, MediaType mediaType, const std::string& uniqueID) const {
        return named(system.discover(mediaType), uniqueID) != nullptr;
    }

    test::SessionAudio audio_;
    EventLoop& loop_ = audio_.loop;
    pipewire::AudioServer& server_ = audio_.server;
    test::RecordingSystemLog log_;
    capture::CaptureChildren children_{loop_, BRINDLE_CAPTURE_PROGRAM};
};

TEST_F(PipeWireCaptureSystemTest, FindsTheSessionsDevices) {
    const test::TestCamera camera{"found-cam", test::TestCamera::i420()};
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    ASSERT_TRUE(waitUntil(loop_, [&] {
        return has(system, MediaType::video, "found-cam") &&
               has(system, MediaType::audio, "virt-mic");
    }));
    EXPECT_EQ(system.authorizationStatus(MediaType::video), AuthorizationStatus::authorized);
    const auto microphones = system.discover(MediaType::audio);
    EXPECT_EQ(named(microphones, "virt-mic")->localizedName, "Studio Microphone");
    EXPECT_FALSE(named(microphones, "virt-mic")->isBuiltIn);
    EXPECT_EQ(named(microphones, "virt-speakers"), nullptr);
    for (const CaptureDeviceInfo& microphone : microphones) {
        EXPECT_EQ(microphone.uniqueID.find("monitor"), std::string::npos);
    }
    const auto cameras = system.discover(MediaType::video);
    EXPECT_EQ(named(cameras, "found-cam")->localizedName, "Test Camera");
    ASSERT_TRUE(system.defaultCamera());
    EXPECT_NE(named(cameras, system.defaultCamera()->uniqueID), nullptr);
}

TEST_F(PipeWireCaptureSystemTest, TellsOfDevicesThatComeAndGo) {
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    int changes = 0;
    auto observation = system.observeDevices([&changes] { ++changes; });
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "virt-mic"); }));
    changes = 0;
    test::TestMicrophone microphone{"hot-mic"};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "hot-mic"); }));
    EXPECT_GE(changes, 1);
    changes = 0;
    microphone.unplug();
    ASSERT_TRUE(waitUntil(loop_, [&] { return !has(system, MediaType::audio, "hot-mic"); }));
    EXPECT_GE(changes, 1);
    observation.reset();
    changes = 0;
    const test::TestMicrophone another{"unheard-mic"};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "unheard-mic"); }));
    EXPECT_EQ(changes, 0);
}

TEST_F(PipeWireCaptureSystemTest, FollowsTheSessionsDefaultCamera) {
    const test::TestCamera one{"chosen-cam", test::TestCamera::i420()};
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::video, "chosen-cam"); }));
    ASSERT_TRUE(test::outputOf("pw-metadata 0 default.configured.video.source"
                               " '{\"name\":\"chosen-cam\"}' Spa:String:JSON"));
    EXPECT_TRUE(waitUntil(loop_, [&] {
        const auto camera = system.defaultCamera();
        return camera && camera->uniqueID == "chosen-cam";
    }));
    test::outputOf("pw-metadata -d 0 default.configured.video.source");
}

TEST_F(PipeWireCaptureSystemTest, OpensWhatItFinds) {
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "virt-mic"); }));
    EXPECT_EQ(system.device("nobody"), nullptr);
    const auto device = system.device("virt-mic");
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->mediaType(), MediaType::audio);
    const auto session = system.makeSession();
    EXPECT_TRUE(session->makeInput(device));
    EXPECT_FALSE(session->makeInput(system.device("nobody")));
}

TEST_F(PipeWireCaptureSystemTest, DeniesNothingBeforeItIsKnownWhetherAServerAnswers) {
    const pipewire::AudioServer nobody{
        loop_,
        audio_.pipeWire.get(),
        {.remote = "nobody-answers-here", .runtimeFolder = "/nonexistent"}};
    PipeWireCaptureSystem system{loop_, nobody, log_, children_};
    EXPECT_EQ(system.authorizationStatus(MediaType::audio), AuthorizationStatus::authorized);
    EXPECT_EQ(system.authorizationStatus(MediaType::video), AuthorizationStatus::authorized);
    ASSERT_TRUE(
        waitUntil(loop_, [&] { return nobody.state() != pipewire::AudioServerState::connecting; }));
    EXPECT_EQ(system.authorizationStatus(MediaType::audio), AuthorizationStatus::denied);
    EXPECT_EQ(system.authorizationStatus(MediaType::video), AuthorizationStatus::denied);
}

TEST_F(PipeWireCaptureSystemTest, GrantsAccessWhileTheServerAnswers) {
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "virt-mic"); }));
    std::optional<bool> granted;
    system.requestAccess(MediaType::audio, [&granted](bool answer) { granted = answer; });
    ASSERT_TRUE(waitUntil(loop_, [&granted] { return granted.has_value(); }));
    EXPECT_TRUE(*granted);
}

TEST_F(PipeWireCaptureSystemTest, InASandboxTheCameraNeedsThePortalsLeaveAndTheMicrophoneDoesNot) {
    const test::BareBus bus;
    test::ScriptedCameraPortal portal;
    CameraPortal access{loop_, [](std::string_view) {
                        }};
    PipeWireCaptureSystem system{loop_, server_, log_, children_, &access};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "virt-mic"); }));
    EXPECT_EQ(system.authorizationStatus(MediaType::video), AuthorizationStatus::notDetermined);
    EXPECT_EQ(system.authorizationStatus(MediaType::audio), AuthorizationStatus::authorized);

    std::optional<bool> microphone;
    std::optional<bool> camera;
    system.requestAccess(MediaType::audio, [&](bool granted) { microphone = granted; });
    EXPECT_EQ(microphone, true);
    system.requestAccess(MediaType::video, [&](bool granted) { camera = granted; });
    ASSERT_TRUE(waitUntil(loop_, [&] {
        portal.serve();
        return !portal.requests().empty();
    }));
    EXPECT_FALSE(camera);
    portal.respond(0);
    ASSERT_TRUE(waitUntil(loop_, [&] { return camera.has_value(); }));
    EXPECT_EQ(camera, true);
    EXPECT_EQ(system.authorizationStatus(MediaType::video), AuthorizationStatus::authorized);
}

/// Not a test of its own: what the next test runs in a session whose server it takes away.
TEST_F(PipeWireCaptureSystemTest, DISABLED_SurvivesTheServerOfThisSession) {
    PipeWireCaptureSystem system{loop_, server_, log_, children_};
    ASSERT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "virt-mic"); }));
    test::TemporaryFolder folder;
    const auto session = system.makeSession();
    session->addInput(*session->makeInput(system.device("virt-mic")));
    const auto output = session->makeMovieFileOutput();
    session->addOutput(output);
    output->setAudioSettings(CaptureConfiguration::audioSettings);
    std::optional<PlatformError> error;
    const auto observation =
        session->observeRuntimeErrors([&error](std::optional<PlatformError> e) { error = e; });
    session->startRunning();
    output->startRecording(folder.path() / "movie.mov", nullptr);
    ASSERT_TRUE(waitUntil(loop_, [&] { return output->recordedDuration() > Seconds{2}; }));

    // The server that carries this session's folder in its environment, and no other.
    ASSERT_TRUE(test::outputOf(
        "for p in $(pgrep -x pipewire); do"
        " tr '\\0' '\\n' </proc/$p/environ | grep -qxF \"BRINDLE_SESSION=$BRINDLE_SESSION\""
        " && kill -9 $p; done; true"));
    ASSERT_TRUE(waitUntil(loop_, [&error] { return error.has_value(); }));
    EXPECT_EQ(error->description, "the connection to PipeWire was lost");
    ASSERT_TRUE(waitUntil(loop_, [&] { return system.discover(MediaType::audio).empty(); }));
    EXPECT_EQ(system.authorizationStatus(MediaType::audio), AuthorizationStatus::denied);
    output->stopRecording();
    session->stopRunning();
    EXPECT_GT(test::decodedSound(folder.path() / "movie.mov").size(), 48'000U);

    const test::ChildProcess server{{"pipewire"}};
    ASSERT_TRUE(waitUntil(loop_, [&] {
        return system.authorizationStatus(MediaType::audio) == AuthorizationStatus::authorized;
    }));
    const test::TestMicrophone microphone{"new-mic"};
    EXPECT_TRUE(waitUntil(loop_, [&] { return has(system, MediaType::audio, "new-mic"); }));
}

TEST_F(PipeWireCaptureSystemTest, SurvivesTheServer) {
    test::ChildProcess session{
        {BRINDLE_SOURCE_DIR "/scripts/private-session", "--no-camera",
         std::filesystem::read_symlink("/proc/self/exe").string(),
         "--gtest_filter=PipeWireCaptureSystemTest.DISABLED_SurvivesTheServerOfThisSession",
         "--gtest_also_run_disabled_tests"}};
    EXPECT_EQ(session.wait(), 0);
}

} // namespace
} // namespace brindle
