// Runs simulated worlds and tells what they add up to.
//
// Usage: Simulation [--seed N] [--calls N] [--replay] [--survey] [--expect-fault]
//   --seed N        the first world's seed; without it, a fresh one
//   --calls N       so many calls at least
//   --replay        only the world of that seed, with its history
//   --survey        goes on after a broken rule, and tells every rule that was broken
//   --expect-fault  succeeds only when a rule is found broken
#include "Simulation/Simulation.hpp"
#include "Support/RandomSource.hpp"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Options {
    std::optional<std::uint64_t> seed;
    std::uint64_t calls = 10'000;
    bool replay = false;
    bool survey = false;
    bool expectFault = false;
};

std::optional<Options> parse(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        const bool hasValue = index + 1 < arguments.size();
        if (argument == "--seed" && hasValue) {
            options.seed = std::stoull(arguments[++index]);
        } else if (argument == "--calls" && hasValue) {
            options.calls = std::stoull(arguments[++index]);
        } else if (argument == "--replay") {
            options.replay = true;
        } else if (argument == "--survey") {
            options.survey = true;
        } else if (argument == "--expect-fault") {
            options.expectFault = true;
        } else {
            return std::nullopt;
        }
    }
    return options;
}

int runSurvey(std::uint64_t seed, std::uint64_t calls) {
    using namespace brindle::simulation;
    Statistics statistics;
    const auto kinds = survey(seed, calls, statistics);
    std::cout << "seed " << seed << ": " << statistics.summary() << "\n";
    for (const auto& [words, kind] : kinds) {
        std::cout << kind.worlds << " worlds, one of them " << kind.seed << ": " << kind.example
                  << "\n";
    }
    return kinds.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(const Options& options) {
    using namespace brindle::simulation;
    const std::uint64_t seed = options.seed ? *options.seed : brindle::test::freshSeed();
    if (options.survey) {
        return runSurvey(seed, options.calls);
    }
    const Outcome outcome = options.replay ? replay(seed) : simulate(seed, options.calls);
    std::cout << "seed " << seed << ": " << outcome.statistics.summary() << "\n";
    if (!outcome.finding) {
        if (options.expectFault) {
            std::cout << "NOT FOUND: the fault that was put in\n";
        }
        return options.expectFault ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    const Finding& finding = *outcome.finding;
    if (options.expectFault) {
        std::cout << "found after " << finding.callsUntilThen << " calls: " << finding.what << "\n";
        return EXIT_SUCCESS;
    }
    std::cout << finding.history << "BROKEN at step " << finding.step << ": " << finding.what
              << "\nmake simulate SEED=" << finding.seed << " repeats this world\n";
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto options = parse(std::vector<std::string>(argv + 1, argv + argc));
        if (!options) {
            std::cerr << "Usage: Simulation [--seed N] [--calls N] [--replay] [--survey] "
                         "[--expect-fault]\n";
            return 2;
        }
        return run(*options);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 2;
    }
}
