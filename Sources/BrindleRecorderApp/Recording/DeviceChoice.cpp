#include "BrindleRecorderApp/Recording/DeviceChoice.hpp"

#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Recording/EncoderChoice.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <algorithm>
#include <iterator>

namespace brindle {

DeviceChoice::DeviceChoice(
    const Settings& settings, DeviceCatalog& devices, const PermissionsModel& permissions,
    const EncoderChoice& encoder)
    : settings_{settings}, devices_{devices}, permissions_{permissions}, encoder_{encoder},
      camerasObserver_{devices.cameras().observe([this](const auto&) { unblockAbsentCameras(); })} {
}

ChosenDevices DeviceChoice::choose(bool audioOnly) {
    devices_.refresh();
    ChosenDevices chosen{
        .cameraCandidates = cameraCandidates(),
        .camera = {},
        .microphone = resolveMicrophone(),
        .cameraIsPreferred = settings_.preferredVideoDeviceID.get().has_value(),
        .microphoneIsPreferred = settings_.preferredAudioDeviceID.get().has_value(),
        .cameraAllowed =
            !audioOnly && permissions_.cameraAuthorized.get() && encoder_.canRecordPictures(),
        .cameraAccessDenied = !permissions_.cameraAuthorized.get(),
        .encoderMissing = !encoder_.canRecordPictures()};
    if (chosen.cameraAllowed) {
        chosen.camera = resolveCamera(chosen.cameraCandidates);
    }
    return chosen;
}

std::string DeviceChoice::cameraName() const {
    const auto camera = resolveCamera(devices_.cameras().get()).device;
    return camera ? camera->localizedName : StatusText::noCamera();
}

std::string DeviceChoice::microphoneName() const {
    const auto microphone = resolveMicrophone().device;
    return microphone ? microphone->localizedName : StatusText::noMicrophone();
}

std::vector<CaptureDeviceInfo> DeviceChoice::cameraCandidates() const {
    std::vector<CaptureDeviceInfo> candidates;
    std::ranges::copy_if(
        devices_.cameras().get(), std::back_inserter(candidates),
        [this](const CaptureDeviceInfo& camera) {
            return !blockedCameraIDs_.contains(camera.uniqueID);
        });
    return candidates;
}

void DeviceChoice::blockCameraNamed(const std::string& localizedName) {
    const auto& cameras = devices_.cameras().get();
    const auto camera =
        std::ranges::find(cameras, localizedName, &CaptureDeviceInfo::localizedName);
    if (camera != cameras.end()) {
        blockedCameraIDs_.insert(camera->uniqueID);
    }
}

void DeviceChoice::unblockAbsentCameras() {
    // What is plugged in again begins anew.
    std::erase_if(
        blockedCameraIDs_, [this](const auto& blocked) { return !devices_.hasCamera(blocked); });
}

DeviceResolution
DeviceChoice::resolveCamera(const std::vector<CaptureDeviceInfo>& candidates) const {
    return DeviceSelection::resolve(
        settings_.preferredVideoDeviceID.get(),
        DeviceSelection::idOf(devices_.systemDefaultCamera().get()), candidates);
}

DeviceResolution DeviceChoice::resolveMicrophone() const {
    return DeviceSelection::resolve(
        settings_.preferredAudioDeviceID.get(),
        DeviceSelection::idOf(devices_.systemDefaultMicrophone().get()),
        devices_.microphones().get());
}

} // namespace brindle
