// Writes the index of an MP4 file whose samples lie where they lie.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/MovieFragment.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace brindle::media {

/// Grows without being moved: hours have hundreds of thousands.
using Samples = std::deque<FragmentSample>;

/// One track's samples in decode order, at least one.
struct IndexTrack {
    std::uint32_t timescale = 0; ///< ticks in a second
    Samples samples;

    /// From the first sample's beginning to the last one's end, in ticks.
    [[nodiscard]] std::int64_t duration() const {
        const FragmentSample& last = samples.back();
        return last.decodeTime + last.duration - samples.front().decodeTime;
    }
};

/// The `moov` box that lists the samples. `description` is the content of one that describes the
/// same tracks, in the same order, and lists none. A track that begins later than the movie gets
/// edits that say so. Nothing where the description is of another kind, where pictures are
/// reordered, or where a number has no room in the tables.
std::optional<std::vector<std::uint8_t>>
makeMovieIndex(std::span<const std::uint8_t> description, const std::vector<IndexTrack>& tracks);

} // namespace brindle::media
