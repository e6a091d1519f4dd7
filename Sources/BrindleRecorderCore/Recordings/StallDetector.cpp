#include "BrindleRecorderCore/Recordings/StallDetector.hpp"

#include <algorithm>
#include <cmath>

namespace brindle {

bool StallDetector::observe(
    Seconds recordedSeconds, std::optional<std::int64_t> fileSize, Date at) {
    const Seconds duration = std::isfinite(recordedSeconds.count()) ? recordedSeconds : Seconds{0};
    const bool longer = duration > lastDuration;
    const bool larger = fileSize && *fileSize > lastFileSize;
    if (!longer && !larger) {
        return secondsBetween(lastProgressAt, at) >= stallAfter;
    }
    lastDuration = std::max(lastDuration, duration);
    lastFileSize = std::max(lastFileSize, fileSize.value_or(0));
    lastProgressAt = at;
    return false;
}

} // namespace brindle
