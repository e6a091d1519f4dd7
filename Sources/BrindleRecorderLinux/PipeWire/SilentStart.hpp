// Decides when a microphone that has only ever been silent is worth being opened a second time.
#pragma once

#include "BrindleRecorderLinux/Media/CapturedMedia.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace brindle::pipewire {

/// PipeWire 0.3.65 now and then feeds exact zeros to a stream that is connected a moment after the
/// microphone's only other stream has gone, until another stream is connected beside it. A
/// microphone that is muted looks just the same, so only a few attempts are made, ever later.
class SilentStart {
  public:
    /// What the microphone has delivered. Answers whether another stream should be connected beside
    /// it now; that counts as an attempt.
    bool heard(const media::CapturedSound& sound) {
        if (hasSounded_ || attempts_ == patience.size()) {
            return false;
        }
        if (std::ranges::any_of(sound.bytes, [](std::uint8_t byte) { return byte != 0; })) {
            hasSounded_ = true;
            return false;
        }
        silence_ += std::chrono::nanoseconds{std::chrono::seconds{1}} * sound.count /
                    std::max(1, sound.format.sampleRate);
        if (silence_ < patience.at(attempts_)) {
            return false;
        }
        ++attempts_;
        silence_ = {};
        return true;
    }

  private:
    static constexpr std::array<std::chrono::nanoseconds, 3> patience{
        std::chrono::milliseconds{300}, std::chrono::seconds{2}, std::chrono::seconds{10}};

    bool hasSounded_ = false;
    std::size_t attempts_ = 0;
    std::chrono::nanoseconds silence_{0}; ///< since the last attempt
};

} // namespace brindle::pipewire
