// Sizes of files as the user reads them.
#pragma once

#include "BrindleRecorderCore/Base/Language.hpp"

#include <cstdint>
#include <string>

namespace brindle {

struct ByteCount {
    /// The size in the largest decimal unit that keeps the number at 1 or above: "0 bytes",
    /// "1 byte", "999 bytes", "12 KB", "1.5 MB", "1.23 GB", and so on to EB. Kilobytes are whole,
    /// megabytes have up to one decimal, larger units up to two; rounded half up, without trailing
    /// zeros. A negative count, which no file has, reads as 0. So in English; another
    /// language has its own names for the units, and its own decimal sign.
    static std::string format(std::int64_t bytes, const Language& language = Language::ofTheUser());

    /// What stands between a number and its decimals.
    static std::string decimalSign(const Language& language);
};

} // namespace brindle
