#include "Detection/Desktop.hpp"

#include "LinuxTests/WaitOnLoop.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace brindle::bench {

namespace {

CallDetectorConfig everythingCounts() {
    CallDetectorConfig config;
    config.disabledFamilies = {};
    return config;
}

Date now() {
    return std::chrono::system_clock::now();
}

} // namespace

Desktop::Desktop()
    : audioServer_{loop_, pipeWire_.get(), pipewire::AudioServer::Options::ofThisSession()},
      audioObjects_{audioServer_, processes_},
      windows_{
          processes_, loop_,
          [this] {
              return audioServer_.graph();
          }},
      monitor_{audioObjects_, processes_, windows_}, detector_{everythingCounts()} {}

const std::vector<MicUser>& Desktop::pass() {
    users_ = monitor_.withWindowTitles(monitor_.snapshot());
    static_cast<void>(detector_.update(users_, now()));
    return users_;
}

void Desktop::await(const std::string& what, const std::function<bool()>& condition) {
    if (!waitUntil(loop_, condition)) {
        throw std::runtime_error{what + " did not happen in time"};
    }
}

std::chrono::nanoseconds
percentile(std::vector<std::chrono::nanoseconds>& measurements, double hundredth) {
    std::sort(measurements.begin(), measurements.end());
    const double rank = std::ceil(static_cast<double>(measurements.size()) * hundredth / 100.0);
    return measurements.at(static_cast<std::size_t>(std::max(rank, 1.0)) - 1);
}

double milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double, std::milli>{duration}.count();
}

} // namespace brindle::bench
