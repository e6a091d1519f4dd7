#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace brindle {

using pipewire::DeviceView;
using pipewire::MicrophoneView;
using pipewire::ProcessView;
using pipewire::RecorderIdentity;

namespace {

/// The same process, called as it was.
bool isSameProcess(const ProcessView& before, const ProcessView& after) {
    return before.id == after.id && before.process == after.process &&
           before.clients == after.clients;
}

/// Processes have changed when one came, went, or is called differently now.
bool sameProcesses(const MicrophoneView& left, const MicrophoneView& right) {
    return left.isAvailable == right.isAvailable &&
           std::equal(
               left.processes.begin(), left.processes.end(), right.processes.begin(),
               right.processes.end(), isSameProcess);
}

std::set<AudioObjectID> runningObjects(const MicrophoneView& view) {
    std::set<AudioObjectID> running;
    for (const ProcessView& process : view.processes) {
        if (process.isRecording) {
            running.insert(process.id);
        }
    }
    for (const DeviceView& device : view.devices) {
        if (device.isRecordedFrom) {
            running.insert(device.id);
        }
    }
    return running;
}

} // namespace

PipeWireAudioObjects::PipeWireAudioObjects(
    const pipewire::AudioServer& server, const ProcProcessRegistry& processes)
    : server_{server}, processRegistry_{processes}, observation_{
                                                        server.observe([this] { refresh(); })} {
    refresh();
}

void PipeWireAudioObjects::refresh() {
    const MicrophoneView before = std::exchange(view_, viewOf(server_.graph().get(), numbers_));
    forgetChangedIdentities(before);
    // A listener sees the new view whole, whichever of its changes it hears of first.
    if (!sameProcesses(before, view_)) {
        processListeners_.call();
    }
    if (before.defaultDevice != view_.defaultDevice) {
        defaultListeners_.call();
    }
    const auto wasRunning = runningObjects(before);
    const auto isRunning = runningObjects(view_);
    std::vector<AudioObjectID> changed;
    std::set_symmetric_difference(
        wasRunning.begin(), wasRunning.end(), isRunning.begin(), isRunning.end(),
        std::back_inserter(changed));
    for (const AudioObjectID object : changed) {
        const auto listeners = runningListeners_.find(object);
        if (listeners != runningListeners_.end()) {
            listeners->second.call();
        }
    }
    std::erase_if(runningListeners_, [](const auto& object) { return object.second.count() == 0; });
}

void PipeWireAudioObjects::forgetChangedIdentities(const MicrophoneView& before) {
    std::erase_if(identities_, [&](const auto& known) {
        const ProcessView* const then = before.process(known.first);
        const ProcessView* const now = view_.process(known.first);
        return then == nullptr || now == nullptr || !isSameProcess(*then, *now);
    });
}

const RecorderIdentity& PipeWireAudioObjects::identityOf(const ProcessView& process) const {
    const auto [known, isNew] = identities_.try_emplace(process.id);
    if (isNew) {
        known->second = pipewire::identityOf(process, processRegistry_);
    }
    return known->second;
}

std::optional<std::vector<AudioObjectID>> PipeWireAudioObjects::processes() const {
    if (!view_.isAvailable) {
        return std::nullopt;
    }
    std::vector<AudioObjectID> ids;
    for (const ProcessView& process : view_.processes) {
        ids.push_back(process.id);
    }
    return ids;
}

std::optional<bool> PipeWireAudioObjects::isRunningInput(AudioObjectID process) const {
    const ProcessView* const found = view_.process(process);
    return found == nullptr ? std::nullopt : std::optional{found->isRecording};
}

std::optional<std::int32_t> PipeWireAudioObjects::processIdentifier(AudioObjectID process) const {
    const ProcessView* const found = view_.process(process);
    return found == nullptr ? std::nullopt : identityOf(*found).pid;
}

std::optional<std::string> PipeWireAudioObjects::bundleIdentifier(AudioObjectID process) const {
    const ProcessView* const found = view_.process(process);
    return found == nullptr ? std::nullopt : identityOf(*found).bundleIdentifier;
}

std::optional<AudioObjectID> PipeWireAudioObjects::defaultInputDevice() const {
    return view_.defaultDevice;
}

std::optional<std::string> PipeWireAudioObjects::deviceUniqueID(AudioObjectID device) const {
    const DeviceView* const found = view_.device(device);
    return found == nullptr ? std::nullopt : std::optional{found->uniqueID};
}

std::optional<bool> PipeWireAudioObjects::isRunningSomewhere(AudioObjectID device) const {
    const DeviceView* const found = view_.device(device);
    return found == nullptr ? std::nullopt : std::optional{found->isRecordedFrom};
}

std::unique_ptr<Observation> PipeWireAudioObjects::observeProcesses(Listener listener) {
    return processListeners_.add(std::move(listener));
}

std::unique_ptr<Observation> PipeWireAudioObjects::observeDefaultInputDevice(Listener listener) {
    return defaultListeners_.add(std::move(listener));
}

std::unique_ptr<Observation>
PipeWireAudioObjects::observeRunningInput(AudioObjectID process, Listener listener) {
    return view_.process(process) == nullptr ? nullptr
                                             : runningListeners_[process].add(std::move(listener));
}

std::unique_ptr<Observation>
PipeWireAudioObjects::observeRunningSomewhere(AudioObjectID device, Listener listener) {
    return view_.device(device) == nullptr ? nullptr
                                           : runningListeners_[device].add(std::move(listener));
}

} // namespace brindle
