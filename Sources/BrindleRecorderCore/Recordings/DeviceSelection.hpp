// Which camera or microphone a recording opens: the user's wish first, then the system's default,
// then whatever is built in.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// What pictures can be made of.
enum class PictureKind {
    color,
    grey,
    compressed ///< each for itself; whether in colours does not show
};

/// A camera or microphone, as far as choosing one goes.
struct CaptureDeviceInfo {
    std::string uniqueID;      ///< the platform's stable identifier of the device
    std::string localizedName; ///< the name shown to the user
    bool isBuiltIn = false;    ///< part of the machine itself
    /// What a camera offers; absent where that is not known.
    std::optional<std::set<PictureKind>> pictures = {};
    /// Alike for the cameras that are one piece of hardware; empty where that is not known.
    std::string hardware = {};

    /// Devices are told apart by their unique identifier.
    [[nodiscard]] const std::string& id() const { return uniqueID; }
    friend bool operator==(const CaptureDeviceInfo&, const CaptureDeviceInfo&) = default;
};

/// The outcome of choosing a device.
struct DeviceResolution {
    std::optional<CaptureDeviceInfo> device; ///< absent when there is nothing to open
    bool fallbackUsed = false; ///< a device was asked for by name, and another had to do

    friend bool operator==(const DeviceResolution&, const DeviceResolution&) = default;
};

/// Pure functions; callable from any thread. Cameras and microphones are chosen separately, each by
/// a call of its own with the devices of that sort.
struct DeviceSelection {
    /// The device's unique identifier; absent where there is no device.
    static std::optional<std::string> idOf(const std::optional<CaptureDeviceInfo>& device);

    /// Whether a name is that of a camera's picture of the desk in front of it, which shows no
    /// person. The letters A to Z compare without regard to case, whatever the locale.
    static bool isDeskView(std::string_view name);

    /// Whether a camera is one for recognising faces in the dark: its pictures are grey.
    static bool isInfrared(const CaptureDeviceInfo& camera);

    /// The devices that may be chosen, in the order given: all but desk views, infrared cameras,
    /// and what offers no picture where another part of the same hardware offers some.
    static std::vector<CaptureDeviceInfo> selectable(const std::vector<CaptureDeviceInfo>& devices);

    /// Chooses among the selectable devices. Identifiers match exactly. A preference that cannot be
    /// met always counts as a fallback, even when the system's default stands in for it; without a
    /// preference it is a fallback only when a default was named and is not there.
    static DeviceResolution resolve(
        const std::optional<std::string>& preferredUniqueID,
        const std::optional<std::string>& systemDefaultUniqueID,
        const std::vector<CaptureDeviceInfo>& devices);
};

} // namespace brindle
