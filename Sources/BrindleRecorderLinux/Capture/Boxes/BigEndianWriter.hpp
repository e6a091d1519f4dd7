// Puts the fields of boxes into memory.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace brindle::media {

class BigEndianWriter {
  public:
    void u8(std::uint8_t value) { bytes_.push_back(value); }
    void u16(std::uint16_t value) { number<2>(value); }
    void u32(std::uint32_t value) { number<4>(value); }
    void u64(std::uint64_t value) { number<8>(value); }
    void put(std::span<const std::uint8_t> bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    /// A box whose content `fill` writes; it must stay shorter than 4 GiB.
    template <class Fill>
    void box(BoxType type, Fill fill) {
        const std::size_t start = bytes_.size();
        u32(0);
        u32(type);
        fill();
        const std::size_t size = bytes_.size() - start;
        assert(size <= std::numeric_limits<std::uint32_t>::max());
        putNumber(static_cast<std::uint32_t>(size), std::span{bytes_}.subspan(start, 4));
    }
    template <class Fill>
    void fullBox(BoxType type, FullBoxHeader header, Fill fill) {
        box(type, [&] {
            u8(header.version);
            number<3>(header.flags);
            fill();
        });
    }

    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }
    [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(bytes_); }

    /// Fills the bytes with the number, however many they are.
    static void putNumber(std::uint64_t value, std::span<std::uint8_t> bytes) {
        std::for_each(bytes.rbegin(), bytes.rend(), [&value](std::uint8_t& byte) {
            byte = static_cast<std::uint8_t>(value & 0xFFU);
            value >>= 8U;
        });
    }

  private:
    template <std::size_t size>
    void number(std::uint64_t value) {
        std::array<std::uint8_t, size> digits{};
        putNumber(value, digits);
        put(digits);
    }

    std::vector<std::uint8_t> bytes_;
};

} // namespace brindle::media
