#include "BrindleRecorderApp/Recording/Uuid.hpp"

#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <random>

namespace brindle {

std::string randomUuid() {
    std::random_device device;
    std::array<std::uint32_t, 4> words{};
    for (auto& word : words) {
        word = static_cast<std::uint32_t>(device());
    }
    words[1] = (words[1] & 0xFFFF'0FFFU) | 0x0000'4000U; // the version
    words[2] = (words[2] & 0x3FFF'FFFFU) | 0x8000'0000U; // the variant
    return fmt::format(
        "{:08X}-{:04X}-{:04X}-{:04X}-{:04X}{:08X}", words[0], words[1] >> 16, words[1] & 0xFFFFU,
        words[2] >> 16, words[2] & 0xFFFFU, words[3]);
}

} // namespace brindle
