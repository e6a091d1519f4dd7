// Servers that come late, go and come again, each test with servers of its own.
#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"

#include "BrindleRecorderLinux/Devices/DeviceDiscovery.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/PulseAudioTraces.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/FakeProc.hpp"
#include "LinuxTests/SoundServerView.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/ManualMainLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::pipewire {
namespace {

using testing::ElementsAre;

class AudioServerTest : public testing::Test {
  protected:
    AudioServerTest() {
        std::filesystem::create_directories(runtimeFolder());
        std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::filesystem::path runtimeFolder() const { return proc_.folder() / "runtime"; }
    [[nodiscard]] AudioServer::Options options() const {
        return {
            .remote = runtimeFolder() / "pipewire-0",
            .runtimeFolder = runtimeFolder(),
            .procFolder = proc_.folder()};
    }
    [[nodiscard]] ChildProcess::Setting inSession() const {
        return {.environment = {{"XDG_RUNTIME_DIR", runtimeFolder()}}};
    }
    [[nodiscard]] std::unique_ptr<ChildProcess> startServer() const {
        return std::make_unique<ChildProcess>(
            "pipewire", std::vector<std::string>{"pipewire"}, inSession());
    }
    [[nodiscard]] int addMicrophone() const {
        return runToEnd(
            {"pw-cli", "create-node", "adapter",
             "{ factory.name=support.null-audio-sink node.name=late-mic "
             "media.class=Audio/Source/Virtual object.linger=true audio.position=[MONO] }"},
            inSession());
    }
    void pulseAudioRunsAs(int pid) const {
        proc_.add({.pid = pid, .executable = "/usr/bin/pulseaudio"});
        std::filesystem::create_directories(runtimeFolder() / "pulse");
        std::ofstream{runtimeFolder() / "pulse" / "pid"} << pid << '\n';
    }
    void watch() {
        server_ = std::make_unique<AudioServer>(
            loop_, pipeWire_.get(), options(),
            [this](AudioServerState state) { states_.push_back(state); });
        changed_ = server_->observe([this] { ++changes_; });
    }
    [[nodiscard]] bool becomes(AudioServerState state) {
        return waitUntil(loop_, [&] { return server_->state() == state; });
    }

    FakeProc proc_;
    EventLoop loop_;
    pipewire::PipeWireOnLoop pipeWire_{loop_};
    std::vector<AudioServerState> states_;
    int changes_ = 0;
    std::unique_ptr<AudioServer> server_;
    std::unique_ptr<Observation> changed_;
};

TEST_F(AudioServerTest, WaitsForALateServerAndFollowsItsEndAndReturn) {
    using enum AudioServerState;
    watch();
    EXPECT_EQ(server_->state(), connecting);
    ASSERT_TRUE(becomes(unreachable));
    EXPECT_FALSE(server_->graph());

    auto first = startServer();
    ASSERT_TRUE(becomes(withoutAudio));
    EXPECT_TRUE(server_->graph());
    ASSERT_EQ(addMicrophone(), 0);
    ASSERT_TRUE(becomes(serving));

    first->signal(SIGKILL);
    ASSERT_TRUE(becomes(unreachable));
    EXPECT_FALSE(server_->graph());
    first.reset();

    const auto second = startServer();
    ASSERT_TRUE(becomes(withoutAudio));
    ASSERT_EQ(addMicrophone(), 0);
    ASSERT_TRUE(becomes(serving));
    EXPECT_THAT(
        states_,
        ElementsAre(unreachable, withoutAudio, serving, unreachable, withoutAudio, serving));
}

TEST_F(AudioServerTest, PermitsTwoMicrophonesOfOneNameWhichAreOneDevice) {
    const auto server = startServer();
    watch();
    ASSERT_TRUE(becomes(AudioServerState::withoutAudio));
    ASSERT_EQ(addMicrophone(), 0);
    ASSERT_EQ(addMicrophone(), 0);
    const auto isMicrophoneNode = [](const NodeRecord& node) {
        return property(node.properties, "node.name") == "late-mic";
    };
    ASSERT_TRUE(waitUntil(loop_, [&] {
        const auto graph = server_->graph();
        return graph && std::ranges::count_if(graph->nodes, isMicrophoneNode) == 2;
    }));
    EXPECT_EQ(discoverDevices(*server_->graph()).microphones.size(), 1U);
}

TEST_F(AudioServerTest, SaysOnceThatNoServerAnswersHoweverOftenItTries) {
    watch();
    ASSERT_TRUE(becomes(AudioServerState::unreachable));
    ASSERT_TRUE(waitUntil(loop_, [&] { return changes_ >= 3; })); // each attempt that failed
    EXPECT_THAT(states_, ElementsAre(AudioServerState::unreachable));
}

TEST_F(AudioServerTest, TriesAgainLaterAndLaterButNeverLaterThanTwoSeconds) {
    using namespace std::chrono_literals;
    test::ManualMainLoop time;
    int attempts = 0;
    const AudioServer server{time, pipeWire_.get(), options()};
    const auto changed = server.observe([&] { ++attempts; });
    const auto attemptsAfter = [&](std::chrono::milliseconds pause) {
        attempts = 0;
        time.advance(pause);
        return attempts;
    };
    EXPECT_EQ(attemptsAfter(0ms), 1);
    for (const auto pause : {100ms, 200ms, 400ms, 800ms, 1600ms, 2000ms, 2000ms}) {
        EXPECT_EQ(attemptsAfter(pause - 1ms), 0) << pause.count();
        EXPECT_EQ(attemptsAfter(1ms), 1) << pause.count();
    }
    EXPECT_EQ(attemptsAfter(1h), 1800);
}

TEST_F(AudioServerTest, TellsADesktopWhoseSoundGoesThroughPulseAudioApart) {
    pulseAudioRunsAs(77);
    watch();
    ASSERT_TRUE(becomes(AudioServerState::pulseAudio));

    // PipeWire beside it, for cameras and screens only, changes nothing …
    const auto videoOnly = startServer();
    ASSERT_TRUE(waitUntil(loop_, [&] { return server_->graph() != nullptr; }));
    EXPECT_EQ(server_->state(), AudioServerState::pulseAudio);
    // … until sound goes through it.
    ASSERT_EQ(addMicrophone(), 0);
    ASSERT_TRUE(becomes(AudioServerState::serving));
}

TEST_F(AudioServerTest, MayGoWhileItWaitsToTryAgain) {
    watch();
    ASSERT_TRUE(becomes(AudioServerState::unreachable));
    server_.reset();
    const auto server = startServer();
    changes_ = 0;
    bool passed = false;
    const auto timer = loop_.after(std::chrono::milliseconds{300}, [&] { passed = true; });
    ASSERT_TRUE(waitUntil(loop_, [&] { return passed; }));
    EXPECT_EQ(changes_, 0);
}

TEST(PulseAudioTraces, OnlyARunningPulseAudioCounts) {
    const FakeProc proc;
    const auto writePid = [&](const std::string& text) {
        std::filesystem::create_directories(proc.folder() / "pulse");
        std::ofstream{proc.folder() / "pulse" / "pid"} << text;
    };
    proc.add({.pid = 70, .executable = "/usr/bin/pulseaudio"});
    proc.add({.pid = 71, .executable = "/usr/bin/pipewire-pulse"});
    const auto runs = [&] {
        return pulseAudioRuns(proc.folder(), proc.folder());
    };
    EXPECT_FALSE(runs());
    writePid("70\n");
    EXPECT_TRUE(runs());
    for (const char* text : {"71\n", "72\n", "", "x", "-70", "0"}) {
        writePid(text);
        EXPECT_FALSE(runs()) << text;
    }
}

/// A whole private session inside of ours, whose servers can be ended and started again.
class RestartedSessionTest : public testing::Test {
  protected:
    void SetUp() override {
        if (std::getenv("BRINDLE_SESSION") == nullptr) {
            GTEST_SKIP() << "needs scripts/private-session around the tests";
        }
    }
    [[nodiscard]] std::filesystem::path sessionFolder() const { return temporary_.folder() / "s"; }
    [[nodiscard]] std::filesystem::path runtimeFolder() const {
        return sessionFolder() / "runtime";
    }
    [[nodiscard]] std::unique_ptr<ChildProcess> startSession() const {
        const std::string script = BRINDLE_SOURCE_DIR "/scripts/private-session";
        return std::make_unique<ChildProcess>(
            script,
            std::vector<std::string>{
                script, "--no-camera", "--folder", sessionFolder(), "sleep", "600"},
            ChildProcess::Setting{.isQuiet = false});
    }
    [[nodiscard]] std::unique_ptr<ChildProcess> startRecorder() const {
        return std::make_unique<ChildProcess>(
            "pw-record", std::vector<std::string>{"pw-record", "/dev/null"},
            ChildProcess::Setting{.environment = {{"XDG_RUNTIME_DIR", runtimeFolder()}}});
    }

    FakeProc temporary_;
};

/// What an earlier session left behind would end it half-way, after its server has been seen.
TEST_F(RestartedSessionTest, ASessionIsNotStartedInAFolderThatIsInUse) {
    std::filesystem::create_directories(sessionFolder());
    std::ofstream{sessionFolder() / "tone.wav"} << "an earlier session's";
    const std::string script = BRINDLE_SOURCE_DIR "/scripts/private-session";
    EXPECT_EQ(runToEnd({script, "--no-sound", "--folder", sessionFolder(), "true"}), 2);
    EXPECT_TRUE(std::filesystem::exists(sessionFolder() / "tone.wav"));
    EXPECT_FALSE(std::filesystem::exists(sessionFolder() / "logs"));
}

TEST_F(RestartedSessionTest, NobodyRecordsWhileTheServerIsGone) {
    EventLoop loop;
    const pipewire::PipeWireOnLoop pipeWire{loop};
    const ProcProcessRegistry registry;
    std::vector<AudioServerState> states;
    const AudioServer server{
        loop,
        pipeWire.get(),
        {.remote = runtimeFolder() / "pipewire-0", .runtimeFolder = runtimeFolder()},
        [&](AudioServerState state) {
            states.push_back(state);
        }};
    PipeWireAudioObjects objects{server, registry};
    const auto recorderObject = [&](pid_t pid) -> std::optional<AudioObjectID> {
        for (const AudioObjectID id : objects.processes().value_or(std::vector<AudioObjectID>{})) {
            if (objects.processIdentifier(id) == pid && objects.isRunningInput(id) == true) {
                return id;
            }
        }
        return std::nullopt;
    };

    int runningChanges = 0;
    std::unique_ptr<Observation> observation;
    std::optional<AudioObjectID> firstObject;
    {
        auto session = startSession();
        ASSERT_TRUE(waitUntil(loop, [&] { return objects.defaultInputDevice().has_value(); }))
            << soundServerView(sessionFolder());
        const auto recorder = startRecorder();
        ASSERT_TRUE(waitUntil(loop, [&] { return recorderObject(recorder->pid()).has_value(); }))
            << soundServerView(sessionFolder());
        firstObject = recorderObject(recorder->pid());
        observation = objects.observeRunningInput(*firstObject, [&] { ++runningChanges; });
        session.reset();
        std::filesystem::remove_all(sessionFolder());
        ASSERT_TRUE(waitUntil(loop, [&] { return !objects.processes().has_value(); }))
            << soundServerView(sessionFolder());
        EXPECT_EQ(objects.isRunningInput(*firstObject), std::nullopt);
        EXPECT_EQ(objects.defaultInputDevice(), std::nullopt);
        EXPECT_EQ(runningChanges, 1);
        EXPECT_EQ(states.back(), AudioServerState::unreachable);
    }
    const auto session = startSession();
    ASSERT_TRUE(waitUntil(loop, [&] { return objects.defaultInputDevice().has_value(); }))
        << soundServerView(sessionFolder());
    const auto recorder = startRecorder();
    ASSERT_TRUE(waitUntil(loop, [&] { return recorderObject(recorder->pid()).has_value(); }))
        << soundServerView(sessionFolder());
    EXPECT_NE(recorderObject(recorder->pid()), firstObject);
    EXPECT_EQ(server.state(), AudioServerState::serving);
}

} // namespace
} // namespace brindle::pipewire
