#include "BrindleRecorderLinux/PipeWire/DeviceDiscovery.hpp"

#include "BrindleRecorderLinux/PipeWire/MicrophoneUse.hpp"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>

namespace brindle::pipewire {

namespace {

constexpr std::size_t longestName = 256;

bool isCamera(const NodeRecord& node) {
    // A captured screen is a source of pictures too, but not in the role of a camera.
    return property(node.properties, "media.class") == "Video/Source" &&
           property(node.properties, "media.role") == "Camera";
}

std::string_view
firstPresent(const Properties& properties, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (const auto value = property(properties, key); !value.empty()) {
            return value;
        }
    }
    return {};
}

/// Names come from firmware and from other programs: without control characters and not endless.
std::string readableName(std::string_view name) {
    std::string readable;
    for (const char character : name.substr(0, longestName)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            readable += character;
        }
    }
    return readable;
}

/// Sound chips on the board and cameras that say they face the user or are built in.
bool isBuiltIn(const Properties& properties) {
    const auto formFactor = firstPresent(properties, {"device.form-factor", "device.form_factor"});
    if (!formFactor.empty()) {
        return formFactor == "internal";
    }
    const auto location = property(properties, "api.libcamera.location");
    if (!location.empty()) {
        return location == "front" || location == "back";
    }
    return property(properties, "device.bus") == "pci";
}

CaptureDeviceInfo deviceInfo(const NodeRecord& node) {
    const Properties& properties = node.properties;
    return CaptureDeviceInfo{
        .uniqueID = std::string{property(properties, "node.name")},
        .localizedName =
            readableName(firstPresent(properties, {"node.description", "node.nick", "node.name"})),
        .isBuiltIn = isBuiltIn(properties),
    };
}

/// What is the same for every interface through which one camera is offered; empty where nothing
/// tells.
std::string_view hardwareOf(const Properties& properties) {
    return firstPresent(properties, {"device.devids", "api.v4l2.path"});
}

int sessionPriority(const NodeRecord& node) {
    const auto text = property(node.properties, "priority.session");
    int priority = 0;
    std::from_chars(text.data(), text.data() + text.size(), priority);
    return priority;
}

std::vector<const NodeRecord*> camerasOf(const AudioGraph& graph) {
    std::vector<const NodeRecord*> cameras;
    std::set<std::string_view> seen;
    for (const NodeRecord& node : graph.nodes) {
        if (!isCamera(node) || property(node.properties, "node.name").empty()) {
            continue;
        }
        const auto hardware = hardwareOf(node.properties);
        if (hardware.empty() || seen.insert(hardware).second) {
            cameras.push_back(&node);
        }
    }
    return cameras;
}

std::optional<std::string>
defaultCameraID(const AudioGraph& graph, const std::vector<const NodeRecord*>& cameras) {
    const auto chosen = std::ranges::find_if(cameras, [&](const NodeRecord* camera) {
        return property(camera->properties, "node.name") == graph.defaultCameraName;
    });
    const auto best = chosen != cameras.end()
                          ? chosen
                          : std::ranges::max_element(cameras, {}, [](const NodeRecord* camera) {
                                return sessionPriority(*camera);
                            });
    return best == cameras.end()
               ? std::nullopt
               : std::optional{std::string{property((*best)->properties, "node.name")}};
}

} // namespace

DiscoveredDevices discoverDevices(const AudioGraph& graph) {
    DiscoveredDevices devices;
    const auto cameras = camerasOf(graph);
    for (const NodeRecord* camera : cameras) {
        devices.cameras.push_back(deviceInfo(*camera));
    }
    devices.defaultCameraID = defaultCameraID(graph, cameras);
    for (const NodeRecord& node : graph.nodes) {
        if (isMicrophone(node) && !property(node.properties, "node.name").empty()) {
            devices.microphones.push_back(deviceInfo(node));
        }
    }
    return devices;
}

} // namespace brindle::pipewire
