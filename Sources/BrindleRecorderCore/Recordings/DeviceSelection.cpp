#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brindle {

namespace {

constexpr char lowercased(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

template <class Predicate>
std::optional<CaptureDeviceInfo>
firstWhere(const std::vector<CaptureDeviceInfo>& devices, Predicate predicate) {
    const auto found = std::ranges::find_if(devices, predicate);
    return found == devices.end() ? std::nullopt : std::optional{*found};
}

std::optional<CaptureDeviceInfo>
deviceWithID(const std::optional<std::string>& id, const std::vector<CaptureDeviceInfo>& devices) {
    return firstWhere(devices, [&](const auto& device) { return device.uniqueID == id; });
}

bool offersPictures(const CaptureDeviceInfo& camera) {
    return camera.pictures && !camera.pictures->empty();
}

/// A camera that offers nothing beside one of the same hardware that does.
bool isIdlePart(const CaptureDeviceInfo& camera, const std::vector<CaptureDeviceInfo>& devices) {
    return camera.pictures && camera.pictures->empty() && !camera.hardware.empty() &&
           std::ranges::any_of(devices, [&camera](const CaptureDeviceInfo& other) {
               return other.hardware == camera.hardware && offersPictures(other);
           });
}

std::optional<CaptureDeviceInfo> fallbackAmong(const std::vector<CaptureDeviceInfo>& devices) {
    if (auto builtIn = firstWhere(devices, [](const auto& device) { return device.isBuiltIn; })) {
        return builtIn;
    }
    return firstWhere(devices, [](const auto&) { return true; });
}

} // namespace

std::optional<std::string> DeviceSelection::idOf(const std::optional<CaptureDeviceInfo>& device) {
    return device ? std::optional{device->uniqueID} : std::nullopt;
}

bool DeviceSelection::isDeskView(std::string_view name) {
    constexpr std::string_view marker = "desk view";
    const auto sameLetter = [](char inName, char inMarker) {
        return lowercased(inName) == inMarker;
    };
    return std::search(name.begin(), name.end(), marker.begin(), marker.end(), sameLetter) !=
           name.end();
}

bool DeviceSelection::isInfrared(const CaptureDeviceInfo& camera) {
    // Some pack their grey pictures into compressed ones as well.
    return camera.pictures && camera.pictures->contains(PictureKind::grey) &&
           !camera.pictures->contains(PictureKind::color);
}

std::vector<CaptureDeviceInfo>
DeviceSelection::selectable(const std::vector<CaptureDeviceInfo>& devices) {
    std::vector<CaptureDeviceInfo> candidates;
    std::ranges::copy_if(devices, std::back_inserter(candidates), [&](const auto& device) {
        return !isDeskView(device.localizedName) && !isInfrared(device) &&
               !isIdlePart(device, devices);
    });
    return candidates;
}

DeviceResolution DeviceSelection::resolve(
    const std::optional<std::string>& preferredUniqueID,
    const std::optional<std::string>& systemDefaultUniqueID,
    const std::vector<CaptureDeviceInfo>& devices) {
    const auto candidates = selectable(devices);
    if (preferredUniqueID) {
        if (auto preferred = deviceWithID(preferredUniqueID, candidates)) {
            return {.device = std::move(preferred), .fallbackUsed = false};
        }
    }
    if (auto systemDefault = deviceWithID(systemDefaultUniqueID, candidates)) {
        return {.device = std::move(systemDefault), .fallbackUsed = preferredUniqueID.has_value()};
    }
    return {
        .device = fallbackAmong(candidates),
        .fallbackUsed = preferredUniqueID.has_value() || systemDefaultUniqueID.has_value()};
}

} // namespace brindle
