#include "Simulation/Scene.hpp"

namespace brindle::simulation {

namespace {

constexpr double startOfTime = 1'773'480'612;
constexpr double secondsPerHour = 3600;

std::optional<unsigned> numberIn(const std::string& text, std::size_t position, std::size_t size) {
    unsigned number = 0;
    for (std::size_t index = position; index < position + size; ++index) {
        if (text[index] < '0' || text[index] > '9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<unsigned>(text[index] - '0');
    }
    return number;
}

} // namespace

void Statistics::add(const Statistics& other) {
    simulatedSeconds += other.simulatedSeconds;
    worlds += other.worlds;
    steps += other.steps;
    calls += other.calls;
    recordings += other.recordings;
    quits += other.quits;
    crashes += other.crashes;
    powerFailures += other.powerFailures;
    captureFailures += other.captureFailures;
    exportFailures += other.exportFailures;
    diskFaults += other.diskFaults;
    clicks += other.clicks;
    repairs += other.repairs;
    clockJumps += other.clockJumps;
    sleeps += other.sleeps;
    secondsKept += other.secondsKept;
    secondsLost += other.secondsLost;
    secondsDiscarded += other.secondsDiscarded;
}

std::string Statistics::summary() const {
    return fmt::format(
        "{:.0f} simulated hours, {} worlds, {} steps, {} calls, {} recordings, {} quits, {} "
        "crashes, "
        "{} power failures, {} capture failures, {} failed conversions, {} disk faults, "
        "{} clicks of the user, {} jumps of the clock, {} sleeps, {} repairs, "
        "{:.0f} s of media kept, "
        "{:.0f} s lost with power or program, {:.0f} s discarded by the user",
        simulatedSeconds / secondsPerHour, worlds, steps, calls, recordings, quits, crashes,
        powerFailures, captureFailures, exportFailures, diskFaults, clicks, clockJumps, sleeps,
        repairs, secondsKept, secondsLost, secondsDiscarded);
}

std::vector<Fragment> readableFragments(const std::string& movie) {
    std::vector<Fragment> fragments;
    for (std::size_t at = 0; at + Fragment::textSize <= movie.size(); at += Fragment::textSize) {
        const auto segment = numberIn(movie, at, 6);
        const auto number = numberIn(movie, at + 7, 4);
        const auto milliseconds = numberIn(movie, at + 12, 5);
        if (!segment || !number || !milliseconds || movie[at + Fragment::textSize - 1] != '\n') {
            break;
        }
        fragments.push_back({*segment, *number, *milliseconds});
    }
    return fragments;
}

Seconds durationOf(const std::vector<Fragment>& fragments) {
    double milliseconds = 0;
    for (const Fragment& fragment : fragments) {
        milliseconds += fragment.milliseconds;
    }
    return Seconds{milliseconds / 1000};
}

Scene::Scene(std::uint64_t seed, bool keepHistory)
    : random{seed}, timeline{dateFromUnixSeconds(startOfTime)}, files{wallClock},
      keepHistory_{keepHistory}, start_{timeline.now()} {}

std::uint64_t Scene::folderSize() const {
    std::uint64_t bytes = 0;
    for (const auto& path : files.files()) {
        if (!path.filename().native().starts_with('.')) {
            bytes += files.contents(path).value_or("").size();
        }
    }
    return bytes;
}

Segment* Scene::segmentNamed(const std::string& baseName) {
    for (auto segment = segments.rbegin(); segment != segments.rend(); ++segment) {
        if (segment->baseName == baseName) {
            return &*segment;
        }
    }
    return nullptr;
}

std::string Scene::clockText() const {
    return fmt::format("{:10.3f}", secondsBetween(start_, timeline.now()).count());
}

void Scene::write(std::string line) {
    constexpr std::size_t mostLines = 4000;
    history_.push_back(clockText() + "  " + std::move(line));
    if (history_.size() > mostLines) {
        history_.pop_front();
    }
}

} // namespace brindle::simulation
