// Many worlds, one after another, on as many processors as there are.
#pragma once

#include "Simulation/Scene.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle::simulation {

struct Finding {
    std::uint64_t seed = 0;
    std::uint64_t step = 0;
    std::uint64_t callsUntilThen = 0;
    std::string what = {};
    std::string history = {}; ///< the last that happened before
};

struct Outcome {
    Statistics statistics;
    std::optional<Finding> finding; ///< of the first world that broke a rule
};

/// Worlds of a few calls each, of seeds that count up from the given one, until there were so many
/// calls or a rule was broken.
Outcome simulate(std::uint64_t firstSeed, std::uint64_t calls);
/// That world alone, with its history.
Outcome replay(std::uint64_t seed);

} // namespace brindle::simulation
