// Real programs at the real servers of a private session: who counts as recording, and as whom.
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/MovieInspection.hpp"
#include "LinuxTests/SoundServerView.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spa/param/audio/format-utils.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace brindle {
namespace {

using pipewire::AudioServer;
using pipewire::AudioServerState;
using testing::IsSupersetOf;

/// A recording stream of this very process.
class OwnStream {
  public:
    explicit OwnStream(pw_loop* loop)
        : stream_{pw_stream_new_simple(
              loop, "own stream",
              pw_properties_new(
                  PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", nullptr),
              &events(), this)} {
        std::uint8_t buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = 48000;
        format.channels = 1;
        const spa_pod* parameter =
            spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        pw_stream_connect(
            stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS),
            &parameter, 1);
    }

  private:
    static const pw_stream_events& events() {
        static const pw_stream_events callbacks = [] {
            pw_stream_events made{};
            made.version = PW_VERSION_STREAM_EVENTS;
            made.process = [](void* self) {
                pw_stream* const stream = static_cast<OwnStream*>(self)->stream_.get();
                if (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream)) {
                    pw_stream_queue_buffer(stream, buffer);
                }
            };
            return made;
        }();
        return callbacks;
    }

    std::unique_ptr<pw_stream, Releaser<pw_stream_destroy>> stream_;
};

class PipeWireAudioObjectsTest : public testing::Test {
  protected:
    void SetUp() override {
        if (std::getenv("BRINDLE_SESSION") == nullptr) {
            GTEST_SKIP() << "needs the servers of scripts/private-session";
        }
        folder_ = std::filesystem::path{std::getenv("BRINDLE_SESSION")} / "audio-objects";
        std::filesystem::create_directories(folder_);
        server_ = std::make_unique<AudioServer>(
            loop_, pipeWire_.get(), AudioServer::Options::ofThisSession(),
            [this](AudioServerState state) { states_.push_back(state); });
        objects_ = std::make_unique<PipeWireAudioObjects>(*server_, registry_);
        ASSERT_TRUE(serverTakesAsDefault("virt-mic")) << soundServerView();
        ASSERT_TRUE(waitUntil(loop_, [&] { return defaultName() == "virt-mic"; }))
            << soundServerView();
        ASSERT_TRUE(waitUntil(loop_, [&] { return recordingIdentifiers().empty(); }));
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    [[nodiscard]] std::optional<std::string> defaultName() const {
        const auto device = objects_->defaultInputDevice();
        return device ? objects_->deviceUniqueID(*device) : std::nullopt;
    }
    [[nodiscard]] std::vector<AudioObjectID> recording() const {
        std::vector<AudioObjectID> found;
        for (const AudioObjectID id :
             objects_->processes().value_or(std::vector<AudioObjectID>{})) {
            if (objects_->isRunningInput(id).value_or(false)) {
                found.push_back(id);
            }
        }
        return found;
    }
    [[nodiscard]] std::multiset<std::string> recordingIdentifiers() const {
        std::multiset<std::string> identifiers;
        for (const AudioObjectID id : recording()) {
            identifiers.insert(objects_->bundleIdentifier(id).value_or("nothing"));
        }
        return identifiers;
    }
    [[nodiscard]] std::optional<AudioObjectID> objectOf(pid_t pid) const {
        for (const AudioObjectID id :
             objects_->processes().value_or(std::vector<AudioObjectID>{})) {
            if (objects_->processIdentifier(id) == pid) {
                return id;
            }
        }
        return std::nullopt;
    }
    [[nodiscard]] bool records(pid_t pid) const {
        const auto object = objectOf(pid);
        return object && objects_->isRunningInput(*object) == true;
    }

    /// The path of a copy of the program under another name.
    std::string copyOf(const std::filesystem::path& program, const std::string& name) const {
        const auto copy = folder_ / name;
        std::filesystem::copy_file(std::filesystem::canonical(program), copy);
        return copy;
    }
    [[nodiscard]] std::string
    linkTo(const std::filesystem::path& program, const std::string& name) const {
        const auto link = folder_ / name;
        std::filesystem::create_symlink(std::filesystem::canonical(program), link);
        return link;
    }
    [[nodiscard]] std::string outputFile(const std::string& name) const {
        return folder_ / (name + ".wav");
    }

    /// The server's own view, to see that something which must not count is really running.
    [[nodiscard]] bool
    serverHasRunningInput(const std::string& key, const std::string& value) const {
        const auto graph = server_->graph();
        return graph &&
               std::any_of(graph->nodes.begin(), graph->nodes.end(), [&](const auto& node) {
                   return pipewire::property(node.properties, "media.class") ==
                              "Stream/Input/Audio" &&
                          node.state == pipewire::NodeState::running &&
                          pipewire::property(node.properties, key) == value;
               });
    }
    /// Makes that microphone the default in the server's own words. Nobody promises that one
    /// request is enough: the session manager chooses anew whenever devices come and go.
    bool serverTakesAsDefault(const std::string& name) {
        const auto isNamed = [&name] {
            const auto said = test::outputOf("pw-metadata 0 default.audio.source");
            return said && said->find('"' + name + '"') != std::string::npos;
        };
        for (int attempt = 0; attempt < 10 && !isNamed(); ++attempt) {
            runToEnd({"pactl", "set-default-source", name});
            waitUntil(loop_, isNamed, std::chrono::seconds{6});
        }
        return isNamed();
    }

    /// Starts a recorder that must count, after something that must not. What the server told
    /// before is known by the time that it counts, since the server tells in order.
    void expectOnlyAReferenceRecorderCounts() {
        const ChildProcess reference{
            "pw-record", {"pw-record", "--target", "virt-mic", outputFile("reference")}};
        ASSERT_TRUE(waitUntil(loop_, [&] { return records(reference.pid()); }));
        EXPECT_EQ(recordingIdentifiers(), std::multiset<std::string>{"pw-cat"});
    }

    std::filesystem::path folder_;
    EventLoop loop_;
    pipewire::PipeWireOnLoop pipeWire_{loop_};
    ProcProcessRegistry registry_;
    std::vector<AudioServerState> states_;
    std::unique_ptr<AudioServer> server_;
    std::unique_ptr<PipeWireAudioObjects> objects_;
};

/// A server of the PulseAudio protocol beside the session's, for the modules of one test. They go
/// with it, since some versions crash when they unload one.
class PulseServer {
  public:
    explicit PulseServer(const std::filesystem::path& folder)
        : folder_{folder}, process_{
                               "pipewire-pulse",
                               {"pipewire-pulse"},
                               {.environment = {{"PULSE_RUNTIME_PATH", folder}}}} {}

    [[nodiscard]] ChildProcess::Setting client() const {
        return {.environment = {{"PULSE_SERVER", "unix:" + (folder_ / "native").string()}}};
    }
    [[nodiscard]] bool isUp() const { return runToEnd({"pactl", "info"}, client()) == 0; }
    [[nodiscard]] bool load(std::vector<std::string> module) const {
        module.insert(module.begin(), {"pactl", "load-module"});
        return runToEnd(module, client()) == 0;
    }

  private:
    std::filesystem::path folder_;
    ChildProcess process_;
};

TEST_F(PipeWireAudioObjectsTest, TellsTheStateOnceAndTheDefaultMicrophone) {
    EXPECT_EQ(states_, std::vector{AudioServerState::serving});
    EXPECT_EQ(server_->state(), AudioServerState::serving);
    EXPECT_TRUE(objects_->canListProcesses());
    EXPECT_EQ(objects_->isRunningSomewhere(*objects_->defaultInputDevice()), false);
    const AudioObjectID noObject = 1'000'000;
    EXPECT_EQ(objects_->isRunningInput(noObject), std::nullopt);
    EXPECT_EQ(objects_->processIdentifier(noObject), std::nullopt);
    EXPECT_EQ(objects_->bundleIdentifier(noObject), std::nullopt);
    EXPECT_EQ(objects_->deviceUniqueID(noObject), std::nullopt);
    EXPECT_EQ(objects_->isRunningSomewhere(noObject), std::nullopt);
    EXPECT_EQ(objects_->observeRunningInput(noObject, [] {}), nullptr);
    EXPECT_EQ(objects_->observeRunningSomewhere(noObject, [] {}), nullptr);
}

TEST_F(PipeWireAudioObjectsTest, ANativeRecorderCountsUntilItEnds) {
    int processChanges = 0;
    int deviceChanges = 0;
    const auto processes = objects_->observeProcesses([&] { ++processChanges; });
    const auto device = objects_->observeRunningSomewhere(
        *objects_->defaultInputDevice(), [&] { ++deviceChanges; });
    {
        const ChildProcess recorder{
            "pw-record", {"pw-record", "--target", "virt-mic", outputFile("native")}};
        ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
        EXPECT_EQ(objects_->bundleIdentifier(*objectOf(recorder.pid())), "pw-cat");
        EXPECT_EQ(objects_->isRunningSomewhere(*objects_->defaultInputDevice()), true);
        EXPECT_GT(processChanges, 0);
        EXPECT_EQ(deviceChanges, 1);
    }
    ASSERT_TRUE(waitUntil(loop_, [&] { return recording().empty(); }));
    ASSERT_TRUE(waitUntil(loop_, [&] { return deviceChanges == 2; }));
}

TEST_F(PipeWireAudioObjectsTest, APulseAudioRecorderCountsAsItsOwnProcess) {
    const ChildProcess recorder{"parecord", {"parecord", outputFile("pulse")}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
    EXPECT_EQ(recordingIdentifiers(), std::multiset<std::string>{"pacat"});
}

TEST_F(PipeWireAudioObjectsTest, AnAlsaRecorderCountsAsItsOwnProcess) {
    const ChildProcess recorder{
        "arecord", {"arecord", "-q", "-D", "pipewire", "-f", "cd", outputFile("alsa")}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
    EXPECT_EQ(recordingIdentifiers(), std::multiset<std::string>{"aplay"});
}

TEST_F(PipeWireAudioObjectsTest, StandInsAreRecognisedUnderTheirNewNames) {
    const std::string copied = copyOf("/usr/bin/pw-cat", "zoom");
    const ChildProcess zoom{copied, {copied, "--record", outputFile("zoom")}};
    const std::string linked = linkTo("/usr/bin/pacat", "telegram-desktop");
    const ChildProcess telegram{linked, {linked, "--record", outputFile("telegram")}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(zoom.pid()) && records(telegram.pid()); }));
    EXPECT_EQ(
        recordingIdentifiers(),
        (std::multiset<std::string>{"us.zoom.xos", "org.telegram.desktop"}));
}

TEST_F(PipeWireAudioObjectsTest, APidThatIsNotTheClientsIsNotBelieved) {
    const ChildProcess recorder{
        "parecord",
        {"parecord", outputFile("sandboxed")},
        {.environment = {
             {"PULSE_PROP", "application.process.id=4 application.process.binary=zoom"}}}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return recording().size() == 1; }));
    EXPECT_EQ(recordingIdentifiers(), std::multiset<std::string>{"us.zoom.xos"});
    EXPECT_EQ(objects_->processIdentifier(recording().front()), std::nullopt);
}

TEST_F(PipeWireAudioObjectsTest, OwnCaptureIsOurOwnProcess) {
    {
        const OwnStream stream{pipeWire_.get()};
        ASSERT_TRUE(waitUntil(loop_, [&] { return records(getpid()); }));
        EXPECT_EQ(recording().size(), 1U);
    }
    ASSERT_TRUE(waitUntil(loop_, [&] { return recording().empty(); }));
}

TEST_F(PipeWireAudioObjectsTest, ALevelMeterDoesNotCount) {
    const ChildProcess meter{
        BRINDLE_PULSE_STREAM,
        {BRINDLE_PULSE_STREAM, "level-meter", "virt-mic"},
        {.hasInput = true}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return serverHasRunningInput("stream.monitor", "true"); }));
    expectOnlyAReferenceRecorderCounts();
}

TEST_F(PipeWireAudioObjectsTest, ARecordingOfTheSpeakerDoesNotCount) {
    const ChildProcess recorder{
        "parecord", {"parecord", "-d", "virt-speakers.monitor", outputFile("speaker")}};
    ASSERT_TRUE(
        waitUntil(loop_, [&] { return serverHasRunningInput("stream.capture.sink", "true"); }));
    expectOnlyAReferenceRecorderCounts();
}

TEST_F(PipeWireAudioObjectsTest, ARecordingOfTheSpeakerCountsOnceTheMicrophoneIsLinkedIn) {
    const ChildProcess recorder{
        BRINDLE_PULSE_STREAM,
        {BRINDLE_PULSE_STREAM, "recording", "virt-speakers.monitor"},
        {.hasInput = true}};
    ASSERT_TRUE(
        waitUntil(loop_, [&] { return serverHasRunningInput("stream.capture.sink", "true"); }));
    EXPECT_FALSE(records(recorder.pid()));
    ASSERT_EQ(runToEnd({"pw-link", "virt-mic:capture_MONO", "pulse-stream:input_FL"}), 0);
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
    ASSERT_EQ(runToEnd({"pw-link", "-d", "virt-mic:capture_MONO", "pulse-stream:input_FL"}), 0);
    ASSERT_TRUE(waitUntil(loop_, [&] { return !records(recorder.pid()); }));
}

TEST_F(PipeWireAudioObjectsTest, AStreamThatIsMovedToTheSpeakerStopsCountingAndBackAgain) {
    const ChildProcess recorder{
        BRINDLE_PULSE_STREAM, {BRINDLE_PULSE_STREAM, "recording", "virt-mic"}, {.hasInput = true}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
    // The session manager can lose a move that comes while it is still linking: then once more.
    const auto moveUntil = [&](const std::string& source, const std::function<bool()>& condition) {
        for (int attempt = 0; attempt < 10; ++attempt) {
            const int status = runToEnd(
                {"sh", "-c",
                 "pactl move-source-output \"$(pactl list short source-outputs | cut -f1)\" " +
                     source});
            if (status == 0 && waitUntil(loop_, condition, std::chrono::seconds{6})) {
                return true;
            }
        }
        return false;
    };
    ASSERT_TRUE(moveUntil("virt-speakers.monitor", [&] { return !records(recorder.pid()); }));
    ASSERT_TRUE(moveUntil("virt-mic", [&] { return records(recorder.pid()); }));
}

TEST_F(PipeWireAudioObjectsTest, ACorkedStreamDoesNotCountUntilItIsUncorked) {
    const ChildProcess recorder{
        BRINDLE_PULSE_STREAM, {BRINDLE_PULSE_STREAM, "recording", "virt-mic"}, {.hasInput = true}};
    ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
    const auto object = objectOf(recorder.pid());
    int changes = 0;
    const auto observation = objects_->observeRunningInput(*object, [&] { ++changes; });
    recorder.tell("cork");
    ASSERT_TRUE(waitUntil(loop_, [&] { return changes == 1; }));
    EXPECT_EQ(objects_->isRunningInput(*object), false);
    recorder.tell("uncork");
    ASSERT_TRUE(waitUntil(loop_, [&] { return changes == 2; }));
    EXPECT_EQ(objects_->isRunningInput(*object), true);
}

TEST_F(PipeWireAudioObjectsTest, ALoopBackDoesNotCount) {
    const PulseServer server{folder_ / "pulse"};
    ASSERT_TRUE(waitUntil(loop_, [&] { return server.isUp(); }));
    ASSERT_TRUE(server.load({"module-loopback", "source=virt-mic", "sink=virt-speakers"}));
    ASSERT_TRUE(waitUntil(loop_, [&] { return serverHasRunningInput("node.virtual", "true"); }));
    expectOnlyAReferenceRecorderCounts();
}

TEST_F(PipeWireAudioObjectsTest, AnEchoCancellerDoesNotCountButWhoeverRecordsFromItDoes) {
    {
        const PulseServer server{folder_ / "pulse"};
        ASSERT_TRUE(waitUntil(loop_, [&] { return server.isUp(); }));
        ASSERT_TRUE(server.load(
            {"module-echo-cancel", "source_master=virt-mic", "sink_master=virt-speakers",
             "source_name=cancelled-mic"}));
        const ChildProcess recorder{
            "pw-record", {"pw-record", "--target", "cancelled-mic", outputFile("cancelled")}};
        ASSERT_TRUE(waitUntil(loop_, [&] { return records(recorder.pid()); }));
        ASSERT_TRUE(waitUntil(
            loop_, [&] { return serverHasRunningInput("node.name", "echo-cancel-capture"); }));
        EXPECT_EQ(recordingIdentifiers(), std::multiset<std::string>{"pw-cat"});
    }
    // The session manager made it the default microphone; later tests find the old one again.
    ASSERT_TRUE(serverTakesAsDefault("virt-mic")) << soundServerView();
    ASSERT_TRUE(waitUntil(loop_, [&] { return defaultName() == "virt-mic"; })) << soundServerView();
}

TEST_F(PipeWireAudioObjectsTest, TheDefaultMicrophoneIsFollowed) {
    int changes = 0;
    const auto observation = objects_->observeDefaultInputDevice([&] { ++changes; });
    {
        const PulseServer server{folder_ / "pulse"};
        ASSERT_TRUE(waitUntil(loop_, [&] { return server.isUp(); }));
        ASSERT_TRUE(server.load(
            {"module-null-sink", "media.class=Audio/Source/Virtual", "sink_name=second-mic"}));
        ASSERT_TRUE(serverTakesAsDefault("second-mic")) << soundServerView();
        ASSERT_TRUE(waitUntil(loop_, [&] { return defaultName() == "second-mic"; }))
            << soundServerView();
        EXPECT_GT(changes, 0);
    }
    ASSERT_TRUE(waitUntil(loop_, [&] { return defaultName() != "second-mic"; }))
        << soundServerView();
    ASSERT_TRUE(serverTakesAsDefault("virt-mic")) << soundServerView();
    ASSERT_TRUE(waitUntil(loop_, [&] { return defaultName() == "virt-mic"; })) << soundServerView();
}

} // namespace
} // namespace brindle
