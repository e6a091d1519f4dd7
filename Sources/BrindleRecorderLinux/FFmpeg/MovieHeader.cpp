#include "BrindleRecorderLinux/FFmpeg/MovieHeader.hpp"

#include "BrindleRecorderLinux/FFmpeg/MovieBox.hpp"

#include <algorithm>

namespace brindle::media {

namespace {

/// A recording has two; the rest is room for movies from elsewhere.
constexpr std::size_t mostTracks = 64;

/// A track while its boxes are being read.
struct TrackContents {
    TrackHeader header;
    std::int64_t samples = 0;
    std::int64_t chunks = 0;
    std::optional<BigEndianReader> samplesPerChunk;
};

/// Track header (ISO/IEC 14496-12, 8.3.2 `tkhd`).
bool readTrackHeader(BigEndianReader box, TrackContents& track) {
    const bool longTimes = readFullBoxHeader(box).version == 1;
    box.skip(longTimes ? 16 : 8); // creation and modification time
    track.header.id = box.u32();
    return box.ok() && track.header.id != 0;
}

/// Media header (ISO/IEC 14496-12, 8.4.2 `mdhd`).
bool readMediaHeader(BigEndianReader box, TrackContents& track) {
    const bool longTimes = readFullBoxHeader(box).version == 1;
    box.skip(longTimes ? 16 : 8); // creation and modification time
    track.header.timescale = box.u32();
    return box.ok() && track.header.timescale != 0;
}

/// Sample sizes (ISO/IEC 14496-12, 8.7.3.2 `stsz`).
bool readSampleSizes(BigEndianReader box, TrackContents& track) {
    readFullBoxHeader(box);
    const std::uint32_t commonSize = box.u32();
    const std::uint32_t count = box.u32();
    track.samples = std::max<std::int64_t>(track.samples, count);
    return box.ok() && (commonSize != 0 || box.remaining() / 4 >= count);
}

/// Places of the chunks (ISO/IEC 14496-12, 8.7.5 `stco`, `co64`).
bool readChunkOffsets(BigEndianReader box, std::size_t entrySize, TrackContents& track) {
    readFullBoxHeader(box);
    const std::uint32_t count = box.u32();
    track.chunks = std::max<std::int64_t>(track.chunks, count);
    return box.ok() && box.remaining() / entrySize >= count;
}

/// How many samples the chunks hold by the table of samples in each chunk (ISO/IEC 14496-12, 8.7.4
/// `stsc`). The table is a few bytes long however many it claims.
std::int64_t samplesInChunks(BigEndianReader box, std::int64_t chunks) {
    readFullBoxHeader(box);
    const std::uint32_t count = box.u32();
    std::int64_t samples = 0;
    std::int64_t perChunk = 0;
    std::int64_t counted = 0; // chunks
    for (std::uint32_t entry = 0; entry < count && box.ok(); ++entry) {
        const std::int64_t firstChunk = box.u32();
        const std::int64_t reached = std::clamp(firstChunk - 1, counted, chunks);
        samples += (reached - counted) * perChunk;
        counted = reached;
        perChunk = box.u32();
        box.skip(4); // sample description
        if (samples > mostSamplesOfAMovie) {
            return samples;
        }
    }
    return samples + (chunks - counted) * perChunk;
}

/// Everything of a track that matters, at whatever depth the standard has put it.
bool readTrack(BigEndianReader boxes, TrackContents& track, int depth = 0) {
    constexpr int deepest = 8;
    if (depth > deepest) {
        return false;
    }
    while (const auto box = nextBox(boxes)) {
        const BigEndianReader contents{box->payload};
        bool readable = true;
        switch (box->type) {
        case boxType("tkhd"):
            readable = readTrackHeader(contents, track);
            break;
        case boxType("mdhd"):
            readable = readMediaHeader(contents, track);
            break;
        case boxType("stsz"):
            readable = readSampleSizes(contents, track);
            break;
        case boxType("stsc"):
            track.samplesPerChunk = contents;
            break;
        case boxType("stco"):
            readable = readChunkOffsets(contents, 4, track);
            break;
        case boxType("co64"):
            readable = readChunkOffsets(contents, 8, track);
            break;
        case boxType("mdia"):
        case boxType("minf"):
        case boxType("stbl"):
            readable = readTrack(contents, track, depth + 1);
            break;
        default:
            break;
        }
        if (!readable) {
            return false;
        }
    }
    return boxes.ok();
}

/// Defaults for fragments (ISO/IEC 14496-12, 8.8.1 `mvex`, 8.8.3 `trex`).
void readFragmentDefaults(BigEndianReader boxes, std::vector<TrackHeader>& tracks) {
    while (const auto box = nextBox(boxes)) {
        if (box->type != boxType("trex")) {
            continue;
        }
        BigEndianReader fields{box->payload};
        readFullBoxHeader(fields);
        const std::uint32_t id = fields.u32();
        fields.skip(4); // sample description
        const auto track = std::ranges::find(tracks, id, &TrackHeader::id);
        if (track != tracks.end()) {
            track->defaultSampleDuration = fields.u32();
            track->defaultSampleSize = fields.u32();
            track->defaultSampleFlags = fields.u32();
        }
    }
}

} // namespace

std::optional<MovieHeader> parseMovieHeader(std::span<const std::uint8_t> payload) {
    MovieHeader movie;
    std::optional<BigEndianReader> fragmentDefaults;
    BigEndianReader boxes{payload};
    while (const auto box = nextBox(boxes)) {
        if (box->type == boxType("trak")) {
            TrackContents track;
            if (movie.tracks.size() == mostTracks ||
                !readTrack(BigEndianReader{box->payload}, track) || track.header.id == 0 ||
                track.header.timescale == 0) {
                return std::nullopt;
            }
            movie.tracks.push_back(track.header);
            if (track.samplesPerChunk) {
                track.samples =
                    std::max(track.samples, samplesInChunks(*track.samplesPerChunk, track.chunks));
            }
            movie.indexedSamples += track.samples;
        } else if (box->type == boxType("mvex")) {
            fragmentDefaults.emplace(box->payload);
        }
    }
    if (!boxes.ok() || movie.tracks.empty()) {
        return std::nullopt;
    }
    // Last, because it may stand before the tracks.
    if (fragmentDefaults) {
        movie.fragmented = true;
        readFragmentDefaults(*fragmentDefaults, movie.tracks);
    }
    return movie;
}

} // namespace brindle::media
