// Cameras and microphones in words, and which of them a recording would open.
#pragma once

#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle {

/// Pure. Names and identifiers come from devices and may hold any bytes.
struct DeviceReport {
    /// The devices of one sort, and how one of them is chosen.
    struct Choice {
        std::string kind;                       ///< "camera" or "microphone"
        std::vector<CaptureDeviceInfo> devices; ///< in the system's order
        std::optional<std::string> preferredID; ///< the user's wish
        std::optional<std::string> defaultID;   ///< the system's default
        /// By identifier: the programs that use it at the moment, as far as that is known.
        std::map<std::string, std::set<std::string>> users = {};
    };

    /// One line for each device; one more for a wish that cannot be met; one that says so when
    /// there are no devices.
    static std::vector<std::string> lines(const Choice& choice);
};

} // namespace brindle
