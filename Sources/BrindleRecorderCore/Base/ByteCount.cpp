#include "BrindleRecorderCore/Base/ByteCount.hpp"

#include <array>
#include <fmt/format.h>
#include <string_view>

namespace brindle {

namespace {

struct Unit {
    std::string_view name;
    std::int64_t step;        ///< bytes that the last decimal stands for
    std::int64_t stepsPerOne; ///< how many of these steps make one unit
};

constexpr std::array units{
    Unit{"KB", 1'000, 1},
    Unit{"MB", 100'000, 10},
    Unit{"GB", 10'000'000, 100},
    Unit{"TB", 10'000'000'000, 100},
    Unit{"PB", 10'000'000'000'000, 100},
    Unit{"EB", 10'000'000'000'000'000, 100},
};

/// The number with its decimals, less zeros at their end.
std::string decimalText(std::int64_t steps, std::int64_t stepsPerOne) {
    std::string text = fmt::format("{}", steps / stepsPerOne);
    std::int64_t rest = steps % stepsPerOne;
    if (rest != 0) {
        text += '.';
    }
    for (std::int64_t place = stepsPerOne / 10; rest != 0; place /= 10) {
        text += fmt::format("{}", rest / place);
        rest %= place;
    }
    return text;
}

} // namespace

std::string ByteCount::format(std::int64_t bytes) {
    if (bytes <= 0) {
        return "0 bytes";
    }
    if (bytes < 1'000) {
        return fmt::format("{} {}", bytes, bytes == 1 ? "byte" : "bytes");
    }
    for (const Unit& unit : units) {
        const std::int64_t roundedUp = bytes % unit.step >= unit.step / 2 ? 1 : 0;
        const std::int64_t steps = bytes / unit.step + roundedUp;
        // Whatever rounds up to a thousand of this unit reads as one of the next.
        if (steps < 1'000 * unit.stepsPerOne) {
            return fmt::format("{} {}", decimalText(steps, unit.stepsPerOne), unit.name);
        }
    }
    return {}; // not reached: 64 bits end below ten exabytes
}

} // namespace brindle
