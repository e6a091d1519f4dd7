// Reads the fields of a box from memory, never beyond its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace brindle::media {

/// Once a read would have gone beyond the end, it and every later one answer zero, and `ok` is
/// false.
class BigEndianReader {
  public:
    explicit BigEndianReader(std::span<const std::uint8_t> bytes) : rest_{bytes} {}

    [[nodiscard]] bool ok() const { return ok_; }
    [[nodiscard]] std::size_t remaining() const { return rest_.size(); }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint32_t u24() { return static_cast<std::uint32_t>(number(3)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
    std::uint64_t u64() { return number(8); }

    std::span<const std::uint8_t> bytes(std::size_t count) {
        if (count > rest_.size()) {
            ok_ = false;
            rest_ = {};
            return {};
        }
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }

    void skip(std::size_t count) { bytes(count); }

  private:
    std::uint64_t number(std::size_t size) {
        std::uint64_t value = 0;
        for (const std::uint8_t byte : bytes(size)) {
            value = value << 8U | byte;
        }
        return value;
    }

    std::span<const std::uint8_t> rest_;
    bool ok_ = true;
};

} // namespace brindle::media
