// What one fragment's header says of its samples (ISO/IEC 14496-12, 8.8.4 `moof`).
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/MovieHeader.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace brindle::media {

struct FragmentSample {
    std::size_t track = 0;       ///< index into the movie's tracks
    std::int64_t offset = 0;     ///< in the file
    std::uint32_t size = 0;      ///< bytes
    std::int64_t decodeTime = 0; ///< ticks of the track
    std::uint32_t duration = 0;  ///< ticks of the track
    std::int64_t compositionOffset = 0;
    bool isSync = false; ///< a key frame
};

/// How far a track's time has come.
struct TrackTime {
    std::optional<std::int64_t> lastSample; ///< decode time of the last one
    std::int64_t next = 0;                  ///< where the next one starts if nothing else is said
};

struct MovieFragment {
    std::vector<FragmentSample> samples; ///< in the order of their places in the file
    std::int64_t dataEnd = 0;            ///< where the last byte of the last sample ends
    std::vector<TrackTime> times;        ///< of every track, after the fragment
};

/// A longer silence within a track is taken for damage, not for time. The tables of an MP4 file
/// could not tell it: a sample's duration has 32 bits.
constexpr std::int64_t longestGapSeconds = 6 * 60 * 60;

/// `payload` is the content of the `moof` box that starts at `offset` and ends at `end`; `times`
/// are those of the tracks before it. Nothing when the box contradicts itself, its own place or
/// what came before: then none of its samples can be trusted.
std::optional<MovieFragment> parseFragment(
    std::span<const std::uint8_t> payload, std::int64_t offset, std::int64_t end,
    const std::vector<TrackHeader>& tracks, const std::vector<TrackTime>& times);

} // namespace brindle::media
