#include "BrindleRecorderLinux/Devices/DeviceDiscovery.hpp"

#include <gtest/gtest.h>

namespace brindle::pipewire {
namespace {

NodeRecord node(std::uint64_t serial, Properties properties) {
    return NodeRecord{
        .serial = serial,
        .id = static_cast<std::uint32_t>(serial),
        .state = NodeState::suspended,
        .properties = std::move(properties)};
}

Properties camera(const std::string& name, const std::string& description) {
    return {
        {"media.class", "Video/Source"},
        {"media.role", "Camera"},
        {"node.name", name},
        {"node.description", description}};
}

Properties with(Properties properties, const Properties& more) {
    for (const auto& [key, value] : more) {
        properties.insert_or_assign(key, value);
    }
    return properties;
}

AudioGraph graphOf(std::vector<NodeRecord> nodes) {
    AudioGraph graph;
    graph.nodes = std::move(nodes);
    return graph;
}

TEST(DeviceDiscovery, ListsCamerasAndMicrophonesByTheirStableNames) {
    const auto devices = discoverDevices(graphOf({
        node(1, camera("v4l2_input.pci-0000_00_14.0-usb-0_1_1.0", "Desk Camera")),
        node(
            2, {{"media.class", "Audio/Source"},
                {"node.name", "alsa_input.usb-Maker_Mic_0123-00.mono-fallback"},
                {"node.description", "Studio Microphone"}}),
    }));
    EXPECT_EQ(
        devices.cameras, (std::vector<CaptureDeviceInfo>{
                             {.uniqueID = "v4l2_input.pci-0000_00_14.0-usb-0_1_1.0",
                              .localizedName = "Desk Camera",
                              .isBuiltIn = false}}));
    EXPECT_EQ(
        devices.microphones, (std::vector<CaptureDeviceInfo>{
                                 {.uniqueID = "alsa_input.usb-Maker_Mic_0123-00.mono-fallback",
                                  .localizedName = "Studio Microphone",
                                  .isBuiltIn = false}}));
}

TEST(DeviceDiscovery, VirtualMicrophonesCountAndLoudspeakersDoNot) {
    const auto devices = discoverDevices(graphOf({
        node(1, {{"media.class", "Audio/Source/Virtual"}, {"node.name", "virt-mic"}}),
        node(2, {{"media.class", "Audio/Sink"}, {"node.name", "virt-speakers"}}),
        node(3, {{"media.class", "Audio/Duplex"}, {"node.name", "headset"}}),
        node(4, {{"media.class", "Stream/Input/Audio"}, {"node.name", "recorder"}}),
    }));
    ASSERT_EQ(devices.microphones.size(), 2U);
    EXPECT_EQ(devices.microphones[0].uniqueID, "virt-mic");
    EXPECT_EQ(devices.microphones[1].uniqueID, "headset");
}

TEST(DeviceDiscovery, OfTwoMicrophonesOfOneNameTheFirstIsListed) {
    const Properties microphone{{"media.class", "Audio/Source"}, {"node.name", "mic"}};
    const auto devices = discoverDevices(graphOf({
        node(1, {{"media.class", "Audio/Sink"}, {"node.name", "mic"}}),
        node(2, with(microphone, {{"node.description", "First"}})),
        node(3, with(microphone, {{"node.description", "Second"}})),
        node(4, with(microphone, {{"node.name", "other"}, {"node.description", "Other"}})),
    }));
    EXPECT_EQ(
        devices.microphones,
        (std::vector<CaptureDeviceInfo>{
            {.uniqueID = "mic", .localizedName = "First", .isBuiltIn = false},
            {.uniqueID = "other", .localizedName = "Other", .isBuiltIn = false}}));
}

TEST(DeviceDiscovery, OfTwoCamerasOfOneNameTheFirstIsListed) {
    const auto devices = discoverDevices(graphOf({
        node(1, camera("cam", "First")),
        node(2, with(camera("cam", "Second"), {{"device.api", "v4l2"}})),
    }));
    EXPECT_EQ(
        devices.cameras, (std::vector<CaptureDeviceInfo>{
                             {.uniqueID = "cam", .localizedName = "First", .isBuiltIn = false}}));
}

TEST(DeviceDiscovery, ACapturedScreenIsNoCamera) {
    const auto devices = discoverDevices(
        graphOf({node(1, {{"media.class", "Video/Source"}, {"node.name", "screen-cast"}})}));
    EXPECT_TRUE(devices.cameras.empty());
    EXPECT_FALSE(devices.defaultCameraID);
}

TEST(DeviceDiscovery, ACameraOfferedThroughTwoInterfacesAppearsOnce) {
    const auto devices = discoverDevices(graphOf({
        node(1, with(camera("v4l2_input.one", "One"), {{"device.devids", "20864"}})),
        node(2, with(camera("libcamera_input.one", "One"), {{"device.devids", "20864"}})),
        node(3, with(camera("v4l2_input.two", "Two"), {{"device.devids", "20865"}})),
    }));
    ASSERT_EQ(devices.cameras.size(), 2U);
    EXPECT_EQ(devices.cameras[0].uniqueID, "v4l2_input.one");
    EXPECT_EQ(devices.cameras[1].uniqueID, "v4l2_input.two");
}

TEST(DeviceDiscovery, TheSessionManagersChoiceIsTheDefaultCamera) {
    AudioGraph graph = graphOf({node(1, camera("one", "One")), node(2, camera("two", "Two"))});
    graph.defaultCameraName = "two";
    EXPECT_EQ(discoverDevices(graph).defaultCameraID, "two");
}

TEST(DeviceDiscovery, WithoutAChoiceTheHighestPriorityIsTheDefaultCamera) {
    const auto devices = discoverDevices(graphOf({
        node(1, with(camera("one", "One"), {{"priority.session", "700"}})),
        node(2, with(camera("two", "Two"), {{"priority.session", "1000"}})),
        node(3, with(camera("three", "Three"), {{"priority.session", "1000"}})),
    }));
    EXPECT_EQ(devices.defaultCameraID, "two");
}

TEST(DeviceDiscovery, AChosenCameraThatIsNotThereIsNotTheDefault) {
    AudioGraph graph = graphOf({node(1, camera("one", "One"))});
    graph.defaultCameraName = "unplugged";
    EXPECT_EQ(discoverDevices(graph).defaultCameraID, "one");
}

TEST(DeviceDiscovery, DevicesOfTheBoardAreBuiltIn) {
    const auto devices = discoverDevices(graphOf({
        node(1, {{"media.class", "Audio/Source"}, {"node.name", "board"}, {"device.bus", "pci"}}),
        node(2, {{"media.class", "Audio/Source"}, {"node.name", "usb"}, {"device.bus", "usb"}}),
        node(
            3, {{"media.class", "Audio/Source"},
                {"node.name", "headset"},
                {"device.bus", "pci"},
                {"device.form-factor", "headset"}}),
        node(4, with(camera("lid", "Lid"), {{"api.libcamera.location", "front"}})),
        node(5, with(camera("outside", "Outside"), {{"api.libcamera.location", "external"}})),
    }));
    EXPECT_TRUE(devices.microphones[0].isBuiltIn);
    EXPECT_FALSE(devices.microphones[1].isBuiltIn);
    EXPECT_FALSE(devices.microphones[2].isBuiltIn);
    EXPECT_TRUE(devices.cameras[0].isBuiltIn);
    EXPECT_FALSE(devices.cameras[1].isBuiltIn);
}

TEST(DeviceDiscovery, ADeviceIsWhatItsHardwareIs) {
    struct Case {
        const char* what;
        Properties hardware;
        bool isBuiltIn;
    };
    const FixedHardware isFixed = [](std::string_view path) -> std::optional<bool> {
        return path == "/devices/inner" ? std::optional{true} : std::nullopt;
    };
    for (const Case& given :
         {Case{"on the board", {{"device.bus", "pci"}}, true},
          Case{"on USB", {{"device.bus", "usb"}}, false},
          Case{
              "on an inner port",
              {{"device.bus", "usb"}, {"device.sysfs.path", "/devices/inner"}},
              true},
          Case{
              "on an outer port",
              {{"device.bus", "usb"}, {"device.sysfs.path", "/devices/outer"}},
              false},
          Case{"by radio", {{"device.bus", "bluetooth"}}, false}, Case{"unknown", {}, false}}) {
        AudioGraph graph = graphOf({node(
            1, {{"media.class", "Audio/Source"}, {"node.name", "source"}, {"device.id", "7"}})});
        graph.devices = {
            {.serial = 8, .id = 8, .properties = {{"device.bus", "pci"}}},
            {.serial = 7, .id = 7, .properties = given.hardware}};
        EXPECT_EQ(discoverDevices(graph, isFixed).microphones.at(0).isBuiltIn, given.isBuiltIn)
            << given.what;
    }
}

/// One camera, offered by the kernel first and then by libcamera, or the other way round.
AudioGraph twiceOffered(const std::string& bus, bool kernelFirst) {
    NodeRecord kernels = node(1, with(camera("v4l2_input.one", "One"), {{"device.id", "12"}}));
    NodeRecord libcameras =
        node(2, with(camera("libcamera_input.one", "One"), {{"device.id", "11"}}));
    AudioGraph graph =
        kernelFirst ? graphOf({kernels, libcameras}) : graphOf({libcameras, kernels});
    graph.devices = {
        {.serial = 11,
         .id = 11,
         .properties =
             {{"device.api", "libcamera"}, {"device.devids", "[ 20864 ]"}, {"device.bus", bus}}},
        {.serial = 12,
         .id = 12,
         .properties = {{"device.api", "v4l2"}, {"device.devids", "20864"}, {"device.bus", bus}}}};
    return graph;
}

TEST(DeviceDiscovery, ALaptopsOwnCameraIsTakenThroughLibcamera) {
    for (const bool kernelFirst : {true, false}) {
        const auto devices = discoverDevices(twiceOffered("pci", kernelFirst));
        ASSERT_EQ(devices.cameras.size(), 1U);
        EXPECT_EQ(devices.cameras[0].uniqueID, "libcamera_input.one");
    }
}

TEST(DeviceDiscovery, ACameraOnUSBIsTakenThroughTheKernel) {
    for (const bool kernelFirst : {true, false}) {
        const auto devices = discoverDevices(twiceOffered("usb", kernelFirst));
        ASSERT_EQ(devices.cameras.size(), 1U);
        EXPECT_EQ(devices.cameras[0].uniqueID, "v4l2_input.one");
    }
}

TEST(DeviceDiscovery, NothingOutsideTheKernelsTreeIsAskedWhetherItIsFixed) {
    EXPECT_EQ(isFixedHardware(""), std::nullopt);
    EXPECT_EQ(isFixedHardware("/etc"), std::nullopt);
    EXPECT_EQ(isFixedHardware("/devices/../../etc"), std::nullopt);
    EXPECT_EQ(isFixedHardware("/devices/no/such/thing"), std::nullopt);
}

TEST(DeviceDiscovery, LongNamesAreCutBetweenCharacters) {
    const auto devices =
        discoverDevices(graphOf({node(1, camera("one", std::string(255, 'x') + "\u00e4\u00f6"))}));
    EXPECT_EQ(devices.cameras.at(0).localizedName, std::string(255, 'x'));
}

TEST(DeviceDiscovery, HostileNamesAreBoundedAndHoldNoControlCharacters) {
    const auto devices = discoverDevices(graphOf({
        node(1, camera("long", std::string(100'000, 'x'))),
        node(2, camera("steering", "Cam\x1b[2J\nera")),
        node(3, camera("", "Without a name")),
    }));
    ASSERT_EQ(devices.cameras.size(), 2U);
    EXPECT_EQ(devices.cameras[0].localizedName.size(), 256U);
    EXPECT_EQ(devices.cameras[1].localizedName, "Cam[2Jera");
}

TEST(DeviceDiscovery, ANodeWithoutADescriptionIsCalledByItsNickOrItsName) {
    const auto devices = discoverDevices(graphOf({
        node(1, {{"media.class", "Audio/Source"}, {"node.name", "plain"}, {"node.nick", "Nick"}}),
        node(2, {{"media.class", "Audio/Source"}, {"node.name", "bare"}}),
    }));
    EXPECT_EQ(devices.microphones[0].localizedName, "Nick");
    EXPECT_EQ(devices.microphones[1].localizedName, "bare");
}

TEST(DeviceDiscovery, KnowsTheKernelsNamesOfItsCameras) {
    AudioGraph graph = graphOf(
        {node(1, with(camera("desk", "Desk Camera"), {{"api.v4l2.path", "/dev/video0"}})),
         node(2, camera("phone", "Phone")),
         node(3, with(camera("other", "Other"), {{"api.v4l2.path", "/dev/video2"}}))});
    EXPECT_EQ(kernelCameras(graph), (std::set<std::string>{"/dev/video0", "/dev/video2"}));
    EXPECT_EQ(kernelCamera(graph, "other"), "/dev/video2");
    EXPECT_EQ(kernelCamera(graph, "phone"), std::nullopt);
    EXPECT_EQ(kernelCamera(graph, "gone"), std::nullopt);
}

TEST(DeviceDiscovery, ACameraThatTheServerUsesIsNotUnused) {
    AudioGraph graph =
        graphOf({node(1, with(camera("desk", "Desk Camera"), {{"api.v4l2.path", "/dev/video0"}}))});
    EXPECT_EQ(unusedKernelCamera(graph, "desk"), "/dev/video0");
    graph.nodes.front().state = NodeState::idle;
    EXPECT_EQ(unusedKernelCamera(graph, "desk"), "/dev/video0");
    graph.nodes.front().state = NodeState::running;
    EXPECT_EQ(unusedKernelCamera(graph, "desk"), std::nullopt);
    EXPECT_EQ(kernelCamera(graph, "desk"), "/dev/video0");
}

} // namespace
} // namespace brindle::pipewire
