// The seam to the audio server: which processes it knows, which of them record from a microphone,
// and the default input device.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Names one object of the audio server. Never used again for another object while the program
/// runs.
using AudioObjectID = std::uint64_t;

/// Main thread only; listeners are called on the main thread, from the main loop. Whatever cannot
/// be read is absent.
class AudioObjects {
  public:
    using Listener = std::function<void()>;

    virtual ~AudioObjects() = default;

    /// Whether this system can tell processes apart at all. Where it cannot, only the default
    /// device's activity is known.
    [[nodiscard]] virtual bool canListProcesses() const = 0;

    /// The processes that the server knows, in the server's order.
    [[nodiscard]] virtual std::optional<std::vector<AudioObjectID>> processes() const = 0;
    /// Whether the process records from a real or virtual microphone right now. Reading what a
    /// speaker plays, measuring levels, and waiting without recording are not recording.
    [[nodiscard]] virtual std::optional<bool> isRunningInput(AudioObjectID process) const = 0;
    [[nodiscard]] virtual std::optional<std::int32_t>
    processIdentifier(AudioObjectID process) const = 0;
    /// The identifier of the process's application, when the server knows it.
    [[nodiscard]] virtual std::optional<std::string>
    bundleIdentifier(AudioObjectID process) const = 0;

    [[nodiscard]] virtual std::optional<AudioObjectID> defaultInputDevice() const = 0;
    /// The device's stable identifier, the same that `CaptureSystem` gives it.
    [[nodiscard]] virtual std::optional<std::string> deviceUniqueID(AudioObjectID device) const = 0;
    [[nodiscard]] virtual std::optional<bool> isRunningSomewhere(AudioObjectID device) const = 0;

    // Each answers nothing when the listener could not be registered.
    [[nodiscard]] virtual std::unique_ptr<Observation> observeProcesses(Listener listener) = 0;
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeDefaultInputDevice(Listener listener) = 0;
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeRunningInput(AudioObjectID process, Listener listener) = 0;
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeRunningSomewhere(AudioObjectID device, Listener listener) = 0;
};

} // namespace brindle
