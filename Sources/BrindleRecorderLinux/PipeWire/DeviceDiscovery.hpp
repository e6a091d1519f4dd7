// The cameras and microphones in what PipeWire's server knows. Pure: decided on records.
#pragma once

#include "BrindleRecorderCore/DeviceSelection.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"

#include <optional>
#include <string>
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

/// A camera that the server offers through several interfaces appears once. Loudspeakers' monitors
/// and captured screens never appear. Without a choice of the session manager the default camera is
/// the one with the highest priority there, the first of equals.
DiscoveredDevices discoverDevices(const AudioGraph& graph);

} // namespace brindle::pipewire
