// Hashes of records, put together from the hashes of their fields.
#pragma once

#include <cstddef>
#include <functional>

namespace brindle {

/// Folds the hash of `value` into `seed`; the order of the fields counts.
template <class Value>
void hashCombine(std::size_t& seed, const Value& value) {
    constexpr std::size_t goldenRatio = 0x9e3779b9;
    seed ^= std::hash<Value>{}(value) + goldenRatio + (seed << 6U) + (seed >> 2U);
}

} // namespace brindle
