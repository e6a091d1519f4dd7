// Where the samples lie that a movie's header lists itself (ISO/IEC 14496-12, 8.5.1 `stbl`).
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianReader.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace brindle::media {

/// Bytes of a file.
struct MediaExtent {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// The tables of one track, as its boxes come along in whatever order. Each `read…` takes a box's
/// content and answers false when that promises more than it holds, or when there was one before:
/// nobody could tell which of the two the media library goes by.
class SampleTable {
  public:
    /// 8.7.3.2 `stsz`
    bool readSizes(BigEndianReader box);
    /// 8.7.3.3 `stz2`
    bool readCompactSizes(BigEndianReader box);
    /// 8.7.4 `stsc`
    bool readSamplesPerChunk(BigEndianReader box);
    /// 8.7.5 `stco` with entries of 4 bytes, `co64` with entries of 8
    bool readChunkOffsets(BigEndianReader box, std::size_t entrySize);

    /// How many samples there are, by the table that claims the most.
    [[nodiscard]] std::int64_t sampleCount() const;
    [[nodiscard]] std::int64_t chunkCount() const { return chunks_; }
    /// Adds the places of the chunks that hold anything. Time and memory grow with the counts.
    void addExtents(std::vector<MediaExtent>& extents) const;

  private:
    class SizeReader;

    [[nodiscard]] std::int64_t samplesInChunks() const;

    std::int64_t samples_ = 0;
    std::uint32_t commonSize_ = 0;  ///< bytes; 0 where each sample has its own
    std::uint32_t bitsPerSize_ = 0; ///< of an entry in `sizes_`
    std::optional<BigEndianReader> sizes_;
    std::optional<BigEndianReader> samplesPerChunk_;
    std::int64_t chunks_ = 0;
    std::size_t bytesPerOffset_ = 0;
    std::optional<BigEndianReader> offsets_;
};

/// Sorts the extents.
bool overlap(std::vector<MediaExtent>& extents);

} // namespace brindle::media
