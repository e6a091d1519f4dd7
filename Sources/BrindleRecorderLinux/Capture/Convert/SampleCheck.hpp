// Tells samples that cannot be what an encoder wrote from those that can, without decoding them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace brindle::media {

enum class SampleCoding { h264, aac, other };

/// How a track's samples are coded.
struct SampleFormat {
    SampleCoding coding = SampleCoding::other;
    std::size_t nalLengthSize = 4; ///< bytes in front of each NAL unit; for H.264
};

/// H.264 as it stands in a movie: `configuration` is the track's decoder configuration record
/// (ISO/IEC 14496-15, 5.3.3.1).
SampleFormat h264Format(std::span<const std::uint8_t> configuration);

/// Where a sample stands in its file. Files lose whole blocks of a disk, so zeros mean most at the
/// borders of blocks.
struct SamplePlace {
    std::int64_t offset = 0;   ///< of the first byte
    bool followsZeros = false; ///< the sample that ends there was damaged and ended in zeros
};

/// False when the sample has certainly been damaged: it is empty, its parts do not fill it exactly,
/// or it holds zeros where its coding allows none. True is no promise that the sample decodes.
bool mayBeIntact(
    const SampleFormat& format, std::span<const std::uint8_t> sample, SamplePlace place);

} // namespace brindle::media
