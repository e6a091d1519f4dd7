// When a picture was taken, told on the one clock that sound and picture share.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <chrono>
#include <optional>

namespace brindle::media {

/// A camera's own stamps are taken when they are on the monotonic clock, and else the moment at
/// which the picture arrived. A value; one thread at a time.
class PresentationClock {
  public:
    /// `stamp` is what the camera says, if it says anything; `arrival` is the monotonic time now.
    Moment timeOf(std::optional<Moment> stamp, Moment arrival) {
        if (!stamp || *stamp <= Moment{} || *stamp > arrival + future) {
            return arrival;
        }
        // On another clock a stamp is anywhere; on ours it is recent, and may only be old when the
        // camera was frozen after it had been on time.
        const bool recent = arrival - *stamp <= recentAge;
        trusted_ = trusted_ || recent;
        if (!trusted_ || arrival - *stamp > oldestAge) {
            return arrival;
        }
        return *stamp;
    }

  private:
    static constexpr std::chrono::milliseconds future{50};
    static constexpr std::chrono::milliseconds recentAge{500};
    static constexpr std::chrono::seconds oldestAge{60};

    bool trusted_ = false;
};

} // namespace brindle::media
