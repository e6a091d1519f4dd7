// The application as the user interface sees it: what it publishes, and what can be asked of it.
//
// The work is done by its parts, each of which can be read alone: `CallWatch` notices calls,
// `RecordingSession` says what is to be recorded and `RecordingLife` records it,
// `InterruptedRepair` mends what an earlier run left, and `AppLifetime` begins and ends it all.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Calls/CallWatch.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Recording/DeviceChoice.hpp"
#include "BrindleRecorderApp/Recording/EncoderChoice.hpp"
#include "BrindleRecorderApp/Recording/InterruptedRepair.hpp"
#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"
#include "BrindleRecorderApp/Recording/RecordingLife.hpp"
#include "BrindleRecorderApp/Recording/RecordingSession.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Shell/AppLifetime.hpp"
#include "BrindleRecorderApp/Shell/LaunchAtLogin.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"

#include <functional>
#include <optional>
#include <string>

namespace brindle {

/// Main thread only. One for the life of the process.
class AppModel {
  public:
    /// Creates the recordings folder where it is missing. Does not start polling.
    AppModel(const AppEnvironment& environment, RecordingsFolder folder);
    ~AppModel();
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    // What the user interface reads and commands.
    Settings settings;
    DeviceCatalog devices;
    PermissionsModel permissions;
    LaunchAtLogin launchAtLogin;
    Notifier notifier;

  private:
    // The parts, each after those that it uses.
    AppEnvironment environment_;
    EventLog log_;
    RecordingFiles files_;
    RecordingSession session_;
    EncoderChoice encoder_;
    DeviceChoice deviceChoice_;
    CallWatch calls_;
    RecordingLife recordings_;
    InterruptedRepair repair_;
    AppLifetime lifetime_;
    Published<std::string> statusLine_{"Idle"};
    bool expectsRecording_ = false;

  public:
    // What the user interface shows.
    const Published<SessionState>& sessionState;
    const Published<std::string>& statusLine;
    const Published<std::string>& folderSizeText;
    /// About the current or the last recording; forgotten when the call is over.
    const Published<std::optional<std::string>>& captureWarning;
    /// The last recording's problem; forgotten when the next recording starts.
    const Published<std::optional<std::string>>& lastRecordingError;
    /// Names the call whose record prompt is showing.
    const Published<std::optional<std::string>>& pendingAskLabel;

    /// What the program does once it is up, in this order: asks for permission to notify, begins to
    /// watch for calls, repairs what an earlier run left, asks for camera and microphone. A
    /// question about notifications that nobody answers holds the rest up for a while only.
    /// Meanwhile it chooses what compresses pictures. Once.
    void launch() {
        encoder_.choose();
        lifetime_.launch();
    }

    /// Begins to watch for calls; while the machine sleeps, as soon as it wakes. Does nothing when
    /// it has begun.
    void startPolling() { lifetime_.startWatching(); }
    void stopPolling() { lifetime_.stopWatching(); }

    /// One detection pass; with `readMic` on a fresh snapshot, else on the last one.
    void evaluateCalls(bool readMic) { calls_.evaluate(readMic); }

    /// "Record now": a manual recording. Does nothing while recording, and while the machine goes
    /// to sleep or sleeps, which would end it at once.
    void recordNowFromMenu();
    /// "Stop recording": ends the recording and keeps it; its call is not recorded again.
    void stopRecordingFromMenu() { calls_.stopRecording(); }
    /// "Stop and Discard": ends the recording without keeping it; likewise.
    void stopAndDiscard() { session_.stopAndDiscard(); }

    /// Answers the record prompt that is showing, where one is, and takes it off the screen. For
    /// desktops whose notifications have no buttons.
    void answerPendingAsk(bool record) { calls_.answerPendingAsk(record); }

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
    [[nodiscard]] std::string selectedCameraName() const { return deviceChoice_.cameraName(); }
    [[nodiscard]] std::string selectedMicrophoneName() const {
        return deviceChoice_.microphoneName();
    }

    /// Converts and closes the recordings that an earlier run left unfinished. Once per launch.
    /// Between two pieces of its work it waits until nothing is recorded or about to be.
    Task<void> repairInterruptedRecordings() { return repair_.run(); }

    /// Stops watching, takes an open prompt back, stops and keeps a running recording, and calls
    /// `finished` when nothing is being done any more. From then on nothing begins again.
    void prepareToQuit(std::function<void()> finished);

    void refreshStatusLine();

    [[nodiscard]] const RecordingsFolder& folder() const { return files_.folder(); }

  private:
    void lookAround();
    void callsDidChange();
    void sessionDidChange(bool isAboutAnother);
    void expectRecordingWhileLikely();
};

} // namespace brindle
