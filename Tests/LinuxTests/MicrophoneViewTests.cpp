#include "BrindleRecorderLinux/Sound/MicrophoneView.hpp"

#include "BrindleRecorderLinux/Sound/PlaybackAsDefault.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace brindle::pipewire {
namespace {

using testing::ElementsAre;

ClientRecord nativeClient(std::uint64_t serial, std::uint32_t id, int pid) {
    return {
        serial,
        id,
        {{"pipewire.sec.pid", std::to_string(pid)}, {"application.process.binary", "recorder"}}};
}

ClientRecord pulseClient(std::uint64_t serial, std::uint32_t id, int pid) {
    return {
        serial,
        id,
        {{"client.api", "pipewire-pulse"},
         {"application.process.id", std::to_string(pid)},
         {"application.process.binary", "recorder"}}};
}

NodeRecord streamOf(std::uint32_t id, std::uint32_t client) {
    return {
        id,
        id,
        NodeState::running,
        {{"media.class", "Stream/Input/Audio"}, {"client.id", std::to_string(client)}}};
}

const NodeRecord microphone{
    42, 42, NodeState::running, {{"media.class", "Audio/Source"}, {"node.name", "mic"}}};

TEST(MicrophoneView, AProcessIsOneObjectHoweverManyClientsItHas) {
    AudioGraph graph;
    graph.clients = {nativeClient(1, 31, 500), nativeClient(2, 33, 600), pulseClient(3, 34, 500)};
    graph.nodes = {microphone, streamOf(71, 34)};
    graph.links = {{1, 42, 71, true}};
    ObjectNumbers numbers;
    const auto view = viewOf(&graph, numbers);
    ASSERT_EQ(view.processes.size(), 2U);
    EXPECT_EQ(view.processes[0].process.pid, 500);
    EXPECT_TRUE(view.processes[0].process.pidIsCertain);
    EXPECT_TRUE(view.processes[0].isRecording);
    EXPECT_EQ(view.processes[0].clients.size(), 2U);
    EXPECT_EQ(view.processes[1].process.pid, 600);
    EXPECT_FALSE(view.processes[1].isRecording);
}

TEST(MicrophoneView, ClientsThatTellNothingStayApart) {
    AudioGraph graph;
    graph.clients = {{1, 31, {}}, {2, 33, {}}};
    ObjectNumbers numbers;
    EXPECT_EQ(viewOf(&graph, numbers).processes.size(), 2U);
}

TEST(MicrophoneView, TwoRunningCopiesOfASandboxedApplicationStayApart) {
    const auto sandboxed = [](std::uint64_t serial, std::uint32_t id, std::string instance) {
        return ClientRecord{
            serial,
            id,
            {{"client.api", "pipewire-pulse"},
             {"pipewire.access.portal.app_id", "us.zoom.Zoom"},
             {"pipewire.access.portal.instance_id", std::move(instance)}}};
    };
    AudioGraph graph;
    graph.clients = {sandboxed(1, 31, "a"), sandboxed(2, 33, "b"), sandboxed(3, 34, "a")};
    ObjectNumbers numbers;
    EXPECT_EQ(viewOf(&graph, numbers).processes.size(), 2U);
}

TEST(MicrophoneView, ANumberStaysWithItsObjectAndIsNeverGivenAgain) {
    AudioGraph graph;
    graph.clients = {nativeClient(1, 31, 500)};
    graph.nodes = {microphone};
    ObjectNumbers numbers;
    const auto first = viewOf(&graph, numbers);
    EXPECT_EQ(viewOf(&graph, numbers).processes[0].id, first.processes[0].id);
    EXPECT_EQ(viewOf(&graph, numbers).devices[0].id, first.devices[0].id);
    EXPECT_NE(first.processes[0].id, first.devices[0].id);

    // A restarted server begins to count anew: the same serials are other objects.
    viewOf(nullptr, numbers);
    const auto later = viewOf(&graph, numbers);
    EXPECT_GT(later.processes[0].id, first.devices[0].id);
    EXPECT_GT(later.devices[0].id, first.devices[0].id);
}

TEST(MicrophoneView, AProcessIsTheSameAsLongAsOneOfItsClientsStays) {
    AudioGraph graph;
    graph.clients = {nativeClient(1, 31, 500), nativeClient(2, 32, 500)};
    ObjectNumbers numbers;
    const auto before = viewOf(&graph, numbers).processes.at(0).id;
    graph.clients = {nativeClient(2, 32, 500), nativeClient(3, 33, 500)};
    EXPECT_EQ(viewOf(&graph, numbers).processes.at(0).id, before);
    graph.clients = {nativeClient(3, 33, 500)};
    EXPECT_EQ(viewOf(&graph, numbers).processes.at(0).id, before);
}

TEST(MicrophoneView, AProcessNumberThatIsUsedAgainBelongsToAnotherProcess) {
    AudioGraph graph;
    graph.clients = {nativeClient(1, 31, 500)};
    ObjectNumbers numbers;
    const auto before = viewOf(&graph, numbers).processes.at(0).id;
    // The one has gone and the other has come between two looks, and calls itself the same.
    graph.clients = {nativeClient(2, 31, 500)};
    EXPECT_NE(viewOf(&graph, numbers).processes.at(0).id, before);
}

TEST(MicrophoneView, TheDefaultDeviceIsTheMicrophoneOfThatName) {
    AudioGraph graph;
    graph.nodes = {
        {37, 37, NodeState::idle, {{"media.class", "Audio/Sink"}, {"node.name", "speakers"}}},
        microphone};
    ObjectNumbers numbers;
    EXPECT_FALSE(viewOf(&graph, numbers).defaultDevice);
    graph.defaultSourceName = "mic";
    const auto view = viewOf(&graph, numbers);
    ASSERT_TRUE(view.defaultDevice);
    EXPECT_EQ(view.device(*view.defaultDevice)->uniqueID, "mic");
    graph.defaultSourceName = "speakers";
    EXPECT_FALSE(viewOf(&graph, numbers).defaultDevice);
    graph.defaultSourceName = "unplugged";
    EXPECT_FALSE(viewOf(&graph, numbers).defaultDevice);
}

TEST(MicrophoneView, ALoudspeakersMonitorIsNoDefaultAndIsTold) {
    AudioGraph graph;
    graph.nodes = {
        microphone,
        {50,
         50,
         NodeState::running,
         {{"media.class", "Audio/Sink"},
          {"node.name", "auto_null"},
          {"node.description", "Dummy Output"}}}};
    for (const char* name : {"auto_null", "auto_null.monitor"}) {
        graph.defaultSourceName = name;
        ObjectNumbers numbers;
        EXPECT_FALSE(viewOf(&graph, numbers).defaultDevice) << name;
        EXPECT_EQ(playbackAsDefault(graph), "Dummy Output") << name;
    }
    graph.defaultSourceName = "mic";
    EXPECT_EQ(playbackAsDefault(graph), std::nullopt);
    graph.defaultSourceName = "gone";
    EXPECT_EQ(playbackAsDefault(graph), std::nullopt);
    graph.defaultSourceName.reset();
    EXPECT_EQ(playbackAsDefault(graph), std::nullopt);
}

TEST(MicrophoneView, OfTwoMicrophonesOfOneNameTheFirstIsTheDefault) {
    NodeRecord twin = microphone;
    twin.serial = twin.id = 43;
    AudioGraph graph;
    graph.nodes = {microphone, twin};
    graph.defaultSourceName = "mic";
    ObjectNumbers numbers;
    const auto view = viewOf(&graph, numbers);
    ASSERT_EQ(view.devices.size(), 1U);
    EXPECT_EQ(view.defaultDevice, view.devices.front().id);
    graph.nodes = {twin};
    EXPECT_NE(viewOf(&graph, numbers).defaultDevice, view.defaultDevice);
}

TEST(MicrophoneView, WhoRecordsFromATwinIsRecording) {
    NodeRecord twin = microphone;
    twin.serial = twin.id = 43;
    AudioGraph graph;
    graph.clients = {nativeClient(1, 31, 500)};
    graph.nodes = {microphone, twin, streamOf(71, 31)};
    graph.links = {{1, 43, 71, true}};
    ObjectNumbers numbers;
    const auto view = viewOf(&graph, numbers);
    ASSERT_EQ(view.processes.size(), 1U);
    EXPECT_TRUE(view.processes.front().isRecording);
}

TEST(MicrophoneView, IsEmptyWithoutAServer) {
    ObjectNumbers numbers;
    const auto view = viewOf(nullptr, numbers);
    EXPECT_FALSE(view.isAvailable);
    EXPECT_TRUE(view.processes.empty());
    EXPECT_FALSE(view.defaultDevice);
}

} // namespace
} // namespace brindle::pipewire
