// Which camera and microphone the next recording uses, by the user's settings, the desktop's leave,
// what can be made of pictures here, and what has failed in this call.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace brindle {

class DeviceCatalog;
class EncoderChoice;
class PermissionsModel;
class Settings;

/// The devices that a recording is to use, before any is opened.
struct ChosenDevices {
    std::vector<CaptureDeviceInfo> cameraCandidates;
    DeviceResolution camera;
    DeviceResolution microphone;
    bool cameraIsPreferred = false; ///< the user has picked one, whether it is there or not
    bool microphoneIsPreferred = false;
    bool cameraAllowed = true; ///< false: one attempt, without a camera
    bool cameraAccessDenied = false;
    bool encoderMissing = false; ///< nothing here can compress pictures
};

/// Main thread only.
class DeviceChoice {
  public:
    /// All must outlive the choice.
    DeviceChoice(
        const Settings& settings, DeviceCatalog& devices, const PermissionsModel& permissions,
        const EncoderChoice& encoder);
    DeviceChoice(const DeviceChoice&) = delete;
    DeviceChoice& operator=(const DeviceChoice&) = delete;

    /// Looks at the devices anew.
    [[nodiscard]] ChosenDevices choose(bool audioOnly);

    /// The camera or microphone that would be chosen, or that there is none.
    [[nodiscard]] std::string cameraName() const;
    [[nodiscard]] std::string microphoneName() const;

    /// The cameras that may be chosen now, in the system's order.
    [[nodiscard]] std::vector<CaptureDeviceInfo> cameraCandidates() const;

    /// A camera of that name is not chosen any more, until it was unplugged. Nothing when there is
    /// none.
    void blockCameraNamed(const std::string& localizedName);
    void unblockCameras() { blockedCameraIDs_.clear(); }

  private:
    [[nodiscard]] DeviceResolution
    resolveCamera(const std::vector<CaptureDeviceInfo>& candidates) const;
    [[nodiscard]] DeviceResolution resolveMicrophone() const;
    void unblockAbsentCameras();

    const Settings& settings_;
    DeviceCatalog& devices_;
    const PermissionsModel& permissions_;
    const EncoderChoice& encoder_;
    std::set<std::string> blockedCameraIDs_;
    std::unique_ptr<Observation> camerasObserver_;
};

} // namespace brindle
