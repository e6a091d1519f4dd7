// Bytes that can be written as well: the movie that becomes whole where it stands.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"

#include <cstdint>
#include <span>

namespace brindle::media {

/// One thread at a time. Operations answer 0 or an `errno`; after a failure any part of what was to
/// be written may be there. What was not synced may be lost, in any order, with the power.
class EditableBytes : public ByteSource {
  public:
    /// Adds to the end, which grows the size.
    [[nodiscard]] virtual int append(std::span<const std::uint8_t> bytes) = 0;
    /// Within the size.
    [[nodiscard]] virtual int
    overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) = 0;
    /// To a size that is not larger.
    [[nodiscard]] virtual int cutTo(std::int64_t size) = 0;
    [[nodiscard]] virtual int sync() = 0;
};

} // namespace brindle::media
