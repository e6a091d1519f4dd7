#include "BrindleRecorderMac/CoreAudio/CoreAudioObjects.hpp"

#include "BrindleRecorderMac/CoreAudio/AudioProperty.hpp"

#import <Foundation/Foundation.h>

#include <set>
#include <utility>

namespace brindle {

namespace {

AudioProperty ofSystem(AudioObjectPropertySelector selector) {
    return {kAudioObjectSystemObject, selector};
}

AudioProperty ofObject(AudioObjectID object, AudioObjectPropertySelector selector) {
    return {ObjectNumbers::numberOf(object), selector};
}

} // namespace

CoreAudioObjects::CoreAudioObjects()
    : canListProcesses_{
          [[NSProcessInfo processInfo]
              isOperatingSystemAtLeastVersion:NSOperatingSystemVersion{14, 2, 0}] != NO} {}

std::optional<std::vector<AudioObjectID>> CoreAudioObjects::processes() const {
    const auto numbers = ofSystem(kAudioHardwarePropertyProcessObjectList).objects();
    if (!numbers) {
        return std::nullopt;
    }
    processNumbers_.keepOnly({numbers->begin(), numbers->end()});
    std::vector<AudioObjectID> objects;
    for (const auto number : *numbers) {
        const auto pid = AudioProperty{number, kAudioProcessPropertyPID}.signedNumber();
        objects.push_back(processNumbers_.nameOf(number, pid ? std::to_string(*pid) : ""));
    }
    return objects;
}

std::optional<bool> CoreAudioObjects::isRunningInput(AudioObjectID process) const {
    return ofObject(process, kAudioProcessPropertyIsRunningInput).flag();
}

std::optional<std::int32_t> CoreAudioObjects::processIdentifier(AudioObjectID process) const {
    return ofObject(process, kAudioProcessPropertyPID).signedNumber();
}

std::optional<std::string> CoreAudioObjects::bundleIdentifier(AudioObjectID process) const {
    return ofObject(process, kAudioProcessPropertyBundleID).text();
}

std::optional<AudioObjectID> CoreAudioObjects::defaultInputDevice() const {
    const auto number = ofSystem(kAudioHardwarePropertyDefaultInputDevice).number();
    if (!number || *number == kAudioObjectUnknown) {
        return std::nullopt;
    }
    const auto uniqueID = AudioProperty{*number, kAudioDevicePropertyDeviceUID}.text();
    return deviceNumbers_.nameOf(*number, uniqueID.value_or(""));
}

std::optional<std::string> CoreAudioObjects::deviceUniqueID(AudioObjectID device) const {
    return ofObject(device, kAudioDevicePropertyDeviceUID).text();
}

std::optional<bool> CoreAudioObjects::isRunningSomewhere(AudioObjectID device) const {
    return ofObject(device, kAudioDevicePropertyDeviceIsRunningSomewhere).flag();
}

std::unique_ptr<Observation> CoreAudioObjects::observeProcesses(Listener listener) {
    return ofSystem(kAudioHardwarePropertyProcessObjectList).observe(std::move(listener));
}

std::unique_ptr<Observation> CoreAudioObjects::observeDefaultInputDevice(Listener listener) {
    return ofSystem(kAudioHardwarePropertyDefaultInputDevice).observe(std::move(listener));
}

std::unique_ptr<Observation>
CoreAudioObjects::observeRunningInput(AudioObjectID process, Listener listener) {
    return ofObject(process, kAudioProcessPropertyIsRunningInput).observe(std::move(listener));
}

std::unique_ptr<Observation>
CoreAudioObjects::observeRunningSomewhere(AudioObjectID device, Listener listener) {
    return ofObject(device, kAudioDevicePropertyDeviceIsRunningSomewhere)
        .observe(std::move(listener));
}

} // namespace brindle
