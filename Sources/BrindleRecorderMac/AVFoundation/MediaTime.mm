#include "BrindleRecorderMac/AVFoundation/MediaTime.hpp"

#include <cmath>
#include <cstdint>

namespace brindle {

namespace {

bool isNearlyWhole(double value) {
    constexpr double tolerance = 1e-9;
    return value >= 1 && std::abs(value - std::round(value)) <= tolerance * value;
}

} // namespace

CMTime mediaTime(Seconds time) {
    const double seconds = time.count();
    if (isNearlyWhole(seconds)) {
        return CMTimeMake(std::llround(seconds), 1);
    }
    constexpr double highestScale = 1'000'000;
    if (const double perSecond = 1 / seconds;
        isNearlyWhole(perSecond) && perSecond <= highestScale) {
        return CMTimeMake(1, static_cast<std::int32_t>(std::lround(perSecond)));
    }
    return CMTimeMake(
        std::llround(seconds * highestScale), static_cast<std::int32_t>(highestScale));
}

std::optional<Seconds> secondsOf(CMTime time) {
    const double seconds = CMTimeGetSeconds(time);
    return std::isfinite(seconds) ? std::optional{Seconds{seconds}} : std::nullopt;
}

} // namespace brindle
