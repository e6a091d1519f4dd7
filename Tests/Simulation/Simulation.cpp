#include "Simulation/Simulation.hpp"

#include "Simulation/World.hpp"

#include <algorithm>
#include <mutex>
#include <thread>

namespace brindle::simulation {

namespace {

constexpr unsigned callsPerWorld = 12;

/// Neighbouring numbers make unlike worlds.
std::uint64_t worldSeed(std::uint64_t firstSeed, std::uint64_t index) {
    return firstSeed + index;
}

Finding findingOf(const Scene& scene, std::uint64_t seed) {
    constexpr std::size_t linesShown = 400;
    Finding finding;
    finding.seed = seed;
    finding.step = scene.statistics.steps;
    finding.what = *scene.violation;
    const auto& history = scene.history();
    for (std::size_t index = history.size() - std::min(history.size(), linesShown);
         index < history.size(); ++index) {
        finding.history += history[index] + "\n";
    }
    return finding;
}

} // namespace

Outcome replay(std::uint64_t seed) {
    World world{seed, true};
    Outcome outcome;
    const bool well = world.live(callsPerWorld);
    outcome.statistics = world.scene().statistics;
    if (!well) {
        outcome.finding = findingOf(world.scene(), seed);
        outcome.finding->callsUntilThen = outcome.statistics.calls;
    }
    return outcome;
}

Outcome simulate(std::uint64_t firstSeed, std::uint64_t calls) {
    std::mutex mutex;
    Outcome outcome;
    std::uint64_t next = 0;
    std::optional<std::uint64_t> brokenSeed;
    const auto work = [&] {
        for (;;) {
            std::uint64_t seed = 0;
            {
                const std::lock_guard lock{mutex};
                if (brokenSeed || outcome.statistics.calls >= calls) {
                    return;
                }
                seed = worldSeed(firstSeed, next++);
            }
            World world{seed, false};
            const bool well = world.live(callsPerWorld);
            const std::lock_guard lock{mutex};
            outcome.statistics.add(world.scene().statistics);
            if (!well && !brokenSeed) {
                brokenSeed = seed;
            }
        }
    };
    std::vector<std::thread> threads;
    for (unsigned index = 0; index < std::max(1U, std::thread::hardware_concurrency()); ++index) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (brokenSeed) {
        // Once more, now with its history.
        outcome.finding = replay(*brokenSeed).finding;
        if (!outcome.finding) {
            outcome.finding = Finding{.seed = *brokenSeed, .what = "broken once, but not again"};
        }
        outcome.finding->callsUntilThen = outcome.statistics.calls;
    }
    return outcome;
}

} // namespace brindle::simulation
