// What one detection pass costs with more microphone users and windows than anybody has.
#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

namespace brindle {
namespace {

/// Fifty users of the microphone, ten of them browsers with twenty titles each, none of a meeting,
/// so that every title is read to its end.
std::vector<MicUser> crowdedSnapshot() {
    std::vector<std::string> titles;
    for (int window = 0; window < 20; ++window) {
        titles.push_back("Quarterly figures, draft " + std::to_string(window) + " - Spreadsheet");
    }
    std::vector<MicUser> snapshot;
    for (std::int32_t pid = 1; pid <= 50; ++pid) {
        const bool isBrowser = pid % 5 == 0;
        MicUser user;
        user.bundleID = isBrowser ? "com.google.Chrome" : "com.example.tool" + std::to_string(pid);
        user.pid = pid;
        if (isBrowser) {
            user.windowTitles = titles;
        }
        snapshot.push_back(std::move(user));
    }
    return snapshot;
}

void detectionPassWithFiftyUsers(benchmark::State& state) {
    CallDetectorConfig config;
    config.disabledFamilies = {};
    CallDetector detector{config};
    const auto snapshot = crowdedSnapshot();
    double seconds = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(detector.update(snapshot, dateFromUnixSeconds(seconds)));
        seconds += 1;
    }
}
BENCHMARK(detectionPassWithFiftyUsers)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace brindle
