// Launching, quitting, and the machine's sleep: in which order the program's parts begin and end.
#pragma once

#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <functional>
#include <memory>

namespace brindle {

class CallWatch;
class InterruptedRepair;
class Notifier;
class PermissionsModel;
class RecordingLife;
class RecordingSession;
class SystemEvents;

/// Main thread only.
class AppLifetime {
  public:
    /// All must outlive the lifetime.
    struct Parts {
        MainLoop& mainLoop;
        SystemEvents* systemEvents; ///< absent where the desktop announces nothing
        EventLog log;
        Notifier& notifier;
        PermissionsModel& permissions;
        CallWatch& calls;
        RecordingSession& session;
        RecordingLife& recordings;
        InterruptedRepair& repair;
        /// The desktop wants the program to end.
        std::function<void()> requestQuit;
    };

    explicit AppLifetime(Parts parts);
    AppLifetime(const AppLifetime&) = delete;
    AppLifetime& operator=(const AppLifetime&) = delete;

    [[nodiscard]] bool isQuitting() const { return isQuitting_; }
    [[nodiscard]] bool isAsleep() const { return isAsleep_; }

    /// Asks for leave to notify, begins to watch, repairs what an earlier run left, asks for camera
    /// and microphone. A first question that nobody answers holds the rest up for a while only.
    void launch();

    /// Begins to watch for calls; while the machine sleeps, as soon as it wakes.
    void startWatching();
    void stopWatching();

    /// Ends everything that goes on, and calls `finished` when that is done. From then on nothing
    /// begins again.
    void prepareToQuit(std::function<void()> finished);

    /// Records again what a sleep has stopped, as soon as somebody is seen in the call. Whoever
    /// does not come back in time ends it, and nothing more is recorded.
    void resumeAfterSleep();

  private:
    void observeSystemEvents();
    /// Ends what goes on until the machine has woken.
    void prepareToSleep(std::function<void()> ready);
    void wakeUp();
    Task<void> askForNotifications();
    void goToWork();
    Task<void> runLaunch();

    Parts parts_;
    std::unique_ptr<MainLoop::Timer> launchPatience_; ///< with the answer about notifications
    std::unique_ptr<Observation> systemObservation_;
    bool isQuitting_ = false;
    bool isAsleep_ = false;
    bool watchesWhenAwake_ = false;

    // Last, so that no job outlives what it uses. The launch does not wait for ever for the user.
    JobChain launchWork_;
    JobChain notificationWork_;
};

} // namespace brindle
