// Bytes that can be read at any position: what the readers of movies work on.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace brindle::media {

/// One thread at a time.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Bytes. Changes by nobody but whoever writes through this object.
    [[nodiscard]] virtual std::int64_t size() const = 0;

    /// The open file whose bytes these are, at the same places; nothing where they are no file's.
    [[nodiscard]] virtual std::optional<int> file() const { return std::nullopt; }

    /// Fills the buffer with the bytes from `offset` (0 or more) on. Answers how many there were:
    /// fewer than asked for only where the source ends. Fails with an `errno`.
    virtual Expected<std::size_t, int>
    readAt(std::int64_t offset, std::span<std::uint8_t> buffer) = 0;
};

} // namespace brindle::media
