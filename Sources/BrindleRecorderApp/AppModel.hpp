// The application's one coordinator: it watches for calls, starts and stops recordings, and
// publishes what the icon and the menu show.
//
// Its parts are three files: AppModelDetection.cpp finds calls and drives the session,
// AppModelRecording.cpp makes the recordings that the session asks for, and AppModelLifetime.cpp
// does what launching, quitting and the machine's sleep ask for.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Shell/LaunchAtLogin.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "BrindleRecorderCore/Calls/SessionController.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"
#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. One for the life of the process.
class AppModel {
  public:
    /// Creates the recordings folder where it is missing. Does not start polling.
    AppModel(const AppEnvironment& environment, RecordingsFolder folder);
    ~AppModel();
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    // What the user interface shows.
    Published<SessionState> sessionState;
    Published<std::string> statusLine{"Idle"};
    Published<std::string> folderSizeText{"0 bytes"};
    /// About the current or the last recording; forgotten when the call is over.
    Published<std::optional<std::string>> captureWarning;
    /// The last recording's problem; forgotten when the next recording starts.
    Published<std::optional<std::string>> lastRecordingError;
    /// Names the call whose record prompt is showing.
    Published<std::optional<std::string>> pendingAskLabel;

    // What the user interface reads and commands.
    Settings settings;
    DeviceCatalog devices;
    PermissionsModel permissions;
    LaunchAtLogin launchAtLogin;
    Notifier notifier;

    /// What the program does once it is up, in this order: asks for permission to notify, begins to
    /// watch for calls, repairs what an earlier run left, asks for camera and microphone. A
    /// question about notifications that nobody answers holds the rest up for a while only. Once.
    void launch();

    /// Begins to watch for calls; while the machine sleeps, as soon as it wakes. Does nothing when
    /// it has begun.
    void startPolling();
    void stopPolling();

    /// One detection pass; with `readMic` on a fresh snapshot, else on the last one.
    void evaluateCalls(bool readMic);

    /// "Record now": a manual recording. Does nothing while recording, and while the machine goes
    /// to sleep or sleeps, which would end it at once.
    void recordNowFromMenu();
    /// "Stop recording": ends the recording and keeps it; its call is not recorded again.
    void stopRecordingFromMenu();
    /// "Stop and Discard": ends the recording without keeping it; likewise.
    void stopAndDiscard();

    /// Answers the record prompt that is showing, where one is, and takes it off the screen. For
    /// desktops whose notifications have no buttons.
    void answerPendingAsk(bool record);

    /// Shows the recordings folder, made anew where it is missing.
    void openRecordingsFolder();

    /// The user wants the program to end. Whoever runs the main loop decides how.
    void requestQuit() const;
    std::function<void()> onQuitRequest;

    /// Switches automatic recording of a call family on or off.
    void setAutoRecord(const std::string& familyID, bool enabled);

    /// The call that the session is about, as people call it.
    [[nodiscard]] std::optional<std::string> currentCallName() const;
    /// The camera or microphone that the next recording would use, or that there is none.
    [[nodiscard]] std::string selectedCameraName() const;
    [[nodiscard]] std::string selectedMicrophoneName() const;

    /// Converts and closes the recordings that an earlier run left unfinished. Once per launch.
    /// Between two pieces of its work it waits until nothing is recorded or about to be.
    Task<void> repairInterruptedRecordings();

    /// Stops watching, takes an open prompt back, stops and keeps a running recording, and calls
    /// `finished` when nothing is being done any more. From then on nothing begins again.
    void prepareToQuit(std::function<void()> finished);

    /// The machine is about to sleep: stops watching, stops and keeps a running recording, and
    /// calls `ready` when nothing is being done any more. From then on nothing begins until it has
    /// woken.
    void prepareToSleep(std::function<void()> ready);
    /// The machine has woken: watches again, and records a call that still goes on into a new file.
    void wakeUp();

    void refreshStatusLine();

    [[nodiscard]] const RecordingsFolder& folder() const { return folder_; }
    [[nodiscard]] const Remuxer& remuxer() const { return remuxer_; }

  private:
    class SessionBridge;

    /// What a capture failure hands to the restart.
    struct Continuation {
        std::string baseName;          ///< for the new segment
        std::string continuedBaseName; ///< of the segment that failed
    };

    /// One wish of the session that a room be recorded. Its number tells it from an earlier wish
    /// for the same room.
    struct RecordingRequest {
        std::string roomCode;
        std::uint64_t number = 0;
    };

    /// The devices that a recording is to use, before any is opened.
    struct ResolvedDevices {
        std::vector<CaptureDeviceInfo> cameraCandidates;
        DeviceResolution camera;
        DeviceResolution microphone;
        bool cameraAllowed = true; ///< false: one attempt, without a camera
        bool cameraAccessDenied = false;
    };

    /// The devices that a recording does use.
    struct OpenedDevices {
        std::optional<CaptureDeviceInfo> camera;
        std::optional<CaptureDeviceInfo> microphone;
    };

    // Lifetime (AppModelLifetime.cpp)
    void observeSystemEvents();
    Task<void> askForNotifications();
    void goToWork();
    Task<void> runLaunch();
    /// Whether the session records, but a sleep has stopped the capture.
    [[nodiscard]] bool recordingIsPaused() const;
    void resumeAfterSleep();

    // Detection (AppModelDetection.cpp)
    void pausePolling();
    void poll();
    void tick();
    void readMicrophone();
    void handleDetectorEvents(const std::vector<CallDetectorEvent>& events);
    void handleDetectorEvent(const CallDetectorEvent& event);
    void handleAskAnswer(const std::string& label, bool record);
    void withdrawStaleAsk();
    [[nodiscard]] bool somebodyMayBeInACall() const;
    [[nodiscard]] bool noCallGoesOn() const;
    void driveSession();
    void sessionStateDidChange(const SessionState& newState);
    /// Says what went wrong in that room's recording, for as long as nothing else is going on.
    void warn(const std::string& roomCode, const std::string& warning);
    void refreshFolderSize();

    // Recording (AppModelRecording.cpp)
    void startRecording(const std::string& roomCode);
    void stopRecording(bool keep);
    /// Whether the session still wants what it wanted with this request.
    [[nodiscard]] bool isWanted(const RecordingRequest& request) const;
    /// Whether it was taken back by a sleep, or made anew since.
    [[nodiscard]] bool isOutdated(const RecordingRequest& request) const;
    Task<void> beginRecordingIfWanted(RecordingRequest request);
    Task<void> beginRecording(
        RecordingRequest request, std::optional<Continuation> continuing, bool audioOnly);
    void logNotBegun(const RecordingRequest& request);
    [[nodiscard]] bool diskSpaceAllowsRecording();
    Task<bool> microphoneIsGranted();
    [[nodiscard]] ResolvedDevices resolveDevices(bool audioOnly);
    [[nodiscard]] Sidecar makeSidecar(
        const std::string& roomCode, const std::optional<Continuation>& continuing,
        const ResolvedDevices& resolved) const;
    [[nodiscard]] std::optional<OpenedDevices>
    openDevices(const ResolvedDevices& resolved, const std::filesystem::path& movPath);
    void giveUpOpening(
        const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
        bool continuing);
    void recordingDidOpen(
        const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
        const ResolvedDevices& resolved, const OpenedDevices& opened);
    Task<void> endRecording(bool keep);
    Task<void> discard(std::string baseName);
    Task<void> keep(std::string baseName, Sidecar sidecar);
    void keepWhateverWasRecorded(
        const std::string& baseName, const Sidecar& sidecar, const RecorderError& error);
    void recorderDidFail(const RecorderError& error);
    /// `failed` and `failedSegment`: what was being recorded when it failed, and in which segment.
    Task<void> processCaptureFailure(
        RecorderError error, RecordingRequest failed, std::optional<std::uint64_t> failedSegment);
    void blockCameraNamed(const std::string& localizedName);
    /// Where the call goes on: `continuedIn`, or nothing when it was over before the segment was
    /// converted.
    Task<std::optional<std::string>> finaliseAfterCaptureFailure(
        RecordingRequest request, std::string baseName, Sidecar sidecar, RecorderError error,
        std::optional<std::string> continuedIn);
    /// Has the call not recorded again. Does nothing once the session wants something else.
    void recordingDidFail(const RecordingRequest& request);
    /// The same whenever the session is about this call, also when it is to be resumed after a
    /// sleep.
    void giveUpCall(const std::string& roomCode);
    Task<std::vector<InterruptedRecording>> findInterruptedRecordings();
    Task<void> otherWorkHasHadItsTurn();
    /// Waits until nothing is recorded, converted or about to be.
    Task<void> recordingsHaveHadTheirTurn();
    void writeSidecar(const std::string& baseName, const Sidecar& sidecar);
    [[nodiscard]] std::string uniqueBaseName() const;
    void tellUser(const std::string& body);

    AppEnvironment environment_;
    RecordingsFolder folder_;
    EventLog log_;
    Remuxer remuxer_;
    Recorder recorder_;
    MicActivityMonitor mic_;
    CallDetector callDetector_;
    std::shared_ptr<SessionBridge> sessionBridge_;
    SessionController session_;

    std::map<std::string, CallSource> labelSources_; ///< by call label
    std::vector<MicUser> lastMicSnapshot_;
    std::unique_ptr<MainLoop::Timer> pollTimer_;
    std::unique_ptr<MainLoop::Timer> tickTimer_;

    std::unique_ptr<MainLoop::Timer> launchPatience_; ///< with the answer about notifications
    std::unique_ptr<Observation> systemObservation_;
    bool isQuitting_ = false;
    bool isAsleep_ = false;
    bool watchesWhenAwake_ = false;

    // The segment being recorded: both present from a successful start until a stop or a failure
    // takes them.
    std::optional<std::string> currentBaseName_;
    std::optional<Sidecar> currentSidecar_;
    /// Counts the segments, since a name that was discarded is given to the next one again.
    std::uint64_t currentSegment_ = 0;

    /// Absent before the first one, and once a sleep has taken it back.
    std::optional<RecordingRequest> lastRequest_;
    std::uint64_t requestCount_ = 0;
    RecordingRequest currentRequest_; ///< that the segment being recorded was begun for

    std::set<std::string> begunBaseNames_; ///< by this run of the program, finished ones included

    // The failure history of the current call.
    std::map<std::string, int> failureCountByRoom_;
    std::set<std::string> blockedCameraIDs_;

    // Last, so that no job outlives what it uses. A recording never waits for the launch's repairs,
    // and these not for ever for the user.
    JobChain pendingWork_;
    JobChain launchWork_;
    JobChain notificationWork_;
};

} // namespace brindle
