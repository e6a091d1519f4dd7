#include "Support/FakeAudioObjects.hpp"

#include <algorithm>
#include <utility>

namespace brindle::test {

namespace {

void setMembership(std::set<AudioObjectID>& set, AudioObjectID id, bool member) {
    if (member) {
        set.insert(id);
    } else {
        set.erase(id);
    }
}

std::size_t countOf(const std::map<AudioObjectID, Listeners<>>& listeners, AudioObjectID object) {
    const auto found = listeners.find(object);
    return found == listeners.end() ? 0 : found->second.count();
}

} // namespace

void FakeAudioObjects::setProcess(AudioObjectID id, Process process) {
    if (!processes_.contains(id)) {
        order_.push_back(id);
    }
    processes_[id] = std::move(process);
}

void FakeAudioObjects::removeProcess(AudioObjectID id) {
    std::erase(order_, id);
    processes_.erase(id);
}

void FakeAudioObjects::setRunningInput(AudioObjectID id, std::optional<bool> running) {
    processes_.at(id).runningInput = running;
}

void FakeAudioObjects::setRunningSomewhere(AudioObjectID id, std::optional<bool> running) {
    devices_.at(id).runningSomewhere = running;
}

void FakeAudioObjects::refuseRunningInputListener(AudioObjectID process, bool refuse) {
    setMembership(refusedRunningInput_, process, refuse);
}

void FakeAudioObjects::refuseRunningSomewhereListener(AudioObjectID device, bool refuse) {
    setMembership(refusedRunningSomewhere_, device, refuse);
}

std::size_t FakeAudioObjects::runningInputListeners(AudioObjectID process) const {
    return countOf(runningInputListeners_, process);
}

std::size_t FakeAudioObjects::runningSomewhereListeners(AudioObjectID device) const {
    return countOf(runningSomewhereListeners_, device);
}

std::optional<std::vector<AudioObjectID>> FakeAudioObjects::processes() const {
    return processesReadable_ ? std::optional{order_} : std::nullopt;
}

std::optional<bool> FakeAudioObjects::isRunningInput(AudioObjectID process) const {
    const auto* found = find(process);
    return found == nullptr ? std::nullopt : found->runningInput;
}

std::optional<std::int32_t> FakeAudioObjects::processIdentifier(AudioObjectID process) const {
    const auto* found = find(process);
    return found == nullptr ? std::nullopt : found->pid;
}

std::optional<std::string> FakeAudioObjects::bundleIdentifier(AudioObjectID process) const {
    const auto* found = find(process);
    return found == nullptr ? std::nullopt : found->bundleID;
}

std::optional<std::string> FakeAudioObjects::deviceUniqueID(AudioObjectID device) const {
    const auto* found = findDevice(device);
    return found == nullptr ? std::nullopt : found->uniqueID;
}

std::optional<bool> FakeAudioObjects::isRunningSomewhere(AudioObjectID device) const {
    const auto* found = findDevice(device);
    return found == nullptr ? std::nullopt : found->runningSomewhere;
}

std::unique_ptr<Observation> FakeAudioObjects::observeProcesses(Listener listener) {
    ++registrations_;
    return refuseProcesses_ ? nullptr : processesListeners_.add(std::move(listener));
}

std::unique_ptr<Observation> FakeAudioObjects::observeDefaultInputDevice(Listener listener) {
    ++registrations_;
    return refuseDefaultDevice_ ? nullptr : defaultDeviceListeners_.add(std::move(listener));
}

std::unique_ptr<Observation>
FakeAudioObjects::observeRunningInput(AudioObjectID process, Listener listener) {
    ++registrations_;
    return refusedRunningInput_.contains(process)
               ? nullptr
               : runningInputListeners_[process].add(std::move(listener));
}

std::unique_ptr<Observation>
FakeAudioObjects::observeRunningSomewhere(AudioObjectID device, Listener listener) {
    ++registrations_;
    return refusedRunningSomewhere_.contains(device)
               ? nullptr
               : runningSomewhereListeners_[device].add(std::move(listener));
}

const FakeAudioObjects::Process* FakeAudioObjects::find(AudioObjectID process) const {
    const auto found = processes_.find(process);
    return found == processes_.end() ? nullptr : &found->second;
}

const FakeAudioObjects::Device* FakeAudioObjects::findDevice(AudioObjectID device) const {
    const auto found = devices_.find(device);
    return found == devices_.end() ? nullptr : &found->second;
}

} // namespace brindle::test
