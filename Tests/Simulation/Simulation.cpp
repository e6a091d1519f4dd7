#include "Simulation/Simulation.hpp"

#include "Simulation/World.hpp"

#include <algorithm>
#include <functional>
#include <iostream>
#include <mutex>
#include <thread>
#include <vector>

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

namespace {

/// Lives worlds of seeds that count up on all processors, until there were so many calls or
/// `broken`, which is called by one thread at a time, has had enough of it.
void liveWorlds(
    std::uint64_t firstSeed, std::uint64_t calls, Statistics& statistics,
    const std::function<bool(const Scene& scene, std::uint64_t seed)>& broken) {
    // What takes minutes tells how far it is.
    constexpr std::uint64_t callsBetweenReports = 250'000;
    std::mutex mutex;
    std::uint64_t next = 0;
    std::uint64_t reports = 0;
    bool enough = false;
    const auto work = [&] {
        for (;;) {
            std::uint64_t seed = 0;
            {
                const std::lock_guard lock{mutex};
                if (enough || statistics.calls >= calls) {
                    return;
                }
                seed = worldSeed(firstSeed, next++);
            }
            World world{seed, false};
            const bool well = world.live(callsPerWorld);
            const std::lock_guard lock{mutex};
            statistics.add(world.scene().statistics);
            if (statistics.calls / callsBetweenReports > reports) {
                reports = statistics.calls / callsBetweenReports;
                std::clog << statistics.calls << " of " << calls << " calls\n";
            }
            if (!well && !enough) {
                enough = broken(world.scene(), seed);
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
}

} // namespace

Outcome simulate(std::uint64_t firstSeed, std::uint64_t calls) {
    Outcome outcome;
    std::optional<std::uint64_t> brokenSeed;
    liveWorlds(
        firstSeed, calls, outcome.statistics, [&](const Scene& /*scene*/, std::uint64_t seed) {
            brokenSeed = seed;
            return true;
        });
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

std::map<std::string, Kind>
survey(std::uint64_t firstSeed, std::uint64_t calls, Statistics& statistics) {
    std::map<std::string, Kind> kinds;
    liveWorlds(firstSeed, calls, statistics, [&](const Scene& scene, std::uint64_t seed) {
        std::string words = *scene.violation;
        std::erase_if(words, [](char letter) { return letter >= '0' && letter <= '9'; });
        Kind& kind = kinds[words];
        ++kind.worlds;
        kind.seed = seed;
        kind.example = *scene.violation;
        return false;
    });
    return kinds;
}

} // namespace brindle::simulation
