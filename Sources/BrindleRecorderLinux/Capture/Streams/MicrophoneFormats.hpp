// The sound formats that a recording asks a microphone for.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace brindle::pipewire {

/// Writes formats to ask for into `buffer`: first the one that the recording is made of, which the
/// server converts to, then everything that we can convert ourselves. The pods live as long as the
/// buffer.
std::vector<const spa_pod*>
microphoneFormatRequest(int sampleRate, int channels, std::vector<std::uint8_t>& buffer);

/// The format that a stream has agreed on; nothing for one that we cannot read.
std::optional<media::SoundFormat> agreedSoundFormat(const spa_pod* format);

} // namespace brindle::pipewire
