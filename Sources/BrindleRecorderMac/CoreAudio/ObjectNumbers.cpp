#include "BrindleRecorderMac/CoreAudio/ObjectNumbers.hpp"

namespace brindle {

std::uint64_t ObjectNumbers::nameOf(std::uint32_t number, const std::string& identity) {
    const auto [known, isNew] = known_.try_emplace(number);
    if (isNew || known->second.identity != identity) {
        constexpr int bitsOfANumber = 32;
        known->second = {identity, (++reuses_ << bitsOfANumber) | number};
    }
    return known->second.name;
}

void ObjectNumbers::keepOnly(const std::set<std::uint32_t>& numbers) {
    std::erase_if(known_, [&](const auto& known) { return !numbers.contains(known.first); });
}

} // namespace brindle
