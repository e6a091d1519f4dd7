// Many worlds, one after another, on as many processors as there are.
#pragma once

#include "Simulation/Scene.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

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

/// One rule that was found broken in some worlds.
struct Kind {
    std::uint64_t worlds = 0;
    std::uint64_t seed = 0;   ///< of one of them
    std::string example = {}; ///< what was found in it
};

/// Worlds of a few calls each, of seeds that count up from the given one, until there were so many
/// calls or a rule was broken.
Outcome simulate(std::uint64_t firstSeed, std::uint64_t calls);
/// The same, but going on after a broken rule. The rules are told apart by their words, numbers
/// left out.
std::map<std::string, Kind>
survey(std::uint64_t firstSeed, std::uint64_t calls, Statistics& statistics);
/// That world alone, with its history.
Outcome replay(std::uint64_t seed);

} // namespace brindle::simulation
