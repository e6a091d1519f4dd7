// Pictures and sound of known content at known moments.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <chrono>
#include <cstdint>
#include <vector>

namespace brindle::test {

/// A grey picture of the given brightness (16 black, 235 white), planar 4:2:0.
media::CapturedPicture
greyPicture(media::Moment time, int brightness, int width = 320, int height = 180);

/// Mono sound: a sine of that frequency, which goes on from one block to the next, or silence.
media::CapturedSound toneBlock(
    media::Moment time, int count, double amplitude, double frequency = 1000,
    int sampleRate = 48'000);

/// A white picture, compressed as cameras do it.
std::vector<std::uint8_t> whiteJpeg(int width, int height);

} // namespace brindle::test
