// Notices a recording that no longer gets longer or larger.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

#include <cstdint>
#include <optional>

namespace brindle {

/// A value, fed at intervals with what has been recorded so far. Both measures only ever rise: one
/// that falls back is no progress, and has to pass its old height before it counts again.
struct StallDetector {
    Seconds stallAfter;           ///< how long without progress is too long
    Date lastProgressAt;          ///< when progress was last seen
    Seconds lastDuration{0};      ///< the longest duration seen
    std::int64_t lastFileSize{0}; ///< the largest size seen, in bytes

    StallDetector(Date startedAt, Seconds limit) : stallAfter{limit}, lastProgressAt{startedAt} {}

    /// Takes in the duration recorded so far (NaN and infinity count as zero) and, where it is
    /// known, the size of the file in bytes. True when the recording has stalled: no progress now,
    /// and none for at least `stallAfter`.
    bool observe(Seconds recordedSeconds, std::optional<std::int64_t> fileSize, Date at);

    friend bool operator==(const StallDetector&, const StallDetector&) = default;
};

} // namespace brindle
