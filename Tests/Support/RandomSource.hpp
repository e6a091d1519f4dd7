// Random choices that a seed repeats exactly, on every machine and with every standard library.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace brindle::test {

/// A seed for one run of a property test: the number in BRINDLE_SEED when that is set, otherwise a
/// new one each time. Printed, so that a failing run can be repeated.
std::uint64_t freshSeed();

class RandomSource {
  public:
    explicit RandomSource(std::uint64_t seed) : engine_{seed} {}

    /// From 0 to `count` - 1. The slight bias towards small numbers does not matter to tests.
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    /// True that often out of a hundred times.
    bool chance(std::size_t percent) { return below(100) < percent; }
    template <class Value>
    const Value& oneOf(const std::vector<Value>& values) {
        return values[below(values.size())];
    }

  private:
    std::mt19937_64 engine_;
};

} // namespace brindle::test
