#include "BrindleRecorderLinux/Devices/DeviceDiscovery.hpp"

#include "BrindleRecorderLinux/Sound/MicrophoneUse.hpp"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <utility>

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

/// A node's properties, and where it has none of that name, those of the hardware behind it.
Properties withHardware(const NodeRecord& node, const AudioGraph& graph) {
    Properties properties = node.properties;
    const std::string_view id = property(properties, "device.id");
    const auto device = std::ranges::find_if(graph.devices, [id](const DeviceRecord& record) {
        return !id.empty() && std::to_string(record.id) == id;
    });
    if (device != graph.devices.end()) {
        properties.insert(device->properties.begin(), device->properties.end());
    }
    return properties;
}

/// Names come from firmware and from other programs: without control characters and not endless,
/// cut between characters.
std::string readableName(std::string_view name) {
    if (name.size() > longestName) {
        constexpr unsigned continuationMask = 0xc0;
        constexpr unsigned continuation = 0x80;
        std::size_t end = longestName;
        while (end > 0 &&
               (static_cast<unsigned char>(name[end]) & continuationMask) == continuation) {
            --end;
        }
        name = name.substr(0, end);
    }
    std::string readable;
    for (const char character : name) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7f) {
            readable += character;
        }
    }
    return readable;
}

/// Sound chips on the board, cameras that say they are built in, and what hangs on an inner USB
/// port.
bool isBuiltIn(const Properties& properties, const FixedHardware& isFixed) {
    const auto formFactor = firstPresent(properties, {"device.form-factor", "device.form_factor"});
    if (!formFactor.empty()) {
        return formFactor == "internal";
    }
    const auto location = property(properties, "api.libcamera.location");
    if (!location.empty()) {
        return location == "front" || location == "back";
    }
    const auto bus = property(properties, "device.bus");
    return bus == "pci" ||
           (bus == "usb" && isFixed(property(properties, "device.sysfs.path")).value_or(false));
}

CaptureDeviceInfo
deviceInfo(const NodeRecord& node, const Properties& properties, const FixedHardware& isFixed) {
    const Properties& own = node.properties;
    return CaptureDeviceInfo{
        .uniqueID = std::string{property(own, "node.name")},
        .localizedName =
            readableName(firstPresent(own, {"node.description", "node.nick", "node.name"})),
        .isBuiltIn = isBuiltIn(properties, isFixed),
    };
}

/// What is the same for every interface through which one camera is offered; empty where nothing
/// tells. The kernel's numbers of a device come alone or in a list like [ 20864 ].
std::set<std::string, std::less<>> hardwareOf(const Properties& properties) {
    std::set<std::string, std::less<>> marks;
    std::string number;
    for (const char character : std::string{property(properties, "device.devids")} + ' ') {
        if (character >= '0' && character <= '9') {
            number += character;
        } else if (!number.empty()) {
            marks.insert(std::exchange(number, {}));
        }
    }
    if (const auto path = property(properties, "api.v4l2.path"); !path.empty()) {
        marks.emplace(path);
    }
    return marks;
}

/// The folder below /sys of the hardware that a camera of the kernel's is a part of.
std::string_view folderOfHardware(std::string_view sysfsPath) {
    if (sysfsPath.starts_with("/devices/virtual/")) {
        return {}; // nobody's hardware
    }
    auto folder = sysfsPath.substr(0, sysfsPath.find("/video4linux/"));
    // Each camera of a USB device is an interface of its own, such as 3-8:1.2.
    const auto slash = folder.rfind('/');
    const auto name = slash == std::string_view::npos ? folder : folder.substr(slash + 1);
    const auto colon = name.find(':');
    if (colon != std::string_view::npos && name.substr(0, colon).find('-') < colon) {
        folder = folder.substr(0, slash);
    }
    return folder;
}

/// By the camera's own place, or by that of a node of the kernel's from which its pictures come.
std::string partOf(const Properties& properties, const AudioGraph& graph) {
    if (const auto path = property(properties, "device.sysfs.path"); !path.empty()) {
        return std::string{folderOfHardware(path)};
    }
    const auto marks = hardwareOf(properties);
    for (const DeviceRecord& device : graph.devices) {
        const auto path = property(device.properties, "device.sysfs.path");
        const auto shared = [&marks](const std::string& mark) {
            return marks.contains(mark);
        };
        if (!path.empty() && std::ranges::any_of(hardwareOf(device.properties), shared)) {
            return std::string{folderOfHardware(path)};
        }
    }
    return {};
}

/// A camera of the kernel's that takes no pictures tells of those that another one takes.
bool isMetadata(const Properties& properties) {
    const auto capabilities = property(properties, "device.capabilities");
    return !capabilities.empty() && capabilities.find(":capture:") == std::string_view::npos;
}

CaptureDeviceInfo
cameraInfo(const NodeRecord& node, const AudioGraph& graph, const FixedHardware& isFixed) {
    const Properties properties = withHardware(node, graph);
    auto info = deviceInfo(node, properties, isFixed);
    info.pictures = isMetadata(properties) ? std::set<PictureKind>{} : node.pictures;
    info.hardware = partOf(properties, graph);
    return info;
}

bool isLibcameras(const Properties& properties) {
    return property(properties, "device.api") == "libcamera";
}

/// The kernel's nodes of a laptop's own camera may deliver raw sensor data, or nothing, where
/// libcamera makes pictures of it. A camera on USB makes its pictures itself.
bool isByTheBetterInterface(const Properties& properties) {
    return isLibcameras(properties) != (property(properties, "device.bus") == "usb");
}

int sessionPriority(const NodeRecord& node) {
    const auto text = property(node.properties, "priority.session");
    int priority = 0;
    std::from_chars(text.data(), text.data() + text.size(), priority);
    return priority;
}

std::vector<const NodeRecord*> camerasOf(const AudioGraph& graph) {
    struct Camera {
        const NodeRecord* node;
        std::set<std::string, std::less<>> hardware;
        std::string place; ///< of the hardware; empty where nothing tells
        bool isBetter;     ///< offered by the interface that knows how to use this hardware
        bool isLibcameras;
    };
    std::vector<Camera> cameras;
    for (const NodeRecord* node : devicesOf(graph, isCamera)) {
        const Properties properties = withHardware(*node, graph);
        Camera camera{
            node, hardwareOf(properties), partOf(properties, graph),
            isByTheBetterInterface(properties), isLibcameras(properties)};
        const auto twin = std::ranges::find_if(cameras, [&camera](const Camera& other) {
            return std::ranges::any_of(camera.hardware, [&other](const std::string& mark) {
                return other.hardware.contains(mark);
            });
        });
        if (twin == cameras.end()) {
            cameras.push_back(std::move(camera));
        } else if (camera.isBetter && !twin->isBetter) {
            *twin = std::move(camera);
        }
    }
    // A sensor's chip has dozens of the kernel's nodes, of which libcamera names some.
    std::set<std::string, std::less<>> understood;
    for (const Camera& camera : cameras) {
        if (camera.isLibcameras && camera.isBetter) {
            understood.insert(camera.place);
        }
    }
    std::erase_if(cameras, [&understood](const Camera& camera) {
        return !camera.isBetter && !camera.place.empty() && understood.contains(camera.place);
    });
    std::vector<const NodeRecord*> nodes;
    for (const Camera& camera : cameras) {
        nodes.push_back(camera.node);
    }
    return nodes;
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

std::optional<bool> isFixedHardware(std::string_view sysfsPath) {
    if (!sysfsPath.starts_with("/devices/") || sysfsPath.find("..") != std::string_view::npos) {
        return std::nullopt;
    }
    const std::filesystem::path top{"/sys/devices"};
    std::filesystem::path folder{"/sys" + std::string{sysfsPath}};
    // The word is with the USB device, some folders above its camera or sound card.
    for (; folder != top && folder.has_relative_path(); folder = folder.parent_path()) {
        std::ifstream file{folder / "removable"};
        std::string word;
        if (file >> word) {
            return word == "unknown" ? std::nullopt : std::optional{word == "fixed"};
        }
    }
    return std::nullopt;
}

DiscoveredDevices discoverDevices(const AudioGraph& graph, const FixedHardware& isFixed) {
    DiscoveredDevices devices;
    const auto cameras = camerasOf(graph);
    for (const NodeRecord* camera : cameras) {
        devices.cameras.push_back(cameraInfo(*camera, graph, isFixed));
    }
    devices.defaultCameraID = defaultCameraID(graph, cameras);
    for (const NodeRecord* microphone : devicesOf(graph, isMicrophone)) {
        devices.microphones.push_back(
            deviceInfo(*microphone, withHardware(*microphone, graph), isFixed));
    }
    return devices;
}

const NodeRecord* cameraWithID(const AudioGraph& graph, std::string_view cameraID) {
    const auto cameras = devicesOf(graph, isCamera);
    const auto found = std::ranges::find_if(cameras, [cameraID](const NodeRecord* camera) {
        return property(camera->properties, "node.name") == cameraID;
    });
    return found == cameras.end() ? nullptr : *found;
}

std::set<std::string> kernelCameras(const AudioGraph& graph) {
    std::set<std::string> paths;
    for (const NodeRecord* node : devicesOf(graph, isCamera)) {
        if (const auto path = property(node->properties, "api.v4l2.path"); !path.empty()) {
            paths.emplace(path);
        }
    }
    return paths;
}

std::optional<std::string> kernelCamera(const AudioGraph& graph, std::string_view cameraID) {
    const NodeRecord* const camera = cameraWithID(graph, cameraID);
    const auto path = camera != nullptr ? property(camera->properties, "api.v4l2.path") : "";
    return path.empty() ? std::nullopt : std::optional{std::string{path}};
}

std::optional<std::string> unusedKernelCamera(const AudioGraph& graph, std::string_view cameraID) {
    const NodeRecord* const camera = cameraWithID(graph, cameraID);
    const bool isUsed = camera != nullptr && camera->state == NodeState::running;
    return isUsed ? std::nullopt : kernelCamera(graph, cameraID);
}

} // namespace brindle::pipewire
