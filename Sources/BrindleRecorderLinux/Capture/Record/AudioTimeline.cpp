#include "BrindleRecorderLinux/Capture/Record/AudioTimeline.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace brindle::media {

namespace {

/// Off by more than this for `suspectLimit` blocks in a row is a hole or an overlap, not jitter.
constexpr double suspectSeconds = 0.03;
constexpr int suspectLimit = 4;
constexpr double certainSeconds = 1;

/// Jitter is averaged over this time, and an error is worked off over the longer one.
constexpr double averagingSeconds = 2;
constexpr double correctionSeconds = 8;
/// Half a percent cannot be heard.
constexpr double largestStretch = 0.005;

} // namespace

AudioTimeline::Placement
AudioTimeline::place(std::int64_t start, std::int64_t count, std::int64_t lost) {
    std::int64_t error = start - position_;
    Placement placement;
    if (started_ && lost > 0 && error > lost / 2) {
        placement.silenceBefore = lost;
        error -= lost;
    }
    if (!started_ || isJump(error)) {
        placement.silenceBefore += std::max<std::int64_t>(error, 0);
        placement.skipped = std::clamp<std::int64_t>(-error, 0, count);
        started_ = started_ || placement.skipped < count;
        smoothedError_ = 0;
        return placement;
    }
    const double blockSeconds = static_cast<double>(count) / rate_;
    const double weight = std::min(blockSeconds / averagingSeconds, 1.0);
    smoothedError_ += (static_cast<double>(error) - smoothedError_) * weight;
    placement.stretch =
        std::clamp(smoothedError_ / (correctionSeconds * rate_), -largestStretch, largestStretch);
    return placement;
}

bool AudioTimeline::isJump(std::int64_t error) {
    const double seconds = static_cast<double>(std::abs(error)) / rate_;
    suspectBlocks_ = seconds > suspectSeconds ? suspectBlocks_ + 1 : 0;
    if (suspectBlocks_ < suspectLimit && seconds <= certainSeconds) {
        return false;
    }
    if (error > 0) {
        suspectBlocks_ = 0;
    }
    return true;
}

} // namespace brindle::media
