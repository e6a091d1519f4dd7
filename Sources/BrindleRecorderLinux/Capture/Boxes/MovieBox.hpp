// The boxes that a QuickTime or MP4 movie is made of (ISO/IEC 14496-12, 4.2).
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianReader.hpp"

#include <cstdint>
#include <optional>
#include <span>

namespace brindle::media {

using BoxType = std::uint32_t;

/// The type that four characters stand for.
constexpr BoxType boxType(const char (&name)[5]) {
    BoxType type = 0;
    for (int index = 0; index < 4; ++index) {
        type = type << 8U | static_cast<std::uint8_t>(name[index]);
    }
    return type;
}

/// The head of a box in a file.
struct BoxHeader {
    BoxType type = 0;
    std::int64_t size = 0;       ///< of the whole box; 0 when it reaches to the end of the file
    std::int64_t headerSize = 0; ///< 8 or 16
};

constexpr std::size_t longestBoxHeader = 16;

/// Nothing when these are not the first bytes of a box. `bytes` may go on beyond the header.
std::optional<BoxHeader> parseBoxHeader(std::span<const std::uint8_t> bytes);

/// A box in memory, without its head.
struct Box {
    BoxType type = 0;
    std::span<const std::uint8_t> payload;
};

/// Takes the next box from the reader. Nothing at the end, and nothing when what is there is no
/// whole box: then `parent.ok()` is false.
std::optional<Box> nextBox(BigEndianReader& parent);

/// What is common to the versioned boxes (ISO/IEC 14496-12, 4.2).
struct FullBoxHeader {
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
};

FullBoxHeader readFullBoxHeader(BigEndianReader& box);

} // namespace brindle::media
