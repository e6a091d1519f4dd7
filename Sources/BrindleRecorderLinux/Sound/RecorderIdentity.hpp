// Whose a process at the sound server is.
#pragma once

#include "BrindleRecorderLinux/Sound/MicrophoneView.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

class ProcProcessRegistry;

namespace pipewire {

struct RecorderIdentity {
    std::optional<std::int32_t> pid;             ///< as the kernel counts, outside of sandboxes
    std::optional<std::string> bundleIdentifier; ///< as the catalog spells it, else a label

    friend bool operator==(const RecorderIdentity&, const RecorderIdentity&) = default;
};

/// From what the server knows of the process's clients, what they say themselves, and the process.
RecorderIdentity identityOf(const ProcessView& process, const ProcProcessRegistry& registry);

} // namespace pipewire
} // namespace brindle
