// An audio server that a test arranges by hand.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle::test {

/// Every fact can be set, and made unreadable by setting it to nothing. Setting one calls nobody;
/// the `fire` operations call the listeners at once, as the main loop would.
class FakeAudioObjects final : public AudioObjects {
  public:
    struct Process {
        std::optional<bool> runningInput = false;
        std::optional<std::int32_t> pid = {};
        std::optional<std::string> bundleID = {};
    };
    struct Device {
        std::optional<std::string> uniqueID = {};
        std::optional<bool> runningSomewhere = false;
    };

    // --- Setting the scene ---

    void setCanListProcesses(bool can) { canListProcesses_ = can; }
    /// Adds the process to the end of the list, or changes it where it is.
    void setProcess(AudioObjectID id, Process process);
    void removeProcess(AudioObjectID id);
    void setRunningInput(AudioObjectID id, std::optional<bool> running);
    /// Lets the list of processes as a whole be read, or not.
    void setProcessesReadable(bool readable) { processesReadable_ = readable; }
    void setDevice(AudioObjectID id, Device device) { devices_[id] = std::move(device); }
    void removeDevice(AudioObjectID id) { devices_.erase(id); }
    void setRunningSomewhere(AudioObjectID id, std::optional<bool> running);
    void setDefaultInputDevice(std::optional<AudioObjectID> id) { defaultInputDevice_ = id; }

    // --- Refusing listeners: what is registered later while refused gives nothing ---

    void refuseProcessesListener(bool refuse = true) { refuseProcesses_ = refuse; }
    void refuseDefaultInputDeviceListener(bool refuse = true) { refuseDefaultDevice_ = refuse; }
    void refuseRunningInputListener(AudioObjectID process, bool refuse = true);
    void refuseRunningSomewhereListener(AudioObjectID device, bool refuse = true);

    // --- Calling listeners ---

    void fireProcesses() { processesListeners_.call(); }
    void fireDefaultInputDevice() { defaultDeviceListeners_.call(); }
    void fireRunningInput(AudioObjectID process) { runningInputListeners_[process].call(); }
    void fireRunningSomewhere(AudioObjectID device) { runningSomewhereListeners_[device].call(); }

    // --- Looking on ---

    [[nodiscard]] std::size_t processesListeners() const { return processesListeners_.count(); }
    [[nodiscard]] std::size_t defaultInputDeviceListeners() const {
        return defaultDeviceListeners_.count();
    }
    [[nodiscard]] std::size_t runningInputListeners(AudioObjectID process) const;
    [[nodiscard]] std::size_t runningSomewhereListeners(AudioObjectID device) const;
    /// How often a listener has been asked for, refusals included.
    [[nodiscard]] int registrations() const { return registrations_; }

    [[nodiscard]] bool canListProcesses() const override { return canListProcesses_; }
    [[nodiscard]] std::optional<std::vector<AudioObjectID>> processes() const override;
    [[nodiscard]] std::optional<bool> isRunningInput(AudioObjectID process) const override;
    [[nodiscard]] std::optional<std::int32_t>
    processIdentifier(AudioObjectID process) const override;
    [[nodiscard]] std::optional<std::string> bundleIdentifier(AudioObjectID process) const override;
    [[nodiscard]] std::optional<AudioObjectID> defaultInputDevice() const override {
        return defaultInputDevice_;
    }
    [[nodiscard]] std::optional<std::string> deviceUniqueID(AudioObjectID device) const override;
    [[nodiscard]] std::optional<bool> isRunningSomewhere(AudioObjectID device) const override;
    [[nodiscard]] std::unique_ptr<Observation> observeProcesses(Listener listener) override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeDefaultInputDevice(Listener listener) override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeRunningInput(AudioObjectID process, Listener listener) override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeRunningSomewhere(AudioObjectID device, Listener listener) override;

  private:
    [[nodiscard]] const Process* find(AudioObjectID process) const;
    [[nodiscard]] const Device* findDevice(AudioObjectID device) const;

    bool canListProcesses_ = true;
    bool processesReadable_ = true;
    std::vector<AudioObjectID> order_;
    std::map<AudioObjectID, Process> processes_;
    std::map<AudioObjectID, Device> devices_;
    std::optional<AudioObjectID> defaultInputDevice_;
    bool refuseProcesses_ = false;
    bool refuseDefaultDevice_ = false;
    std::set<AudioObjectID> refusedRunningInput_;
    std::set<AudioObjectID> refusedRunningSomewhere_;
    Listeners<> processesListeners_;
    Listeners<> defaultDeviceListeners_;
    std::map<AudioObjectID, Listeners<>> runningInputListeners_;
    std::map<AudioObjectID, Listeners<>> runningSomewhereListeners_;
    int registrations_ = 0;
};

} // namespace brindle::test
