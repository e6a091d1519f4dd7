// The cameras and microphones in what PipeWire's server knows. Pure: decided on records.
#pragma once

#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::pipewire {

/// What can be recorded from. The unique identifier is the node's name, which the session manager
/// builds from the device's place or serial number, so that it survives restarts and re-plugging.
struct DiscoveredDevices {
    std::vector<CaptureDeviceInfo> cameras;     ///< in the server's order
    std::vector<CaptureDeviceInfo> microphones; ///< likewise
    std::optional<std::string> defaultCameraID; ///< one of `cameras`, or absent

    friend bool operator==(const DiscoveredDevices&, const DiscoveredDevices&) = default;
};

/// Answers whether the hardware at that path below /sys cannot be taken out of the machine; nothing
/// when the system does not say.
using FixedHardware = std::function<std::optional<bool>(std::string_view sysfsPath)>;

/// Asks the kernel, which knows it of USB devices.
std::optional<bool> isFixedHardware(std::string_view sysfsPath);

/// A camera that the server offers through several interfaces appears once, by the one that knows
/// how to use its hardware, and of several devices of one name the first. Loudspeakers' monitors
/// and captured screens never appear. Without a choice of the session manager the default camera is
/// the one with the highest priority there, the first of equals.
DiscoveredDevices
discoverDevices(const AudioGraph& graph, const FixedHardware& isFixed = isFixedHardware);

/// The node of that camera; null when there is none.
const NodeRecord* cameraWithID(const AudioGraph& graph, std::string_view cameraID);

/// The kernel's names of all cameras that are the kernel's.
std::set<std::string> kernelCameras(const AudioGraph& graph);

/// The kernel's name of that camera, where it is the kernel's.
std::optional<std::string> kernelCamera(const AudioGraph& graph, std::string_view cameraID);
/// The same, unless the server uses it: what the server uses can be shared.
std::optional<std::string> unusedKernelCamera(const AudioGraph& graph, std::string_view cameraID);

} // namespace brindle::pipewire
