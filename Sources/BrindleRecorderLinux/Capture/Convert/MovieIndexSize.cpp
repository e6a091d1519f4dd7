#include "BrindleRecorderLinux/Capture/Convert/MovieIndexSize.hpp"

#include <limits>

namespace brindle::media {

namespace {

/// Where the library ends a chunk although samples of the same track follow.
constexpr std::int64_t longestChunk = std::int64_t{1} << 20U;

/// All boxes of fixed length of the movie and of a track, with room to spare: they take about 220
/// and 750 bytes.
constexpr std::int64_t movieBoxes = 1024;
constexpr std::int64_t trackBoxes = 1024;

} // namespace

void MovieIndexSize::add(const Sample& sample) {
    if (sample.track >= tracks_.size()) {
        tracks_.resize(sample.track + 1);
    }
    Track& track = tracks_[sample.track];
    const std::int64_t size = sample.size;
    if (lastTrack_ != sample.track || track.bytesInChunk + size >= longestChunk) {
        if (track.chunks > 0) {
            track.chunkLengths.add(track.samplesInChunk);
        }
        ++track.chunks;
        track.samplesInChunk = 0;
        track.bytesInChunk = 0;
    }
    ++track.samplesInChunk;
    track.bytesInChunk += size;
    if (track.lastDecodeTime) {
        track.durations.add(sample.decodeTime - *track.lastDecodeTime);
    }
    track.lastDecodeTime = sample.decodeTime;
    track.compositionOffsets.add(sample.compositionOffset);
    ++track.samples;
    track.syncSamples += sample.isSync ? 1 : 0;
    lastTrack_ = sample.track;
    mediaBytes_ += size;
}

std::int64_t MovieIndexSize::upperBound(std::int64_t configurationBytes) const {
    std::int64_t bytes = movieBoxes + configurationBytes;
    for (const Track& track : tracks_) {
        bytes += trackBoxes;
        bytes += 4 * track.samples;                    // stsz
        bytes += 8 * (track.durations.count() + 1);    // stts; the last duration is not known
        bytes += 8 * track.compositionOffsets.count(); // ctts
        bytes += track.syncSamples < track.samples ? 4 * track.syncSamples : 0; // stss
        bytes += 12 * (track.chunkLengths.count() + 1); // stsc; the last chunk has not ended
        bytes += 8 * track.chunks;                      // co64
    }
    // Places in the first 4 GiB take half the room; the index itself stands in front of them.
    if (mediaBytes_ + 2 * bytes < std::numeric_limits<std::uint32_t>::max()) {
        for (const Track& track : tracks_) {
            bytes -= 4 * track.chunks;
        }
    }
    return bytes;
}

} // namespace brindle::media
