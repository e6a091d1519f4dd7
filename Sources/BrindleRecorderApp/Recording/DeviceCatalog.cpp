#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"

#include <algorithm>

namespace brindle {

namespace {

std::optional<CaptureDeviceInfo>
deviceNamed(const std::optional<std::string>& uniqueID, const DeviceCatalog::Devices& devices) {
    const auto found = std::ranges::find_if(
        devices, [&](const auto& device) { return device.uniqueID == uniqueID; });
    return found == devices.end() ? std::nullopt : std::optional{*found};
}

} // namespace

DeviceCatalog::DeviceCatalog(CaptureSystem& captureSystem, const AudioObjects& audioObjects)
    : captureSystem_{captureSystem}, audioObjects_{audioObjects} {
    refresh();
    observation_ = captureSystem_.observeDevices([this] { refresh(); });
}

void DeviceCatalog::refresh() {
    cameras_.set(DeviceSelection::selectable(captureSystem_.discover(MediaType::video)));
    microphones_.set(DeviceSelection::selectable(captureSystem_.discover(MediaType::audio)));
    systemDefaultCamera_.set(deviceNamed(systemDefaultCameraID(), cameras_.get()));
    systemDefaultMicrophone_.set(deviceNamed(systemDefaultMicrophoneID(), microphones_.get()));
}

bool DeviceCatalog::hasCamera(const std::string& uniqueID) const {
    const Devices& cameras = cameras_.get();
    return std::ranges::find(cameras, uniqueID, &CaptureDeviceInfo::uniqueID) != cameras.end();
}

std::optional<std::string> DeviceCatalog::systemDefaultCameraID() const {
    const auto preferred = captureSystem_.systemPreferredCamera();
    if (preferred && !DeviceSelection::isDeskView(preferred->localizedName)) {
        return preferred->uniqueID;
    }
    const auto byDefault = captureSystem_.defaultCamera();
    return byDefault ? std::optional{byDefault->uniqueID} : std::nullopt;
}

std::optional<std::string> DeviceCatalog::systemDefaultMicrophoneID() const {
    const auto device = audioObjects_.defaultInputDevice();
    constexpr AudioObjectID noDevice = 0;
    if (!device || *device == noDevice) {
        return std::nullopt;
    }
    return audioObjects_.deviceUniqueID(*device);
}

} // namespace brindle
