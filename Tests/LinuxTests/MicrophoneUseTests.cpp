// Streams as sound servers show them, each with what it has to be taken for.
#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"

#include "BrindleRecorderLinux/PipeWire/PropertyReading.hpp"

#include <gtest/gtest.h>
#include <spa/utils/dict.h>

#include <string>
#include <vector>

namespace brindle::pipewire {
namespace {

constexpr std::uint32_t streamID = 71;
constexpr std::uint32_t otherStreamID = 72;
constexpr std::uint32_t microphoneID = 42;
constexpr std::uint32_t virtualMicrophoneID = 43;
constexpr std::uint32_t duplexID = 44;
constexpr std::uint32_t speakerID = 37;
constexpr std::uint32_t playerID = 53;
constexpr std::uint32_t cameraID = 49;

NodeRecord node(std::uint32_t id, std::string mediaClass, NodeState state = NodeState::running) {
    return {id, id, state, {{"media.class", std::move(mediaClass)}}};
}

struct Situation {
    std::string what;
    Properties properties{};
    NodeState state = NodeState::running;
    std::vector<std::uint32_t> origins{microphoneID};
    bool isLinkActive = true;
    std::string mediaClass = "Stream/Input/Audio";
};

AudioGraph graphOf(const Situation& situation) {
    AudioGraph graph;
    graph.nodes = {
        node(speakerID, "Audio/Sink"),
        node(microphoneID, "Audio/Source"),
        node(virtualMicrophoneID, "Audio/Source/Virtual"),
        node(duplexID, "Audio/Duplex"),
        node(cameraID, "Video/Source"),
        node(playerID, "Stream/Output/Audio"),
        node(streamID, situation.mediaClass, situation.state)};
    graph.nodes.back().properties.insert(situation.properties.begin(), situation.properties.end());
    std::uint64_t serial = 100;
    for (const std::uint32_t origin : situation.origins) {
        graph.links.push_back({serial++, origin, streamID, situation.isLinkActive});
    }
    return graph;
}

bool counts(const Situation& situation) {
    const AudioGraph graph = graphOf(situation);
    return recordsFromMicrophone(*nodeWithID(graph, streamID), graph);
}

TEST(MicrophoneUse, CountsRecordingsFromEveryKindOfMicrophone) {
    const std::vector<Situation> situations{
        {"a native recorder", {{"application.name", "pw-record"}, {"media.role", "Music"}}},
        {"Chromium", {{"application.name", "Chromium input"}, {"media.name", "RecordStream"}}},
        {"Firefox, which may not be moved", {{"target.object", "mic"}, {"media.name", "Standup"}}},
        {"Zoom", {{"application.name", "ZOOM VoiceEngine"}, {"media.category", "Manager"}}},
        {"from a virtual microphone", {}, NodeState::running, {virtualMicrophoneID}},
        {"from a headset's duplex node", {}, NodeState::running, {duplexID}},
        {"from the microphone and a speaker", {}, NodeState::running, {speakerID, microphoneID}},
        {"moved from a speaker to the microphone after it was made",
         {{"stream.capture.sink", "true"}}},
        {"asks to be passive", {{"node.passive", "in-follow"}}},
        {"says that it is no meter",
         {{"stream.monitor", "false"},
          {"resample.peaks", "0"},
          {"stream.capture.sink", "no"},
          {"node.virtual", "false"},
          {"node.link-group", ""},
          {"pulse.corked", "false"}}},
    };
    for (const Situation& situation : situations) {
        EXPECT_TRUE(counts(situation)) << situation.what;
    }
}

std::vector<Situation> nonCalls() {
    using enum NodeState;
    return {
        {"a PulseAudio level meter", {{"stream.monitor", "true"}, {"resample.peaks", "true"}}},
        {"a level meter of a newer server", {{"stream.monitor", "1"}}},
        {"a native level meter", {{"resample.peaks", "true"}}},
        {"a level meter of a speaker",
         {{"stream.monitor", "true"}, {"stream.capture.sink", "true"}},
         running,
         {speakerID}},
        {"a recording of what the speaker plays",
         {{"stream.capture.sink", "true"}},
         running,
         {speakerID}},
        {"a recording of what a headset's duplex node plays",
         {{"stream.capture.sink", "true"}},
         running,
         {duplexID}},
        {"moved to a speaker after it was made", {}, running, {speakerID}},
        {"linked to a player directly", {}, running, {playerID}},
        {"linked to a camera", {}, running, {cameraID}},
        {"linked to nothing", {}, running, {}},
        {"linked to a node that is gone", {}, running, {999}},
        {"a link over which nothing passes", {}, running, {microphoneID}, false},
        {"a loop-back", {{"node.link-group", "loopback-16806-12"}, {"node.virtual", "true"}}},
        {"an echo canceller",
         {{"node.link-group", "echo-cancel-16806-13"},
          {"node.virtual", "true"},
          {"node.passive", "true"}}},
        {"a filter chain", {{"node.link-group", "filter-chain-900-11"}}},
        {"the server's own stream", {{"node.virtual", "true"}}},
        {"waiting for a while", {}, idle, {microphoneID}, false},
        {"waiting for longer", {}, suspended, {microphoneID}, false},
        {"opened without ever recording", {}, suspended},
        {"being made", {}, creating},
        {"failed", {}, NodeState::error},
        {"waiting on a server that says so", {{"pulse.corked", "true"}}},
        {"a player", {}, running, {microphoneID}, true, "Stream/Output/Audio"},
        {"a video stream", {}, running, {microphoneID}, true, "Stream/Input/Video"},
        {"a loudspeaker that the microphone is linked to",
         {},
         running,
         {microphoneID},
         true,
         "Audio/Sink"},
        {"without a class", {}, running, {microphoneID}, true, ""},
    };
}

TEST(MicrophoneUse, DoesNotCountWhatOnlyLooksLikeARecording) {
    EXPECT_GE(nonCalls().size(), 15U);
    for (const Situation& situation : nonCalls()) {
        EXPECT_FALSE(counts(situation)) << situation.what;
    }
}

TEST(MicrophoneUse, ALinkIntoAnotherStreamIsNotOurs) {
    AudioGraph graph = graphOf({"unlinked", {}, NodeState::running, {}});
    graph.nodes.push_back(node(otherStreamID, "Stream/Input/Audio"));
    graph.links.push_back({200, microphoneID, otherStreamID, true});
    EXPECT_FALSE(recordsFromMicrophone(*nodeWithID(graph, streamID), graph));
    EXPECT_TRUE(recordsFromMicrophone(*nodeWithID(graph, otherStreamID), graph));
}

TEST(MicrophoneUse, AMicrophoneIsInUseOnlyByARecording) {
    const AudioGraph recording = graphOf({"a recorder"});
    EXPECT_TRUE(isRecordedFrom(*nodeWithID(recording, microphoneID), recording));
    EXPECT_FALSE(isRecordedFrom(*nodeWithID(recording, virtualMicrophoneID), recording));
    for (const Situation& situation : nonCalls()) {
        const AudioGraph graph = graphOf(situation);
        EXPECT_FALSE(isRecordedFrom(*nodeWithID(graph, microphoneID), graph)) << situation.what;
        EXPECT_FALSE(isRecordedFrom(*nodeWithID(graph, duplexID), graph)) << situation.what;
    }
}

TEST(MicrophoneUse, KnowsMicrophonesByTheirClass) {
    for (const char* mediaClass : {"Audio/Source", "Audio/Source/Virtual", "Audio/Duplex"}) {
        EXPECT_TRUE(isMicrophone(node(1, mediaClass))) << mediaClass;
    }
    for (const char* mediaClass :
         {"Audio/Sink", "Video/Source", "Stream/Input/Audio", "Stream/Output/Audio",
          "Audio/SourceX", "audio/source", ""}) {
        EXPECT_FALSE(isMicrophone(node(1, mediaClass))) << mediaClass;
    }
}

ClientProcess processWith(Properties properties) {
    return processOf({1, 1, std::move(properties)});
}

TEST(ClientProcess, ANativeClientIsWhoTheKernelSays) {
    const auto process = processWith(
        {{"pipewire.sec.pid", "16869"},
         {"application.process.id", "4"},
         {"application.process.binary", "pw-cat"}});
    EXPECT_EQ(process.pid, 16869);
    EXPECT_TRUE(process.pidIsCertain);
    EXPECT_EQ(process.binary, "pw-cat");
}

TEST(ClientProcess, APulseAudioClientIsItselfAndNotTheTranslator) {
    const auto process = processWith(
        {{"client.api", "pipewire-pulse"},
         {"pipewire.sec.pid", "16806"},
         {"application.process.id", "16870"}});
    EXPECT_EQ(process.pid, 16870);
    EXPECT_FALSE(process.pidIsCertain);
}

TEST(ClientProcess, ASandboxesOwnNumberingIsNotUsed) {
    const auto zoom = processWith(
        {{"client.api", "pipewire-pulse"},
         {"pipewire.sec.pid", "16806"},
         {"application.process.id", "4"},
         {"pipewire.access.portal.app_id", "us.zoom.Zoom"},
         {"pipewire.access.portal.instance_id", "1734"}});
    EXPECT_EQ(zoom.pid, std::nullopt);
    EXPECT_EQ(zoom.sandboxID, "us.zoom.Zoom");
    EXPECT_EQ(zoom.sandboxInstance, "1734");
    // The kernel translates for a sandboxed client that connects by itself …
    EXPECT_EQ(
        processWith({{"pipewire.sec.pid", "900"},
                     {"application.process.id", "4"},
                     {"pipewire.access", "flatpak"},
                     {"pipewire.access.portal.app_id", "org.a.B"}})
            .pid,
        900);
    // … and names the portal for one that the portal connected.
    EXPECT_EQ(
        processWith({{"pipewire.sec.pid", "901"},
                     {"pipewire.access", "portal"},
                     {"pipewire.access.portal.app_id", "org.a.B"}})
            .pid,
        std::nullopt);
}

TEST(ClientProcess, RefusesNumbersThatAreNone) {
    for (const char* text : {"", "0", "-4", "4x", "99999999999", " 4", "0x10"}) {
        EXPECT_EQ(
            processWith({{"client.api", "pipewire-pulse"}, {"application.process.id", text}}).pid,
            std::nullopt)
            << text;
    }
}

TEST(PropertyReading, KeepsTheKeysOfTheRulesAndBoundsTheirValues) {
    const std::string endless(100'000, 'x');
    const spa_dict_item items[] = {
        {"media.name", endless.c_str()},
        {"media.class", "Audio/Source"},
        {"unknown.key", "1"},
        {"node.name", nullptr}};
    const spa_dict dictionary{0, 4, items};
    const Properties properties = propertiesOf(&dictionary);
    EXPECT_EQ(properties.size(), 2U);
    EXPECT_EQ(property(properties, "media.class"), "Audio/Source");
    EXPECT_EQ(property(properties, "media.name"), std::string(1024, 'x'));
    EXPECT_TRUE(propertiesOf(nullptr).empty());
}

TEST(PropertyReading, ReadsTheNameOfADefaultDevice) {
    EXPECT_EQ(nodeNameIn(R"({"name":"alsa_input.usb"})"), "alsa_input.usb");
    EXPECT_EQ(nodeNameIn(R"({ "name": "a", "more": 1 })"), "a");
    for (const char* text :
         {"", "alsa_input.usb", "{}", R"({"name":5})", R"(["name"])", "{\"name\""}) {
        EXPECT_EQ(nodeNameIn(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace brindle::pipewire
