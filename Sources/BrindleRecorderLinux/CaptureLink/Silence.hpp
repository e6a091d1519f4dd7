// How long the other program has said nothing.
#pragma once

#include <algorithm>
#include <chrono>

namespace brindle::capture {

/// How often each of two programs that speak to one another says that it is there.
inline constexpr std::chrono::milliseconds betweenBeats{500};

/// Only time counts in which we could have heard: after a sleep, or when both were held, one long
/// gap is seen, and is no silence of the other's. A value; one thread at a time.
class Silence {
  public:
    void heard() { length_ = {}; }

    /// Some time has passed since the last call, in which nothing was heard.
    void passed(std::chrono::nanoseconds time) {
        length_ += std::min<std::chrono::nanoseconds>(time, mostAtOnce);
    }

    [[nodiscard]] std::chrono::nanoseconds length() const { return length_; }

  private:
    static constexpr std::chrono::nanoseconds mostAtOnce = 2 * betweenBeats;

    std::chrono::nanoseconds length_{0};
};

} // namespace brindle::capture
