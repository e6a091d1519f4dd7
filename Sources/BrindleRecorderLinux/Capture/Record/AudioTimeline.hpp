// Keeps a microphone's sound at its place in time: holes become silence, and the slow drift between
// the microphone's clock and ours is told so that a resampler can absorb it.
#pragma once

#include <cstdint>

namespace brindle::media {

/// Counts in samples of the recording, from its beginning. A value; one thread at a time.
class AudioTimeline {
  public:
    explicit AudioTimeline(int sampleRate) : rate_{sampleRate} {}

    struct Placement {
        std::int64_t silenceBefore = 0; ///< samples of silence to write first
        std::int64_t skipped = 0;       ///< samples of the block that fall on time already written
        /// How much longer than it came the sound has to get, as a part of its length: 0.001 makes
        /// 1001 samples of 1000.
        double stretch = 0;
        friend bool operator==(const Placement&, const Placement&) = default;
    };

    /// Places a block of `count` samples, the first of which was heard at `start`. A block tells
    /// its time only roughly: one that seems late or early is believed only when the next ones
    /// agree, or when it is off by more than a second. A hole of `lost` samples that the device
    /// itself counted is believed at once, unless the block's time speaks against it.
    Placement place(std::int64_t start, std::int64_t count, std::int64_t lost = 0);

    /// How many samples were written after a placement, silence included.
    void wrote(std::int64_t count) { position_ += count; }

    /// Tells of silence written while no sound came. The next block is believed at once.
    void wroteSilence(std::int64_t count) {
        position_ += count;
        started_ = false;
    }

    /// Tells that the block placed last follows that silence.
    void resume() { started_ = true; }

    /// The silence that is missing before `time` when no sound came until then.
    [[nodiscard]] std::int64_t missingBefore(std::int64_t time) const {
        return time > position_ ? time - position_ : 0;
    }

    /// Everything before this is written.
    [[nodiscard]] std::int64_t position() const { return position_; }

  private:
    [[nodiscard]] bool isJump(std::int64_t error);

    int rate_;
    std::int64_t position_ = 0;
    bool started_ = false;
    int suspectBlocks_ = 0;
    double smoothedError_ = 0; ///< samples that we are behind
};

} // namespace brindle::media
