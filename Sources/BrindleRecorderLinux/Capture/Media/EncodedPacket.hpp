// Compressed samples on their way from an encoder to the file.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <chrono>
#include <cstddef>

namespace brindle::media {

/// One frame, or one block of sound.
struct EncodedPacket {
    std::size_t track = 0;             ///< in the order in which the writer was given the tracks
    PacketHandle packet;               ///< times in the encoder's units
    std::chrono::nanoseconds start{0}; ///< media time, from the recording's beginning
    std::chrono::nanoseconds end{0};
    bool startsFragment = false; ///< a fragment has to end before it
};

} // namespace brindle::media
