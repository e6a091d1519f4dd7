// How a copy of a movie is watched and ended from other threads.
#pragma once

#include <atomic>
#include <cstdint>

namespace brindle::media {

struct CopyControl {
    std::atomic<bool> cancelled{false};
    std::atomic<double> progress{0}; ///< 0 to 1, never going back
    /// Set when the copy is complete: what was left out although readable samples come after it.
    std::atomic<std::int64_t> damagedBytes{0};
};

} // namespace brindle::media
