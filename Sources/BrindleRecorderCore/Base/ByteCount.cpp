#include "BrindleRecorderCore/Base/ByteCount.hpp"

#include <array>
#include <fmt/format.h>

namespace brindle {

namespace {

struct Unit {
    const char* text;
    std::int64_t step;        ///< bytes that the last decimal stands for
    std::int64_t stepsPerOne; ///< how many of these steps make one unit
};

constexpr std::array units{
    Unit{sentence("{number} KB"), 1'000, 1},
    Unit{sentence("{number} MB"), 100'000, 10},
    Unit{sentence("{number} GB"), 10'000'000, 100},
    Unit{sentence("{number} TB"), 10'000'000'000, 100},
    Unit{sentence("{number} PB"), 10'000'000'000'000, 100},
    Unit{sentence("{number} EB"), 10'000'000'000'000'000, 100},
};

/// The number with its decimals, less zeros at their end.
std::string decimalText(std::int64_t steps, std::int64_t stepsPerOne, const Language& language) {
    std::string text = fmt::format("{}", steps / stepsPerOne);
    std::int64_t rest = steps % stepsPerOne;
    if (rest != 0) {
        text += ByteCount::decimalSign(language);
    }
    for (std::int64_t place = stepsPerOne / 10; rest != 0; place /= 10) {
        text += fmt::format("{}", rest / place);
        rest %= place;
    }
    return text;
}

} // namespace

std::string ByteCount::decimalSign(const Language& language) {
    return language.sayOf("between a number and its decimals", ".");
}

std::string ByteCount::format(std::int64_t bytes, const Language& language) {
    if (bytes < 1'000) {
        return language.sayCount(
            "{count} byte", "{count} bytes", bytes < 0 ? 0 : static_cast<std::uint64_t>(bytes));
    }
    for (const Unit& unit : units) {
        const std::int64_t roundedUp = bytes % unit.step >= unit.step / 2 ? 1 : 0;
        const std::int64_t steps = bytes / unit.step + roundedUp;
        // Whatever rounds up to a thousand of this unit reads as one of the next.
        if (steps < 1'000 * unit.stepsPerOne) {
            return language.say(
                unit.text, fmt::arg("number", decimalText(steps, unit.stepsPerOne, language)));
        }
    }
    return {}; // not reached: 64 bits end below ten exabytes
}

} // namespace brindle
