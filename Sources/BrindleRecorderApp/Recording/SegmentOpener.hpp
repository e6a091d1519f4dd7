// Begins a recording: room on the disk, leave, devices, sidecar, capture.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Recording/DeviceChoice.hpp"
#include "BrindleRecorderApp/Recording/Segment.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace brindle {

class Notifier;
class PermissionsModel;
class ProcessRegistry;
class Recorder;
class RecordingFiles;

/// Main thread only.
class SegmentOpener {
  public:
    /// All must outlive the opener.
    struct Parts {
        CaptureSystem& captureSystem;
        const ProcessRegistry& processRegistry;
        const DateProvider& dateProvider;
        std::function<TimeZone()> currentTimeZone;
        EventLog log;
        RecordingFiles& files;
        RecordingSession& session;
        DeviceChoice& devices;
        PermissionsModel& permissions;
        Notifier& notifier;
        Recorder& recorder;
        /// What the call of that label is attributed to.
        std::function<std::optional<CallSource>(const std::string& label)> sourceOf;
    };
    /// What a segment that failed hands to the one that goes on.
    struct Continuation {
        std::string baseName;          ///< for the new segment
        std::string continuedBaseName; ///< of the segment that failed
    };
    struct Opening {
        bool hasBegun = false; ///< there is a sidecar, whatever became of it then
        std::optional<Segment> segment;
    };

    explicit SegmentOpener(Parts parts) : parts_{std::move(parts)} {}
    SegmentOpener(const SegmentOpener&) = delete;
    SegmentOpener& operator=(const SegmentOpener&) = delete;

    /// Opens what the request asks for. What stands in the way is told to the user, and the session
    /// does not ask for it again. May wait for the user's leave, for as long as that takes.
    Task<Opening>
    open(RecordingRequest request, std::optional<Continuation> continuing, bool audioOnly);

    /// Whether a recording of that name was ever begun by this run of the program.
    [[nodiscard]] bool hasBegun(const std::string& baseName) const {
        return begunBaseNames_.contains(baseName);
    }
    /// Says that the request is not carried out, because nobody wants it any more.
    void logNotBegun(const RecordingRequest& request) const;

  private:
    /// The devices that a recording does use.
    struct OpenedDevices {
        std::optional<CaptureDeviceInfo> camera;
        std::optional<CaptureDeviceInfo> microphone;
        /// Who has the camera that was chosen, where that is why it was not opened.
        std::optional<CameraHolder> holder;
        std::set<std::string> refusedCameraIDs;
    };

    [[nodiscard]] bool diskSpaceAllowsRecording() const;
    Task<bool> microphoneIsGranted();
    [[nodiscard]] Sidecar makeSidecar(
        const std::string& roomCode, const std::optional<Continuation>& continuing,
        const ChosenDevices& chosen) const;
    [[nodiscard]] std::optional<OpenedDevices>
    openDevices(const ChosenDevices& chosen, const std::filesystem::path& movPath);
    void giveUp(
        const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
        bool continuing);
    Segment didOpen(
        const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
        const ChosenDevices& chosen, const OpenedDevices& opened);

    Parts parts_;
    std::set<std::string> begunBaseNames_;
    std::uint64_t segmentCount_ = 0;
};

} // namespace brindle
