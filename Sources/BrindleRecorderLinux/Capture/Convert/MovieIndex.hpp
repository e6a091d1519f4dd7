// Writes the index of an MP4 file whose samples lie where they lie.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/MovieFragment.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace brindle::media {

/// One track's samples in decode order, at least one.
struct IndexTrack {
    std::uint32_t timescale = 0; ///< ticks in a second
    std::vector<FragmentSample> samples;
};

/// The `moov` box that lists the samples. `description` is the content of one that describes the
/// same tracks, in the same order, and lists none. A track that begins later than the movie gets an
/// edit that says so. Nothing where the description is of another kind, where pictures are
/// reordered, or where a number has no room in the tables.
std::optional<std::vector<std::uint8_t>>
makeMovieIndex(std::span<const std::uint8_t> description, const std::vector<IndexTrack>& tracks);

} // namespace brindle::media
