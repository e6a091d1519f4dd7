// How much longer the program's launch keeps its main thread busy, as a whole and at a stretch,
// with ten thousand recordings in the folder.
//
// Usage: LaunchBenchmark     Exit status 1: the claim does not hold.
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"
#include "Support/ExampleSidecar.hpp"
#include "Support/FakeDesktop.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

/// The time that the main thread itself has spent, whatever else the machine does meanwhile.
struct Clock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<Clock>;

    static time_point now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time_point{
            std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec}};
    }
};
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int recordings = 10'000;
constexpr int runs = 9;
constexpr Milliseconds mostDelay{100};

struct Launch {
    Milliseconds untilFirstPass{0}; ///< from the model's construction on
    Milliseconds longestStep{0};    ///< the longest single piece of work after it
    Milliseconds untilScanned{0};
};

Launch launch(const RecordingsFolder& folder, PosixFileManager& files) {
    test::FakeDesktop desktop;
    test::FakeRun program{desktop, files};
    desktop.notifications.available = false;

    std::optional<Clock::time_point> firstPass;
    AppEnvironment environment = program.environment;
    // Called by each poll, just before its detection pass.
    environment.takeOverWallTime = [&firstPass] {
        if (!firstPass) {
            firstPass = Clock::now();
        }
    };
    const auto begun = Clock::now();
    AppModel model{environment, folder};
    model.launch();
    Launch result;
    while (true) {
        const auto before = Clock::now();
        if (!program.loop.runNextUntil(program.loop.now())) {
            break;
        }
        if (firstPass) {
            result.longestStep = std::max(result.longestStep, Milliseconds{Clock::now() - before});
        }
    }
    result.untilScanned = Clock::now() - begun;
    result.untilFirstPass = firstPass.value_or(Clock::now()) - begun;
    return result;
}

Launch median(const RecordingsFolder& folder, PosixFileManager& files) {
    std::vector<Launch> all;
    for (int run = 0; run < runs; ++run) {
        all.push_back(launch(folder, files));
    }
    const auto medianOf = [&all](Milliseconds Launch::*figure) {
        std::ranges::nth_element(all, all.begin() + runs / 2, {}, figure);
        return all[runs / 2].*figure;
    };
    return {
        medianOf(&Launch::untilFirstPass), medianOf(&Launch::longestStep),
        medianOf(&Launch::untilScanned)};
}

void fill(const RecordingsFolder& folder) {
    const std::string sidecar = SidecarCoding::encode(test::exampleSidecar(), TimeZone::utc());
    for (int number = 0; number < recordings; ++number) {
        const auto baseName = fmt::format("2026-03-14_{:04}", number);
        std::ofstream{folder.mp4URL(baseName)} << "movie";
        std::ofstream{folder.sidecarURL(baseName)} << sidecar;
    }
}

int run() {
    const test::TemporaryFolder temporary;
    PosixFileManager files;
    const RecordingsFolder empty{temporary.path() / "empty"};
    const RecordingsFolder full{temporary.path() / "full"};
    if (!empty.createIfNeeded(files) || !full.createIfNeeded(files)) {
        fmt::print(stderr, "no folder\n");
        return EXIT_FAILURE;
    }
    fill(full);
    const Launch without = median(empty, files);
    const Launch with = median(full, files);
    const Milliseconds delay = with.untilFirstPass - without.untilFirstPass;
    fmt::print(
        "main-thread time, median of {} runs    no recordings   {} recordings\n"
        "until the first detection pass      {:10.2f} ms {:15.2f} ms\n"
        "longest piece of work after it      {:10.2f} ms {:15.2f} ms\n"
        "until the folder has been scanned   {:10.2f} ms {:15.2f} ms\n"
        "the first pass comes {:.1f} ms later; at most {:.0f} ms are allowed: {}\n",
        runs, recordings, without.untilFirstPass.count(), with.untilFirstPass.count(),
        without.longestStep.count(), with.longestStep.count(), without.untilScanned.count(),
        with.untilScanned.count(), delay.count(), mostDelay.count(),
        delay <= mostDelay ? "kept" : "NOT KEPT");
    return delay <= mostDelay ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace
} // namespace brindle

int main() {
    return brindle::run();
}
