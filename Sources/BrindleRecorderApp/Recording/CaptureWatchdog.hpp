// Judges, reading by reading, whether a running recording is really being written.
#pragma once

#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Recordings/StallDetector.hpp"

#include <chrono>
#include <cstdint>
#include <optional>

namespace brindle {

/// A value.
class CaptureWatchdog {
  public:
    /// The time from one reading to the next.
    static constexpr std::chrono::seconds interval{2};
    /// How long a camera may take to deliver its first picture.
    static constexpr Seconds framesExpectedAfter{5};
    static constexpr int stallAfterSeconds = 10;

    CaptureWatchdog(Date startedAt, bool expectsVideo)
        : startedAt_{startedAt}, framesChecked_{!expectsVideo}, stallDetector_{
                                                                    startedAt,
                                                                    Seconds{stallAfterSeconds}} {}

    /// Takes in the duration recorded so far and the size of the file in bytes, where there is one.
    /// Answers `noFramesReceived` or `stalled` when the recording has to be given up.
    std::optional<RecorderError>
    observe(Seconds recordedDuration, std::optional<std::int64_t> fileSize, Date now);

  private:
    Date startedAt_;
    bool framesChecked_;
    StallDetector stallDetector_;
};

} // namespace brindle
