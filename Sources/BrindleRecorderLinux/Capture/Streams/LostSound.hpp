// Notices the sound of a microphone that never arrived.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace brindle::pipewire {

/// The sound server counts on while a process misses its turn, and what that turn would have
/// brought is gone. A moment alone tells such a hole only roughly; the count tells it exactly.
/// A value; one thread at a time.
class LostSound {
  public:
    /// `count` is the server's count of units of `unit` seconds at the newest block, `arrived` how
    /// much sound has come since the last call. Returns what is missing before it, or zero.
    std::chrono::nanoseconds before(
        std::uint64_t count, std::chrono::duration<double> unit, std::chrono::nanoseconds arrived) {
        const auto last = last_;
        last_ = count;
        if (!last || count <= *last) {
            return {};
        }
        const auto lost = std::chrono::duration_cast<std::chrono::nanoseconds>(
                              static_cast<double>(count - *last) * unit) -
                          arrived;
        return lost > rounding ? lost : std::chrono::nanoseconds{0};
    }

  private:
    /// Where rates are converted, blocks differ by some samples.
    static constexpr std::chrono::milliseconds rounding{2};

    std::optional<std::uint64_t> last_;
};

} // namespace brindle::pipewire
