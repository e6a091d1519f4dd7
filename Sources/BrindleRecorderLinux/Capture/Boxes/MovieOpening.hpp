// How a recording of ours begins, so that a few bytes make one MP4 file of it.
//
// A recording opens with room for another opening:
//
//     in the making      ftyp (QuickTime) · free: the room · moov · moof · mdat · moof · mdat …
//     complete           ftyp (MP4) · mdat: everything up to the index ………………… · moov: the index
//
// What one is made the other by lies within the first sector of the disk, which is written whole or
// not at all. No sample moves, and nothing of either is lost: the fragments' headers lie unused in
// the media data of the one, and the index unused behind the fragments of the other.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace brindle::media {

struct MovieOpening {
    /// Bytes at the beginning of the file that tell, and that are written. Behind them the room
    /// goes on, or the media data does.
    static constexpr std::size_t length = 64;
    using Bytes = std::array<std::uint8_t, length>;

    std::uint32_t roomSize = 0; ///< of the `free` box, its head included
    /// Where the index stands; absent in the making.
    std::optional<std::int64_t> index;

    /// Nothing when a movie begins with these that is not ours, or has none of the two openings.
    static std::optional<MovieOpening> parse(std::span<const std::uint8_t> bytes);

    [[nodiscard]] Bytes bytes() const;

    friend bool operator==(const MovieOpening&, const MovieOpening&) = default;
};

/// Where the room begins, and the least that it takes.
constexpr std::uint32_t movieRoomOffset = 20;
constexpr std::uint32_t leastMovieRoom =
    static_cast<std::uint32_t>(MovieOpening::length) - movieRoomOffset;

} // namespace brindle::media
