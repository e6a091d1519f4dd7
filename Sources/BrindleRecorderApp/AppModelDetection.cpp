// The first part of the application model: finding calls and driving the session.
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"
#include "BrindleRecorderCore/Base/ByteCount.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <utility>
#include <variant>

namespace brindle {

namespace {

constexpr std::chrono::seconds pollInterval{2};
constexpr std::chrono::seconds tickInterval{1};

CallDetectorConfig detectorConfig(std::set<std::string> disabledFamilies, bool askBeforeRecording) {
    CallDetectorConfig config;
    config.disabledFamilies = std::move(disabledFamilies);
    config.askBeforeRecording = askBeforeRecording;
    return config;
}

} // namespace

/// What the session controller holds of the model: it ends with the model.
class AppModel::SessionBridge final : public SessionDelegate {
  public:
    explicit SessionBridge(AppModel& model) : model_{model} {}
    void startRecording(const std::string& roomCode) override { model_.startRecording(roomCode); }
    void stopRecording(bool keep) override { model_.stopRecording(keep); }

  private:
    AppModel& model_;
};

AppModel::AppModel(const AppEnvironment& environment, RecordingsFolder folder)
    : settings{environment.defaults}, devices{environment.captureSystem, environment.audioObjects},
      permissions{environment.captureSystem, environment.windowList},
      launchAtLogin{environment.loginItems}, notifier{environment.notifications},
      environment_{environment}, folder_{std::move(folder)},
      log_{environment.diagnosticLog, environment.systemLog, environment.dateProvider},
      remuxer_{environment.movieExporter, environment.mainLoop,      environment.dateProvider,
               environment.fileManager,   environment.diagnosticLog, environment.systemLog},
      recorder_{environment.captureSystem,       environment.mainLoop,
                environment.dateProvider,        environment.fileManager,
                environment.diagnosticLog,       environment.systemLog,
                environment.captureSessionQueue, remuxer_},
      mic_{environment.audioObjects, environment.processRegistry, environment.windowList},
      callDetector_{detectorConfig(settings.disabledCallFamilies.get(), false)},
      sessionBridge_{std::make_shared<SessionBridge>(*this)}, session_{environment.dateProvider, 1},
      pendingWork_{environment.mainLoop}, launchWork_{environment.mainLoop},
      notificationWork_{environment.mainLoop} {
    session_.delegate = sessionBridge_;
    session_.onStateChange = [this](const SessionState& state) {
        sessionStateDidChange(state);
    };
    notifier.onAskAnswer = [this](const std::string& label, bool record) {
        handleAskAnswer(label, record);
    };
    mic_.onChange = [this] {
        evaluateCalls(true);
    };
    mic_.isOwnCaptureRunning = [this] {
        return sessionState.get().isRecording();
    };
    recorder_.onFailure = [this](const RecorderError& error) {
        recorderDidFail(error);
    };
    observeSystemEvents();
    // A folder that cannot be made now is tried again when a recording begins.
    static_cast<void>(folder_.createIfNeeded(environment_.fileManager));
    refreshFolderSize();
    refreshStatusLine();
}

AppModel::~AppModel() {
    stopPolling();
}

void AppModel::startPolling() {
    watchesWhenAwake_ = true;
    if (pollTimer_ || isAsleep_) {
        return;
    }
    pollTimer_ = environment_.mainLoop.after(std::chrono::seconds{0}, [this] { poll(); });
    tickTimer_ = environment_.mainLoop.after(tickInterval, [this] { tick(); });
    mic_.start();
}

void AppModel::stopPolling() {
    watchesWhenAwake_ = false;
    pausePolling();
}

void AppModel::pausePolling() {
    mic_.stop();
    pollTimer_.reset();
    tickTimer_.reset();
}

// The next turn is set first, so that whoever ends the watching within this one ends it.

void AppModel::poll() {
    pollTimer_ = environment_.mainLoop.after(pollInterval, [this] { poll(); });
    readMicrophone();
    if (noCallGoesOn()) {
        environment_.takeOverWallTime();
    }
    permissions.refresh();
    devices.refresh();
    evaluateCalls(false);
}

void AppModel::tick() {
    tickTimer_ = environment_.mainLoop.after(tickInterval, [this] { tick(); });
    evaluateCalls(false);
}

void AppModel::readMicrophone() {
    lastMicSnapshot_ = mic_.snapshot();
}

void AppModel::evaluateCalls(bool readMic) {
    if (readMic) {
        readMicrophone();
    }
    // The settings may have changed since the last pass.
    callDetector_.config =
        detectorConfig(settings.disabledCallFamilies.get(), settings.askBeforeRecording.get());
    handleDetectorEvents(callDetector_.update(
        mic_.withWindowTitles(lastMicSnapshot_), environment_.dateProvider.now()));
    withdrawStaleAsk();
    driveSession();
    resumeAfterSleep();
    refreshStatusLine();
}

bool AppModel::somebodyMayBeInACall() const {
    return std::ranges::any_of(lastMicSnapshot_, [this](const MicUser& user) {
        return callDetector_.classify(user).has_value();
    });
}

bool AppModel::noCallGoesOn() const {
    return sessionState.get().isIdle() && callDetector_.phase().isIdle() && pendingWork_.isIdle() &&
           !somebodyMayBeInACall();
}

void AppModel::handleDetectorEvents(const std::vector<CallDetectorEvent>& events) {
    for (const CallDetectorEvent& event : events) {
        handleDetectorEvent(event);
    }
}

void AppModel::handleDetectorEvent(const CallDetectorEvent& event) {
    if (const auto* start = std::get_if<CallDetectorEvent::Start>(&event.value)) {
        labelSources_[start->label] = start->source;
        log_.diagnostic(fmt::format(
            "call detected: {} [{}] site={} → {}", start->source.app, start->source.bundleID,
            start->source.site.value_or("-"), start->label));
    } else if (const auto* ask = std::get_if<CallDetectorEvent::Ask>(&event.value)) {
        labelSources_[ask->label] = ask->source;
        pendingAskLabel.set(ask->label);
        notifier.postAsk(
            ask->label, StatusText::displayName(ask->source) + " is using the microphone.");
    } else if (const auto* stop = std::get_if<CallDetectorEvent::Stop>(&event.value)) {
        log_.diagnostic("call ended: " + stop->label);
    }
}

void AppModel::handleAskAnswer(const std::string& label, bool record) {
    if (pendingAskLabel.get() == label) {
        pendingAskLabel.set(std::nullopt);
    }
    if (const auto event = callDetector_.answer(label, record)) {
        handleDetectorEvent(*event);
    }
    driveSession();
}

void AppModel::withdrawStaleAsk() {
    const auto& label = pendingAskLabel.get();
    if (!label) {
        return;
    }
    const auto* asking = callDetector_.phase().asAsking();
    if (asking == nullptr || asking->label != *label) {
        notifier.withdrawAsk(*label);
        pendingAskLabel.set(std::nullopt);
    }
}

void AppModel::answerPendingAsk(bool record) {
    const auto label = pendingAskLabel.get();
    if (!label) {
        return;
    }
    notifier.withdrawAsk(*label);
    handleAskAnswer(*label, record);
    refreshStatusLine();
}

void AppModel::driveSession() {
    if (isQuitting_) {
        return;
    }
    const auto label = callDetector_.activeLabel();
    if (isAsleep_ && label) {
        return; // the first pass after waking begins what is then still wanted
    }
    session_.handle(label ? DetectorState::inCall(*label) : DetectorState::noRoomTab());
}

void AppModel::sessionStateDidChange(const SessionState& newState) {
    const auto roomBefore = sessionState.get().roomCode();
    sessionState.set(newState);
    if (newState.isRecording()) {
        lastRecordingError.set(std::nullopt);
    } else if (callDetector_.activeLabel()) {
        // The recording of a call that still goes on was ended: the detector must not start it
        // again by itself.
        static_cast<void>(callDetector_.manualStop(environment_.dateProvider.now()));
    }
    if (newState.roomCode() != roomBefore) {
        // One call may follow another without a moment of rest between them.
        failureCountByRoom_.clear();
        blockedCameraIDs_.clear();
        captureWarning.set(std::nullopt);
    }
    refreshStatusLine();
}

void AppModel::recordNowFromMenu() {
    if (isQuitting_ || isAsleep_ || sessionState.get().isRecording()) {
        return;
    }
    readMicrophone();
    if (const auto event = callDetector_.manualStart(environment_.dateProvider.now())) {
        handleDetectorEvent(*event);
    }
    driveSession();
    refreshStatusLine();
}

void AppModel::stopRecordingFromMenu() {
    if (const auto event = callDetector_.manualStop(environment_.dateProvider.now())) {
        handleDetectorEvent(*event);
    }
    driveSession();
    refreshStatusLine();
}

void AppModel::stopAndDiscard() {
    session_.stopAndDiscard();
}

void AppModel::openRecordingsFolder() {
    // What cannot be made cannot be shown either, which the file manager then says.
    static_cast<void>(folder_.createIfNeeded(environment_.fileManager));
    environment_.workspace.openFolder(folder_.root);
}

void AppModel::requestQuit() const {
    if (onQuitRequest) {
        onQuitRequest();
    }
}

void AppModel::setAutoRecord(const std::string& familyID, bool enabled) {
    std::set<std::string> disabled = settings.disabledCallFamilies.get();
    if (enabled) {
        disabled.erase(familyID);
    } else {
        disabled.insert(familyID);
    }
    settings.disabledCallFamilies.set(std::move(disabled));
}

std::optional<std::string> AppModel::currentCallName() const {
    const auto roomCode = sessionState.get().roomCode();
    if (!roomCode) {
        return std::nullopt;
    }
    const auto source = labelSources_.find(*roomCode);
    return source == labelSources_.end() ? std::nullopt
                                         : std::optional{StatusText::displayName(source->second)};
}

std::string AppModel::selectedCameraName() const {
    const auto resolution = DeviceSelection::resolve(
        settings.preferredVideoDeviceID.get(),
        DeviceSelection::idOf(devices.systemDefaultCamera().get()), devices.cameras().get());
    return resolution.device ? resolution.device->localizedName : "No camera";
}

std::string AppModel::selectedMicrophoneName() const {
    const auto resolution = DeviceSelection::resolve(
        settings.preferredAudioDeviceID.get(),
        DeviceSelection::idOf(devices.systemDefaultMicrophone().get()),
        devices.microphones().get());
    return resolution.device ? resolution.device->localizedName : "No microphone";
}

void AppModel::refreshStatusLine() {
    std::optional<Seconds> elapsed;
    if (const auto& startedAt = session_.recordingStartedAt()) {
        elapsed = secondsBetween(*startedAt, environment_.dateProvider.now());
    }
    statusLine.set(StatusText::statusLine(
        sessionState.get(),
        {
            .elapsed = elapsed,
            .camera = currentSidecar_ ? currentSidecar_->videoDevice : selectedCameraName(),
            .microphone = currentSidecar_ ? currentSidecar_->audioDevice : selectedMicrophoneName(),
            .callName = currentCallName(),
            .waitingForAnswer = pendingAskLabel.get().has_value(),
        }));
}

void AppModel::refreshFolderSize() {
    folderSizeText.set(ByteCount::format(folder_.totalSizeBytes(environment_.fileManager)));
}

void AppModel::warn(const std::string& roomCode, const std::string& warning) {
    const auto room = sessionState.get().roomCode();
    if (room && *room != roomCode) {
        return; // it would stand beside another call
    }
    if (room) {
        captureWarning.set(warning);
    }
    lastRecordingError.set(warning);
}

} // namespace brindle
