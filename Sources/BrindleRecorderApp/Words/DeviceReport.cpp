#include "BrindleRecorderApp/Words/DeviceReport.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace brindle {

namespace {

std::string
line(const DeviceReport::Choice& choice, const CaptureDeviceInfo& device, bool wouldBeRecorded) {
    std::vector<std::string> remarks{device.uniqueID};
    if (device.isBuiltIn) {
        remarks.emplace_back("built in");
    }
    if (device.uniqueID == choice.defaultID) {
        remarks.emplace_back("the system's default");
    }
    if (device.uniqueID == choice.preferredID) {
        remarks.emplace_back("picked in the settings");
    }
    if (wouldBeRecorded) {
        remarks.emplace_back("would be recorded");
    }
    if (const auto users = choice.users.find(device.uniqueID); users != choice.users.end()) {
        remarks.push_back(fmt::format("in use by {}", fmt::join(users->second, " and ")));
    }
    return fmt::format("{}: {} ({})", choice.kind, device.localizedName, fmt::join(remarks, ", "));
}

} // namespace

std::vector<std::string> DeviceReport::lines(const Choice& choice) {
    const auto chosen =
        DeviceSelection::resolve(choice.preferredID, choice.defaultID, choice.devices).device;
    std::vector<std::string> lines;
    for (const CaptureDeviceInfo& device : choice.devices) {
        lines.push_back(line(choice, device, chosen && device == *chosen));
    }
    if (choice.devices.empty()) {
        lines.push_back(fmt::format("{}: none", choice.kind));
    }
    const bool isThere = std::ranges::any_of(choice.devices, [&](const CaptureDeviceInfo& device) {
        return device.uniqueID == choice.preferredID;
    });
    if (choice.preferredID && !isThere) {
        lines.push_back(fmt::format(
            "{}: {} was picked in the settings and is not there", choice.kind,
            *choice.preferredID));
    }
    return lines;
}

} // namespace brindle
