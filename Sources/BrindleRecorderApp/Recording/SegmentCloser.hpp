// Ends a recording: as a finished .mp4, thrown away, or with whatever a failure has left of it.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderApp/Recording/Segment.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <functional>
#include <optional>
#include <string>

namespace brindle {

class FileManager;
class Notifier;
class Recorder;
class RecordingFiles;
class Remuxer;

/// Main thread only.
class SegmentCloser {
  public:
    /// All must outlive the closer.
    struct Parts {
        FileManager& fileManager;
        const DateProvider& dateProvider;
        std::function<TimeZone()> currentTimeZone;
        EventLog log;
        RecordingFiles& files;
        Notifier& notifier;
        Recorder& recorder;
        Remuxer& remuxer;
    };
    /// A segment that ended while its call went on, and what has become of it.
    struct Ended {
        Segment segment;
        std::string message; ///< why, for people
        Date endedAt;
        Date closedAt;
        bool hasMovie = false;
        bool isConverted = false;
    };

    explicit SegmentCloser(Parts parts) : parts_{std::move(parts)} {}
    SegmentCloser(const SegmentCloser&) = delete;
    SegmentCloser& operator=(const SegmentCloser&) = delete;

    Task<void> keep(Segment segment);
    Task<void> discard(Segment segment);

    /// Converts what a failed segment has left, but writes nothing of it yet.
    Task<Ended> convertFailed(Segment segment, RecorderError error);
    /// Ends a segment that runs, because another one can do better, and converts it; likewise.
    Task<Ended> stopToGoOn(Segment segment, std::string message);
    /// Writes the end of its sidecar. `continuedIn` is the base name of the segment that goes on
    /// with the call; what was written before is replaced.
    void finishEnded(const Ended& ended, const std::optional<std::string>& continuedIn);

  private:
    void finish(const std::string& baseName, Sidecar sidecar, Date at);
    void keepWhateverWasRecorded(const Segment& segment, const RecorderError& error);

    Parts parts_;
};

} // namespace brindle
