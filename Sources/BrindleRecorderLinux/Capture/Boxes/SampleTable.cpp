#include "BrindleRecorderLinux/Capture/Boxes/SampleTable.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieHeader.hpp"

#include <algorithm>
#include <limits>

namespace brindle::media {

namespace {

/// Goes through the runs of chunks that hold the same number of samples. The table is a few bytes
/// long however many chunks it claims.
class ChunkRuns {
  public:
    struct Run {
        std::int64_t chunks = 0;
        std::int64_t samplesPerChunk = 0;
    };

    ChunkRuns(BigEndianReader box, std::int64_t chunks) : box_{box}, chunks_{chunks} {
        readFullBoxHeader(box_);
        entries_ = box_.u32();
    }

    /// Nothing once every chunk has been told.
    std::optional<Run> next() {
        while (entries_ > 0 && box_.ok()) {
            --entries_;
            const std::int64_t firstChunk = box_.u32();
            const std::int64_t reached = std::clamp(firstChunk - 1, told_, chunks_);
            const Run run{reached - told_, samplesPerChunk_};
            told_ = reached;
            samplesPerChunk_ = box_.u32();
            box_.skip(4); // sample description
            if (run.chunks > 0) {
                return run;
            }
        }
        if (told_ == chunks_) {
            return std::nullopt;
        }
        const Run run{chunks_ - told_, samplesPerChunk_};
        told_ = chunks_;
        return run;
    }

  private:
    BigEndianReader box_;
    std::int64_t chunks_;
    std::uint32_t entries_ = 0;
    std::int64_t samplesPerChunk_ = 0;
    std::int64_t told_ = 0; // chunks
};

} // namespace

/// Hands out the sizes of a track's samples one after the other.
class SampleTable::SizeReader {
  public:
    explicit SizeReader(const SampleTable& table)
        : table_{table}, entries_{table.sizes_.value_or(BigEndianReader{{}})} {}

    /// The size of the next `count` samples together, as far as there are so many.
    std::uint64_t sizeOf(std::int64_t count) {
        const std::int64_t given = std::min(count, table_.samples_ - read_);
        if (table_.commonSize_ != 0) {
            read_ += given;
            return static_cast<std::uint64_t>(given) * table_.commonSize_;
        }
        std::uint64_t bytes = 0;
        for (std::int64_t index = 0; index < given; ++index) {
            bytes += next();
        }
        return bytes;
    }

  private:
    std::uint32_t next() {
        const bool isSecondHalf = read_++ % 2 == 1;
        switch (table_.bitsPerSize_) {
        case 4:
            if (isSecondHalf) {
                return halves_ & 0xFU;
            }
            halves_ = entries_.u8();
            return halves_ >> 4U;
        case 8:
            return entries_.u8();
        case 16:
            return static_cast<std::uint32_t>(entries_.u8()) << 8U | entries_.u8();
        default:
            return entries_.u32();
        }
    }

    const SampleTable& table_;
    BigEndianReader entries_;
    std::int64_t read_ = 0; ///< samples
    std::uint8_t halves_ = 0;
};

bool SampleTable::readSamplesPerChunk(BigEndianReader box) {
    const bool isFirst = !samplesPerChunk_;
    samplesPerChunk_ = box;
    return isFirst;
}

bool SampleTable::readSizes(BigEndianReader box) {
    readFullBoxHeader(box);
    commonSize_ = box.u32();
    const std::uint32_t count = box.u32();
    const bool isFirst = !sizes_;
    samples_ = count;
    bitsPerSize_ = 32;
    sizes_ = box;
    return box.ok() && isFirst && (commonSize_ != 0 || box.remaining() / 4 >= count);
}

bool SampleTable::readCompactSizes(BigEndianReader box) {
    readFullBoxHeader(box);
    box.skip(3);
    bitsPerSize_ = box.u8();
    const std::uint32_t count = box.u32();
    const bool isFirst = !sizes_;
    samples_ = count;
    commonSize_ = 0;
    sizes_ = box;
    const bool isKnown = bitsPerSize_ == 4 || bitsPerSize_ == 8 || bitsPerSize_ == 16;
    return box.ok() && isFirst && isKnown &&
           box.remaining() >= (std::uint64_t{count} * bitsPerSize_ + 7) / 8;
}

bool SampleTable::readChunkOffsets(BigEndianReader box, std::size_t entrySize) {
    readFullBoxHeader(box);
    const std::uint32_t count = box.u32();
    const bool isFirst = !offsets_;
    chunks_ = count;
    bytesPerOffset_ = entrySize;
    offsets_ = box;
    return box.ok() && isFirst && box.remaining() / entrySize >= count;
}

std::int64_t SampleTable::sampleCount() const {
    return std::max(samples_, samplesInChunks());
}

std::int64_t SampleTable::samplesInChunks() const {
    if (!samplesPerChunk_) {
        return 0;
    }
    std::int64_t samples = 0;
    ChunkRuns runs{*samplesPerChunk_, chunks_};
    while (const auto run = runs.next()) {
        samples += run->chunks * run->samplesPerChunk;
        if (samples > mostSamplesOfAMovie) {
            break;
        }
    }
    return samples;
}

void SampleTable::addExtents(std::vector<MediaExtent>& extents) const {
    if (!samplesPerChunk_ || !offsets_) {
        return;
    }
    SizeReader sizes{*this};
    BigEndianReader offsets = *offsets_;
    ChunkRuns runs{*samplesPerChunk_, chunks_};
    while (const auto run = runs.next()) {
        for (std::int64_t chunk = 0; chunk < run->chunks; ++chunk) {
            const std::uint64_t offset = bytesPerOffset_ == 8 ? offsets.u64() : offsets.u32();
            const std::uint64_t size = sizes.sizeOf(run->samplesPerChunk);
            if (size > 0) {
                extents.push_back({offset, size});
            }
        }
    }
}

bool overlap(std::vector<MediaExtent>& extents) {
    std::ranges::sort(extents, {}, &MediaExtent::offset);
    // Written so that no sum can go beyond what the type holds.
    const auto reachesInto = [](const MediaExtent& extent, const MediaExtent& next) {
        return next.offset - extent.offset < extent.size;
    };
    return std::ranges::adjacent_find(extents, reachesInto) != extents.end();
}

} // namespace brindle::media
