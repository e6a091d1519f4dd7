#include "BrindleRecorderApp/Shell/AppLifetime.hpp"

#include "BrindleRecorderApp/Calls/CallWatch.hpp"
#include "BrindleRecorderApp/Platform/SystemEvents.hpp"
#include "BrindleRecorderApp/Recording/InterruptedRepair.hpp"
#include "BrindleRecorderApp/Recording/RecordingLife.hpp"
#include "BrindleRecorderApp/Recording/RecordingSession.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"

#include <chrono>
#include <utility>

namespace brindle {

namespace {

/// How long a question about notifications that nobody answers keeps calls from being noticed.
constexpr std::chrono::seconds patienceAtLaunch{20};

} // namespace

AppLifetime::AppLifetime(Parts parts)
    : parts_{std::move(parts)}, launchWork_{parts_.mainLoop}, notificationWork_{parts_.mainLoop} {
    observeSystemEvents();
}

// Launching

void AppLifetime::launch() {
    launchPatience_ = parts_.mainLoop.after(patienceAtLaunch, [this] { goToWork(); });
    notificationWork_.enqueue([this] { return askForNotifications(); });
}

Task<void> AppLifetime::askForNotifications() {
    co_await parts_.notifier.requestAuthorization();
    goToWork();
}

void AppLifetime::goToWork() {
    if (!launchPatience_) {
        return; // at work already, or quitting
    }
    launchPatience_.reset();
    launchWork_.enqueue([this] { return runLaunch(); });
}

Task<void> AppLifetime::runLaunch() {
    if (isQuitting_) {
        co_return;
    }
    startWatching();
    co_await parts_.repair.run();
    if (!isQuitting_) {
        co_await parts_.permissions.requestCameraAndMicrophone();
    }
}

void AppLifetime::startWatching() {
    watchesWhenAwake_ = true;
    if (!isAsleep_) {
        parts_.calls.start();
    }
}

void AppLifetime::stopWatching() {
    watchesWhenAwake_ = false;
    parts_.calls.stop();
}

// Quitting

void AppLifetime::prepareToQuit(std::function<void()> finished) {
    if (!std::exchange(isQuitting_, true)) {
        launchPatience_.reset();
        stopWatching();
        parts_.calls.withdrawPendingAsk();
        parts_.session.stopAndKeep();
    }
    parts_.recordings.whenIdle(std::move(finished));
}

// Sleeping

void AppLifetime::observeSystemEvents() {
    if (parts_.systemEvents == nullptr) {
        return;
    }
    systemObservation_ = parts_.systemEvents->observe({
        .willSleep = [this](std::function<void()> ready) { prepareToSleep(std::move(ready)); },
        .didWake = [this] { wakeUp(); },
        .sessionWillEnd = [this] { parts_.requestQuit(); },
    });
}

void AppLifetime::prepareToSleep(std::function<void()> ready) {
    if (!isQuitting_ && !std::exchange(isAsleep_, true)) {
        parts_.log.diagnostic("the machine is about to sleep");
        parts_.calls.stop();
        parts_.session.pause();
    }
    parts_.recordings.whenIdle(std::move(ready));
}

void AppLifetime::wakeUp() {
    if (!std::exchange(isAsleep_, false) || isQuitting_) {
        return;
    }
    parts_.log.diagnostic("the machine has woken");
    if (watchesWhenAwake_) {
        startWatching();
    }
    parts_.calls.evaluate(true);
    if (parts_.session.isPaused() && parts_.calls.isByHand()) {
        // Nobody is in a call, and only the user can know what was to be recorded.
        parts_.calls.stopRecording();
    }
}

void AppLifetime::resumeAfterSleep() {
    if (!isAsleep_ && parts_.session.isPaused() && parts_.calls.somebodyMayBeInACall()) {
        parts_.session.resume();
    }
}

} // namespace brindle
