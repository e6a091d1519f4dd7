// Who records from a microphone, as Core Audio's process objects tell it.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderMac/CoreAudio/ObjectNumbers.hpp"

namespace brindle {

class CoreAudioObjects final : public AudioObjects {
  public:
    CoreAudioObjects();

    /// Systems before 14.2 cannot.
    [[nodiscard]] bool canListProcesses() const override { return canListProcesses_; }

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
    bool canListProcesses_;
    mutable ObjectNumbers processNumbers_;
    mutable ObjectNumbers deviceNumbers_;
};

} // namespace brindle
