#include "Support/RandomSource.hpp"

#include <cstdlib>
#include <iostream>
#include <string>

namespace brindle::test {

std::uint64_t freshSeed() {
    std::uint64_t seed = 0;
    if (const char* given = std::getenv("BRINDLE_SEED"); given != nullptr && *given != '\0') {
        seed = std::stoull(given);
    } else {
        std::random_device device;
        seed = (std::uint64_t{device()} << 32U) | device();
    }
    std::cout << "BRINDLE_SEED=" << seed << " repeats this run\n";
    return seed;
}

} // namespace brindle::test
