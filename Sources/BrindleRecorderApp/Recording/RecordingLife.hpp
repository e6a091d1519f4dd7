// The life of a recording: what the session wants is begun, ended and, after a failure, gone on
// with, one job after the other.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Recording/CameraReturn.hpp"
#include "BrindleRecorderApp/Recording/CameraYield.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderApp/Recording/Segment.hpp"
#include "BrindleRecorderApp/Recording/SegmentCloser.hpp"
#include "BrindleRecorderApp/Recording/SegmentOpener.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace brindle {

/// Main thread only. Carries out what the session asks for; the session's `onStart` and `onStop`
/// belong to it.
class RecordingLife {
  public:
    using SourceOf = std::function<std::optional<CallSource>(const std::string& label)>;

    /// All must outlive it.
    RecordingLife(
        const AppEnvironment& environment, EventLog log, RecordingFiles& files,
        RecordingSession& session, const DeviceCatalog& catalog, DeviceChoice& devices,
        PermissionsModel& permissions, Notifier& notifier, SourceOf sourceOf);
    RecordingLife(const RecordingLife&) = delete;
    RecordingLife& operator=(const RecordingLife&) = delete;

    /// Called when something else is recorded than before, or nothing any more.
    std::function<void()> onChange;

    /// What is being recorded now.
    [[nodiscard]] const std::optional<Segment>& current() const { return current_; }
    [[nodiscard]] bool hasBegun(const std::string& baseName) const {
        return opener_.hasBegun(baseName);
    }

    /// The call is another one: what failed in the last one does not count any more.
    void forgetFailures();

    /// Whether nothing is being done or waits to be done. A recording that simply runs is at rest.
    [[nodiscard]] bool isIdle() const { return work_.isIdle(); }
    /// Calls `work` as soon as that is so.
    void whenIdle(std::function<void()> work) { work_.whenIdle(std::move(work)); }

    [[nodiscard]] Remuxer& remuxer() { return remuxer_; }

  private:
    Task<void> beginIfWanted(RecordingRequest request);
    /// Whether there is a sidecar, whatever became of it then.
    Task<bool> begin(
        RecordingRequest request, std::optional<SegmentOpener::Continuation> continuing,
        bool audioOnly);
    Task<void> end(bool keep);
    /// Nothing is recorded any more.
    [[nodiscard]] Segment takeCurrent();
    void recorderDidFail(const RecorderError& error);
    /// `failed` and `failedSegment`: what was being recorded when it failed, and in which segment.
    Task<void> processFailure(
        RecorderError error, RecordingRequest failed, std::optional<std::uint64_t> failedSegment);
    /// Whether the segment's camera is somebody else's now.
    [[nodiscard]] bool hasLostCamera(const Segment& segment) const;
    /// Goes on with a picture where there was sound alone.
    Task<void> takeUpCamera();
    /// Records on into `continuedIn`.
    Task<void> goOn(
        RecordingRequest request, const SegmentCloser::Ended& before, std::string continuedIn,
        bool audioOnly);
    void changed() const;

    const CaptureSystem& captureSystem_;
    const ProcessRegistry& processRegistry_;
    const DateProvider& dateProvider_;
    std::function<TimeZone()> currentTimeZone_;
    EventLog log_;
    RecordingFiles& files_;
    RecordingSession& session_;
    DeviceChoice& devices_;
    Notifier& notifier_;
    Remuxer remuxer_;
    Recorder recorder_;
    SegmentOpener opener_;
    SegmentCloser closer_;
    CameraReturn cameraReturn_;
    CameraYield cameraYield_;
    std::optional<Segment> current_;
    std::map<std::string, int> failureCountByRoom_;

    JobChain work_; ///< last, so that no job outlives what it uses
};

} // namespace brindle
