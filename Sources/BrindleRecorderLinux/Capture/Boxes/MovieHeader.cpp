#include "BrindleRecorderLinux/Capture/Boxes/MovieHeader.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/SampleTable.hpp"

#include <algorithm>

namespace brindle::media {

namespace {

/// A recording has two; the rest is room for movies from elsewhere.
constexpr std::size_t mostTracks = 64;

/// A track while its boxes are being read.
struct TrackContents {
    TrackHeader header;
    SampleTable table;
    std::int64_t edits = 0; ///< that show media
    bool isEdited = false;
};

/// Movie header (ISO/IEC 14496-12, 8.2.2 `mvhd`). A movie without one claims nothing.
Seconds readDuration(BigEndianReader box) {
    const bool longTimes = readFullBoxHeader(box).version == 1;
    box.skip(longTimes ? 16 : 8); // creation and modification time
    const std::uint32_t timescale = box.u32();
    const std::uint64_t duration = longTimes ? box.u64() : box.u32();
    return box.ok() && timescale != 0 ? Seconds{static_cast<double>(duration) / timescale}
                                      : Seconds{0};
}

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

/// How often the edit list (ISO/IEC 14496-12, 8.6.6 `elst`) goes through the media. Each time costs
/// the reading library memory for what it covers.
std::int64_t countEdits(BigEndianReader box) {
    const bool longTimes = readFullBoxHeader(box).version == 1;
    const std::uint32_t claimed = box.u32();
    std::int64_t edits = 0;
    for (std::uint32_t entry = 0; entry < claimed && box.remaining() > 0; ++entry) {
        box.skip(longTimes ? 8 : 4); // duration
        const std::int64_t mediaTime = longTimes ? static_cast<std::int64_t>(box.u64()) : box.i32();
        box.skip(4); // rate
        constexpr std::int64_t silence = -1;
        edits += mediaTime == silence ? 0 : 1;
    }
    return edits;
}

/// The box of a sample table that says where samples lie. Nothing when the box is another.
std::optional<bool> readSampleTable(const Box& box, SampleTable& table) {
    const BigEndianReader contents{box.payload};
    switch (box.type) {
    case boxType("stsz"):
        return table.readSizes(contents);
    case boxType("stz2"):
        return table.readCompactSizes(contents);
    case boxType("stsc"):
        return table.readSamplesPerChunk(contents);
    case boxType("stco"):
        return table.readChunkOffsets(contents, 4);
    case boxType("co64"):
        return table.readChunkOffsets(contents, 8);
    default:
        return std::nullopt;
    }
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
        case boxType("elst"):
            track.edits += countEdits(contents);
            track.isEdited = true;
            break;
        case boxType("edts"):
        case boxType("mdia"):
        case boxType("minf"):
        case boxType("stbl"):
            readable = readTrack(contents, track, depth + 1);
            break;
        default:
            readable = readSampleTable(*box, track.table).value_or(true);
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

std::int64_t samplesToRead(const TrackContents& track) {
    const std::int64_t samples = std::min(track.table.sampleCount(), mostSamplesOfAMovie + 1);
    return samples * std::max<std::int64_t>(track.edits, 1);
}

bool doSamplesOverlap(const std::vector<SampleTable>& tables) {
    std::vector<MediaExtent> extents;
    for (const SampleTable& table : tables) {
        table.addExtents(extents);
    }
    return overlap(extents);
}

} // namespace

std::optional<MovieHeader> parseMovieHeader(std::span<const std::uint8_t> payload) {
    MovieHeader movie;
    std::optional<BigEndianReader> fragmentDefaults;
    std::vector<SampleTable> tables;
    std::int64_t chunks = 0;
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
            movie.indexedSamples += samplesToRead(track);
            movie.isEdited = movie.isEdited || track.isEdited;
            chunks += track.table.chunkCount();
            tables.push_back(track.table);
        } else if (box->type == boxType("mvhd")) {
            movie.duration = readDuration(BigEndianReader{box->payload});
        } else if (box->type == boxType("mvex")) {
            fragmentDefaults.emplace(box->payload);
        }
    }
    if (!boxes.ok() || movie.tracks.empty()) {
        return std::nullopt;
    }
    // An empty chunk costs as much as a sample.
    movie.indexedSamples = std::max(movie.indexedSamples, chunks);
    movie.samplesOverlap = movie.indexedSamples <= mostSamplesOfAMovie && doSamplesOverlap(tables);
    // Last, because it may stand before the tracks.
    if (fragmentDefaults) {
        movie.fragmented = true;
        readFragmentDefaults(*fragmentDefaults, movie.tracks);
    }
    return movie;
}

} // namespace brindle::media
