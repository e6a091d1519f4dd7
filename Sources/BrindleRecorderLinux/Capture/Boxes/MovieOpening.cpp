#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianReader.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/BigEndianWriter.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"

#include <algorithm>

namespace brindle::media {

namespace {

/// Behind the room that changes, so that it stands in both openings: what tells our movies from
/// others, followed by the size of the room.
constexpr std::size_t markOffset = 48;
constexpr std::array<std::uint8_t, 12> mark{'B', 'r', 'i', 'n', 'd', 'l',
                                            'e', ' ', 'r', 'o', 'o', 'm'};
constexpr std::size_t roomSizeOffset = markOffset + mark.size();
static_assert(roomSizeOffset + 4 == MovieOpening::length);

constexpr std::size_t longHeader = 16;

/// File type box (ISO/IEC 14496-12, 4.3 `ftyp`).
void putFileType(BigEndianWriter& writer, BoxType brand, std::span<const BoxType> compatible) {
    writer.box(boxType("ftyp"), [&] {
        constexpr std::uint32_t minorVersion = 0x200;
        writer.u32(brand);
        writer.u32(minorVersion);
        for (const BoxType other : compatible) {
            writer.u32(other);
        }
    });
}

} // namespace

MovieOpening::Bytes MovieOpening::bytes() const {
    BigEndianWriter writer;
    if (index) {
        constexpr std::array brands{
            boxType("isom"), boxType("iso2"), boxType("avc1"), boxType("mp41")};
        putFileType(writer, boxType("isom"), brands);
        const auto start = static_cast<std::int64_t>(writer.bytes().size());
        writer.u32(1); // the size follows
        writer.u32(boxType("mdat"));
        writer.u64(static_cast<std::uint64_t>(*index - start));
    } else {
        constexpr std::array brands{boxType("qt  ")};
        putFileType(writer, boxType("qt  "), brands);
        writer.u32(roomSize);
        writer.u32(boxType("free"));
    }
    Bytes opening{};
    std::ranges::copy(writer.bytes(), opening.begin());
    std::ranges::copy(mark, opening.begin() + markOffset);
    BigEndianWriter::putNumber(roomSize, std::span{opening}.subspan(roomSizeOffset));
    return opening;
}

std::optional<MovieOpening> MovieOpening::parse(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < length) {
        return std::nullopt;
    }
    const auto opening = bytes.first(length);
    MovieOpening read{
        .roomSize = BigEndianReader{opening.subspan(roomSizeOffset)}.u32(), .index = {}};
    if (read.roomSize < leastMovieRoom) {
        return std::nullopt;
    }
    if (std::ranges::equal(read.bytes(), opening)) {
        return read;
    }
    const std::size_t dataOffset = markOffset - longHeader;
    const auto data = parseBoxHeader(opening.subspan(dataOffset, longHeader));
    if (!data) {
        return std::nullopt;
    }
    read.index = static_cast<std::int64_t>(dataOffset) + data->size;
    return std::ranges::equal(read.bytes(), opening) ? std::optional{read} : std::nullopt;
}

} // namespace brindle::media
