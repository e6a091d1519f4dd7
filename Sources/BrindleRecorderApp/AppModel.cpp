#include "BrindleRecorderApp/AppModel.hpp"

#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <set>
#include <utility>

namespace brindle {

AppModel::AppModel(const AppEnvironment& environment, RecordingsFolder folder)
    : settings{environment.defaults}, devices{environment.captureSystem, environment.audioObjects},
      permissions{environment.captureSystem, environment.windowList, environment.words},
      launchAtLogin{environment.loginItems}, notifier{environment.notifications},
      environment_{environment},
      log_{environment.diagnosticLog, environment.systemLog, environment.dateProvider},
      files_{environment, std::move(folder), log_}, session_{environment.dateProvider},
      encoder_{environment.videoEncoders, environment.mainLoop, log_, notifier},
      deviceChoice_{settings, devices, permissions, encoder_},
      calls_{
          environment.mainLoop,
          environment.dateProvider,
          environment.audioObjects,
          environment.processRegistry,
          environment.windowList,
          settings,
          notifier,
          log_},
      recordings_{
          environment,
          log_,
          files_,
          session_,
          devices,
          deviceChoice_,
          permissions,
          notifier,
          [this](const std::string& label) {
              return calls_.sourceOf(label);
          }},
      repair_{
          {.mainLoop = environment.mainLoop,
           .fileManager = environment.fileManager,
           .files = files_,
           .session = session_,
           .recordings = recordings_,
           .notifier = notifier}},
      lifetime_{
          {.mainLoop = environment.mainLoop,
           .systemEvents = environment.systemEvents,
           .log = log_,
           .notifier = notifier,
           .permissions = permissions,
           .calls = calls_,
           .session = session_,
           .recordings = recordings_,
           .repair = repair_,
           .requestQuit =
               [this] {
                   requestQuit();
               }}},
      sessionState{session_.state()}, statusLine{statusLine_}, folderSizeText{files_.sizeText()},
      captureWarning{session_.captureWarning()}, lastRecordingError{session_.lastRecordingError()},
      pendingAskLabel{calls_.pendingAskLabel()} {
    calls_.onPoll = [this] {
        lookAround();
    };
    calls_.onChange = [this] {
        callsDidChange();
    };
    calls_.isOwnCaptureRunning = [this] {
        return session_.state().get().isRecording();
    };
    session_.onStateChange = [this](bool isAboutAnother) {
        sessionDidChange(isAboutAnother);
    };
    recordings_.onChange = [this] {
        expectRecordingWhileLikely();
        refreshStatusLine();
    };
    refreshStatusLine();
}

AppModel::~AppModel() {
    stopPolling();
}

// How the parts meet

void AppModel::lookAround() {
    if (sessionState.get().isIdle() && calls_.isQuiet() && recordings_.isIdle()) {
        environment_.takeOverWallTime();
    }
    permissions.refresh();
    devices.refresh();
}

void AppModel::callsDidChange() {
    const auto call = calls_.activeLabel();
    // In a sleep a call can only end: the first pass after waking begins what is then still wanted.
    const bool mayFollow = !lifetime_.isQuitting() && !(lifetime_.isAsleep() && call);
    if (mayFollow) {
        session_.follow(call);
    }
    lifetime_.resumeAfterSleep();
    expectRecordingWhileLikely();
    refreshStatusLine();
}

void AppModel::sessionDidChange(bool isAboutAnother) {
    if (!session_.state().get().isRecording() && calls_.activeLabel()) {
        // The recording of a call that still goes on was ended: it must not be started again by
        // itself.
        calls_.letGo();
    }
    if (isAboutAnother) {
        recordings_.forgetFailures();
    }
    expectRecordingWhileLikely();
    refreshStatusLine();
}

void AppModel::expectRecordingWhileLikely() {
    const auto& state = session_.state().get();
    const bool isAboutToBegin =
        state.isRecording() ? !recordings_.current() : state.isIdle() && calls_.mayBegin();
    const bool isLikely = isAboutToBegin && !lifetime_.isQuitting() && !lifetime_.isAsleep();
    if (std::exchange(expectsRecording_, isLikely) != isLikely) {
        environment_.captureSystem.expectRecording(isLikely);
    }
}

// What the user commands

void AppModel::recordNowFromMenu() {
    if (!lifetime_.isQuitting() && !lifetime_.isAsleep() && !sessionState.get().isRecording()) {
        calls_.recordNow();
    }
}

void AppModel::openRecordingsFolder() {
    // What cannot be made cannot be shown either, which the file manager then says.
    files_.makeFolder();
    environment_.workspace.openFolder(folder().root);
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

void AppModel::prepareToQuit(std::function<void()> finished) {
    lifetime_.prepareToQuit(std::move(finished));
}

// What the user reads

std::optional<std::string> AppModel::currentCallName() const {
    const auto roomCode = sessionState.get().roomCode();
    const auto source = roomCode ? calls_.sourceOf(*roomCode) : std::nullopt;
    return source ? std::optional{StatusText::displayName(*source)} : std::nullopt;
}

void AppModel::refreshStatusLine() {
    std::optional<Seconds> elapsed;
    if (const auto& startedAt = session_.recordingStartedAt()) {
        elapsed = secondsBetween(*startedAt, environment_.dateProvider.now());
    }
    const auto& segment = recordings_.current();
    statusLine_.set(StatusText::statusLine(
        sessionState.get(),
        {
            .elapsed = elapsed,
            .camera = segment ? StatusText::cameraInSidecar(segment->sidecar.videoDevice)
                              : selectedCameraName(),
            .microphone = segment ? StatusText::microphoneInSidecar(segment->sidecar.audioDevice)
                                  : selectedMicrophoneName(),
            .callName = currentCallName(),
            .waitingForAnswer = pendingAskLabel.get().has_value(),
        }));
}

} // namespace brindle
