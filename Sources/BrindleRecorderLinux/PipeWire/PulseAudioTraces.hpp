// Whether the desktop's sound goes through a PulseAudio server instead of PipeWire.
#pragma once

#include <filesystem>

namespace brindle::pipewire {

/// Looks at the process that the PulseAudio socket's owner has written down, since PipeWire offers
/// the same socket. Does not connect, which would start a server that waits to be needed.
bool pulseAudioRuns(
    const std::filesystem::path& runtimeFolder, const std::filesystem::path& procFolder);

} // namespace brindle::pipewire
