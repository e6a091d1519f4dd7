// The seam to the audio server, carried out over PipeWire.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"
#include "BrindleRecorderLinux/Sound/MicrophoneView.hpp"
#include "BrindleRecorderLinux/Sound/RecorderIdentity.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

class ProcProcessRegistry;

/// An audio object is a process that has clients on the server, or a microphone. What is answered
/// is the server's state as of the last turn of the main loop that told of changes, so answers and
/// listeners always agree. While no server answers, nothing can be read and nobody records.
class PipeWireAudioObjects final : public AudioObjects {
  public:
    /// Both must outlive this.
    PipeWireAudioObjects(const pipewire::AudioServer& server, const ProcProcessRegistry& processes);

    [[nodiscard]] bool canListProcesses() const override { return true; }
    [[nodiscard]] std::optional<std::vector<AudioObjectID>> processes() const override;
    [[nodiscard]] std::optional<bool> isRunningInput(AudioObjectID process) const override;
    [[nodiscard]] std::optional<std::int32_t>
    processIdentifier(AudioObjectID process) const override;
    [[nodiscard]] std::optional<std::string> bundleIdentifier(AudioObjectID process) const override;
    [[nodiscard]] std::optional<AudioObjectID> defaultInputDevice() const override;
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
    void refresh();
    void forgetChangedIdentities(const pipewire::MicrophoneView& before);
    [[nodiscard]] const pipewire::RecorderIdentity&
    identityOf(const pipewire::ProcessView& process) const;

    const pipewire::AudioServer& server_;
    const ProcProcessRegistry& processRegistry_;
    pipewire::ObjectNumbers numbers_;
    pipewire::MicrophoneView view_;
    /// Each stays as it is while the process's clients do: a process that becomes another program
    /// loses its connection.
    mutable std::map<AudioObjectID, pipewire::RecorderIdentity> identities_;
    Listeners<> processListeners_;
    Listeners<> defaultListeners_;
    std::map<AudioObjectID, Listeners<>> runningListeners_;
    std::unique_ptr<Observation> observation_;
};

} // namespace brindle
