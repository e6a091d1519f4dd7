#include "Detection/Benchmarks.hpp"

#include "Detection/Desktop.hpp"
#include "Detection/ServerEye.hpp"
#include "LinuxTests/ChildProcess.hpp"

#include <fmt/format.h>
#include <optional>

namespace brindle::bench {

void measureReaction(std::size_t takes) {
    using std::chrono::nanoseconds;
    Desktop desktop;
    const ServerEye eye;
    std::optional<Clock::time_point> passEnd;
    bool isUsed = false;
    desktop.monitor().onChange = [&] {
        isUsed = !desktop.pass().empty();
        if (isUsed && !passEnd) {
            passEnd = Clock::now();
        }
    };
    desktop.monitor().start();
    const ChildProcess recorder{
        BRINDLE_PULSE_STREAM, {BRINDLE_PULSE_STREAM, "recording", "virt-mic"}, {.hasInput = true}};
    desktop.await("the first recording", [&] { return isUsed; });

    std::vector<nanoseconds> fromRunning;
    std::vector<nanoseconds> fromRequest;
    while (fromRunning.size() < takes) {
        recorder.tell("cork");
        desktop.await("the pause", [&] { return !isUsed && !eye.runningSince(); });
        passEnd.reset();
        const auto request = Clock::now();
        recorder.tell("uncork");
        desktop.await("the recording", [&] { return passEnd && eye.runningSince(); });
        // The eye may be the later one of the two: then the pass took no time that could be seen.
        fromRunning.push_back(
            std::max(nanoseconds{0}, nanoseconds{*passEnd - *eye.runningSince()}));
        fromRequest.push_back(*passEnd - request);
    }
    const auto print = [](const char* from, std::vector<nanoseconds>& all) {
        fmt::print(
            "  {:<46} p50 {:6.2f} ms   p99 {:6.2f} ms   most {:6.2f} ms\n", from,
            milliseconds(percentile(all, 50)), milliseconds(percentile(all, 99)),
            milliseconds(percentile(all, 100)));
    };
    fmt::print(
        "reaction to a stream that begins to record, {} takes, to the end of the pass\n", takes);
    print("from the stream turning running in PipeWire", fromRunning);
    print("from the program's request to record", fromRequest);
    constexpr double limit = 20;
    const double reached = milliseconds(percentile(fromRunning, 99));
    fmt::print("  p99 is {:.0f} % of the {:.0f} ms allowed\n", 100 * reached / limit, limit);
}

} // namespace brindle::bench
