#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"

#include <limits>

namespace brindle::media {

std::optional<BoxHeader> parseBoxHeader(std::span<const std::uint8_t> bytes) {
    BigEndianReader reader{bytes};
    std::uint64_t size = reader.u32();
    BoxHeader header{.type = reader.u32(), .size = 0, .headerSize = 8};
    if (size == 1) {
        size = reader.u64();
        header.headerSize = 16;
    }
    const bool reachesToTheEnd = size == 0 && header.headerSize == 8;
    if (!reader.ok() || size > std::numeric_limits<std::int64_t>::max() / 2 ||
        (!reachesToTheEnd && size < static_cast<std::uint64_t>(header.headerSize))) {
        return std::nullopt;
    }
    header.size = static_cast<std::int64_t>(size);
    return header;
}

std::optional<Box> nextBox(BigEndianReader& parent) {
    if (parent.remaining() == 0) {
        return std::nullopt;
    }
    const std::size_t available = parent.remaining();
    std::uint64_t size = parent.u32();
    const BoxType type = parent.u32();
    std::uint64_t headerSize = 8;
    if (size == 1) {
        size = parent.u64();
        headerSize = 16;
    }
    if (!parent.ok() || size < headerSize || size > available) {
        parent.skip(std::numeric_limits<std::size_t>::max());
        return std::nullopt;
    }
    return Box{type, parent.bytes(static_cast<std::size_t>(size - headerSize))};
}

FullBoxHeader readFullBoxHeader(BigEndianReader& box) {
    const std::uint8_t version = box.u8();
    return {version, box.u24()};
}

} // namespace brindle::media
