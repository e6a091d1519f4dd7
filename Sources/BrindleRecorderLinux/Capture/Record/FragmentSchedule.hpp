// When a recording's fragments end.
#pragma once

#include <algorithm>
#include <chrono>

namespace brindle::media {

/// The first fragments end after 1 and 2 seconds, since whatever is lost before the first end is
/// lost whole; from then on one ends each interval. A value; one thread at a time.
class FragmentSchedule {
  public:
    /// `interval` is more than zero and the longest that a fragment may cover.
    explicit FragmentSchedule(std::chrono::nanoseconds interval)
        : interval_{interval}, next_{std::min<std::chrono::nanoseconds>(early, interval)} {}

    /// Whether a fragment has to end before the sample that is shown at `time`.
    [[nodiscard]] bool isDue(std::chrono::nanoseconds time) const { return time >= next_; }

    /// A fragment has ended before the sample that is shown at `time`.
    void endedAt(std::chrono::nanoseconds time) {
        while (next_ <= time) {
            next_ += next_ < 2 * early ? std::min<std::chrono::nanoseconds>(early, interval_)
                                       : interval_;
        }
    }

  private:
    static constexpr std::chrono::nanoseconds early = std::chrono::seconds{1};

    std::chrono::nanoseconds interval_;
    std::chrono::nanoseconds next_;
};

} // namespace brindle::media
