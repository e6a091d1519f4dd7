// The cameras and microphones that are there now, and which of them the system prefers.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Reads everything once when made, and again whenever a device comes or goes. A
/// field whose value is the same as before tells nobody.
class DeviceCatalog {
  public:
    using Devices = std::vector<CaptureDeviceInfo>;

    /// Both must outlive the catalog.
    DeviceCatalog(CaptureSystem& captureSystem, const AudioObjects& audioObjects);
    DeviceCatalog(const DeviceCatalog&) = delete;
    DeviceCatalog& operator=(const DeviceCatalog&) = delete;

    /// Reads everything again.
    void refresh();

    // All without desk views, which nobody wants to be seen through; in the system's order.
    [[nodiscard]] const Published<Devices>& cameras() const { return cameras_; }
    [[nodiscard]] bool hasCamera(const std::string& uniqueID) const;
    [[nodiscard]] const Published<Devices>& microphones() const { return microphones_; }
    /// One of `cameras`, or nothing.
    [[nodiscard]] const Published<std::optional<CaptureDeviceInfo>>& systemDefaultCamera() const {
        return systemDefaultCamera_;
    }
    /// One of `microphones`, or nothing.
    [[nodiscard]] const Published<std::optional<CaptureDeviceInfo>>&
    systemDefaultMicrophone() const {
        return systemDefaultMicrophone_;
    }

  private:
    [[nodiscard]] std::optional<std::string> systemDefaultCameraID() const;
    [[nodiscard]] std::optional<std::string> systemDefaultMicrophoneID() const;

    CaptureSystem& captureSystem_;
    const AudioObjects& audioObjects_;
    Published<Devices> cameras_;
    Published<Devices> microphones_;
    Published<std::optional<CaptureDeviceInfo>> systemDefaultCamera_;
    Published<std::optional<CaptureDeviceInfo>> systemDefaultMicrophone_;
    std::unique_ptr<Observation> observation_;
};

} // namespace brindle
