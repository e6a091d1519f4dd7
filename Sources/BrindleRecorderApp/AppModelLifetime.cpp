// The third part of the application model: launching, quitting, and the machine's sleep.
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Platform/SystemEvents.hpp"

#include <utility>

namespace brindle {

namespace {

/// How long a question about notifications that nobody answers keeps calls from being noticed.
constexpr std::chrono::seconds patienceAtLaunch{20};

} // namespace

// Launching

void AppModel::launch() {
    launchPatience_ = environment_.mainLoop.after(patienceAtLaunch, [this] { goToWork(); });
    notificationWork_.enqueue([this] { return askForNotifications(); });
}

Task<void> AppModel::askForNotifications() {
    co_await notifier.requestAuthorization();
    goToWork();
}

void AppModel::goToWork() {
    if (!launchPatience_) {
        return; // at work already, or quitting
    }
    launchPatience_.reset();
    launchWork_.enqueue([this] { return runLaunch(); });
}

Task<void> AppModel::runLaunch() {
    if (isQuitting_) {
        co_return;
    }
    startPolling();
    co_await repairInterruptedRecordings();
    if (!isQuitting_) {
        co_await permissions.requestCameraAndMicrophone();
    }
}

// Quitting

void AppModel::prepareToQuit(std::function<void()> finished) {
    if (!std::exchange(isQuitting_, true)) {
        launchPatience_.reset();
        stopPolling();
        if (const auto asked = pendingAskLabel.get()) {
            notifier.withdrawAsk(*asked);
            pendingAskLabel.set(std::nullopt);
        }
        session_.stopAndKeep();
    }
    pendingWork_.whenIdle(std::move(finished));
}

// Sleeping

void AppModel::observeSystemEvents() {
    if (environment_.systemEvents == nullptr) {
        return;
    }
    systemObservation_ = environment_.systemEvents->observe({
        .willSleep = [this](std::function<void()> ready) { prepareToSleep(std::move(ready)); },
        .didWake = [this] { wakeUp(); },
        .sessionWillEnd = [this] { requestQuit(); },
    });
}

void AppModel::prepareToSleep(std::function<void()> ready) {
    if (!isQuitting_ && !std::exchange(isAsleep_, true)) {
        log_.diagnostic("the machine is about to sleep");
        pausePolling();
        if (sessionState.get().isRecording()) {
            // The session is not told: for it the call goes on.
            lastRequest_.reset();
            stopRecording(true);
        }
    }
    pendingWork_.whenIdle(std::move(ready));
}

void AppModel::wakeUp() {
    if (!std::exchange(isAsleep_, false) || isQuitting_) {
        return;
    }
    log_.diagnostic("the machine has woken");
    if (watchesWhenAwake_) {
        startPolling();
    }
    evaluateCalls(true);
    const auto* recording = callDetector_.phase().asRecording();
    if (recordingIsPaused() && recording != nullptr && recording->isManual) {
        // Nobody is in a call, and only the user can know what was to be recorded.
        stopRecordingFromMenu();
    }
}

bool AppModel::recordingIsPaused() const {
    return sessionState.get().isRecording() && !lastRequest_;
}

/// Records again as soon as somebody is seen in the call; whoever does not come back in time ends
/// it, and nothing more is recorded.
void AppModel::resumeAfterSleep() {
    const auto room = sessionState.get().roomCode();
    if (recordingIsPaused() && !isAsleep_ && room && somebodyMayBeInACall()) {
        startRecording(*room);
    }
}

} // namespace brindle
