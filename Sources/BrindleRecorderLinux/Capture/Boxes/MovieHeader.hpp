// What a movie's header says of its tracks (ISO/IEC 14496-12, 8.2.1 `moov`).
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace brindle::media {

/// A day of picture and sound has fewer. Movies that claim more are refused, so that a few damaged
/// bytes cannot ask for all the memory of the machine.
constexpr std::int64_t mostSamplesOfAMovie = std::int64_t{1} << 23;

/// One track, with what holds for the samples of its fragments unless they say otherwise
/// (ISO/IEC 14496-12, 8.8.3 `trex`).
struct TrackHeader {
    std::uint32_t id = 0;
    std::uint32_t timescale = 0; ///< ticks in a second
    std::uint32_t defaultSampleDuration = 0;
    std::uint32_t defaultSampleSize = 0;
    std::uint32_t defaultSampleFlags = 0;
};

struct MovieHeader {
    Seconds duration{0}; ///< as it claims
    std::vector<TrackHeader> tracks;
    bool fragmented = false; ///< samples may follow in fragments
    /// That the header itself lists, as often as its edit lists repeat them.
    std::int64_t indexedSamples = 0;
    bool samplesOverlap = false; ///< of those; false where they are too many to look
    bool isEdited = false;       ///< a track is not simply shown from its beginning
};

/// `payload` is the content of the `moov` box. Nothing when it makes no sense.
std::optional<MovieHeader> parseMovieHeader(std::span<const std::uint8_t> payload);

} // namespace brindle::media
