#include "BrindleRecorderLinux/Capture/Record/FramePacer.hpp"

#include <algorithm>
#include <cmath>

namespace brindle::media {

namespace {

/// How far from its frame, in frames, a picture may be taken and still be the next one. More than a
/// half, so that a camera whose moments fall between two frames does not flicker between dropping
/// and repeating; less than one, so that two pictures never wait for the same frame.
constexpr double tolerance = 0.8;

} // namespace

FramePacer::Decision FramePacer::pictureAt(std::chrono::nanoseconds time) {
    const double position = positionOf(time);
    std::int64_t frame = std::llround(position);
    if (next_ == 0 || std::abs(position - static_cast<double>(next_)) <= tolerance) {
        frame = next_;
    }
    if (frame < next_) {
        return {.repeated = {next_, 0}, .shown = std::nullopt};
    }
    Decision decision{.repeated = take(frame - next_), .shown = frame};
    next_ = frame + 1;
    return decision;
}

FrameRange FramePacer::holdUntil(std::chrono::nanoseconds time) {
    const auto end = static_cast<std::int64_t>(std::floor(positionOf(time)));
    return take(std::max<std::int64_t>(end - next_, 0));
}

std::chrono::nanoseconds FramePacer::timeOf(std::int64_t frame) const {
    return std::chrono::nanoseconds{
        frame * std::chrono::nanoseconds{std::chrono::seconds{1}}.count() / rate_};
}

double FramePacer::positionOf(std::chrono::nanoseconds time) const {
    return std::chrono::duration<double>{time}.count() * rate_;
}

FrameRange FramePacer::take(std::int64_t count) {
    const FrameRange range{next_, count};
    if (next_ == 0 || count > longestHole.count() * rate_) {
        return {next_, 0};
    }
    next_ += count;
    return range;
}

} // namespace brindle::media
