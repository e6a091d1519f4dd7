#include "BrindleRecorderApp/Recording/CaptureWatchdog.hpp"

namespace brindle {

std::optional<RecorderError>
CaptureWatchdog::observe(Seconds recordedDuration, std::optional<std::int64_t> fileSize, Date now) {
    if (!framesChecked_ && secondsBetween(startedAt_, now) >= framesExpectedAfter) {
        // Also true for NaN, which an output that has written nothing may answer.
        if (!(recordedDuration > Seconds{0})) {
            return RecorderError::noFramesReceived();
        }
        framesChecked_ = true;
    }
    if (stallDetector_.observe(recordedDuration, fileSize, now)) {
        return RecorderError::stalled(stallAfterSeconds);
    }
    return std::nullopt;
}

} // namespace brindle
