// Counting where a wrong number would be worse than no program.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace brindle {

/// The sum; ends the program when it does not fit.
inline std::int64_t sumOrAbort(std::int64_t left, std::int64_t right) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) {
        std::abort();
    }
    return sum;
}

} // namespace brindle
