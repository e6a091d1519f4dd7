// Turns pictures that come at any pace into frames at one exact rate.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace brindle::media {

/// Consecutive frame numbers, `count` of them from `first` on.
struct FrameRange {
    std::int64_t first = 0;
    std::int64_t count = 0;
    friend bool operator==(const FrameRange&, const FrameRange&) = default;
};

/// Decides which frames show which picture. Frame n is shown from n/rate seconds on; times are
/// measured from the first frame. A value; one thread at a time.
class FramePacer {
  public:
    explicit FramePacer(int framesPerSecond) : rate_{framesPerSecond} {}

    struct Decision {
        /// Frames that go on showing the picture before.
        FrameRange repeated;
        /// The frame that shows the new picture first. Absent when its moment has been filled
        /// already: the picture only takes over as the one to repeat.
        std::optional<std::int64_t> shown;
        friend bool operator==(const Decision&, const Decision&) = default;
    };

    /// Places the picture that was taken at `time`. The first picture of all gets frame 0 whatever
    /// its time. A hole of more than `longestHole` is left open (the picture before it is simply
    /// shown that long), so that nobody encodes hours of stills after the machine was frozen.
    Decision pictureAt(std::chrono::nanoseconds time);

    /// The frames before `time` that still have no picture, which the last one is held for.
    FrameRange holdUntil(std::chrono::nanoseconds time);

    /// The moment from which on a frame is shown.
    [[nodiscard]] std::chrono::nanoseconds timeOf(std::int64_t frame) const;

    static constexpr std::chrono::seconds longestHole{10};

  private:
    [[nodiscard]] double positionOf(std::chrono::nanoseconds time) const;
    /// `count` frames from the next one on, or none when that is too long a hole.
    FrameRange take(std::int64_t count);

    int rate_;
    std::int64_t next_ = 0;
};

} // namespace brindle::media
