// Watches for calls: looks who holds the microphone, lets the detector judge, and asks the user
// where that is wanted.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class Notifier;
class Settings;

/// Main thread only. Knows nothing of recordings: it says which call is to be recorded, and is told
/// when one is not to be recorded any more.
class CallWatch {
  public:
    /// All must outlive the watch, which takes the answers to the notifier's questions.
    CallWatch(
        MainLoop& mainLoop, const DateProvider& dateProvider, AudioObjects& audioObjects,
        const ProcessRegistry& processRegistry, const WindowList& windowList,
        const Settings& settings, Notifier& notifier, EventLog log);
    ~CallWatch();
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;

    /// Called after everything that may have changed which call is to be recorded: each detection
    /// pass, each answer, each command.
    std::function<void()> onChange;
    /// Called every two seconds while watching, between the look at the microphone and its pass.
    std::function<void()> onPoll;
    /// Whether this program itself is recording.
    std::function<bool()> isOwnCaptureRunning = [] {
        return false;
    };

    /// Begins to look by itself; does nothing when it has begun.
    void start();
    void stop();

    /// One detection pass; with `readMic` on a fresh snapshot, else on the last one.
    void evaluate(bool readMic);

    /// The user wants to record now. Nothing while a recording is wanted.
    void recordNow();
    /// The user wants no recording any more; the call is not picked up again.
    void stopRecording();
    /// The same without a word to anybody: its recording has been ended otherwise.
    void letGo();

    /// Names the call whose record prompt is showing.
    [[nodiscard]] const Published<std::optional<std::string>>& pendingAskLabel() const {
        return pendingAskLabel_;
    }
    /// Answers the record prompt that is showing, where one is, and takes it off the screen.
    void answerPendingAsk(bool record);
    /// Takes the record prompt off the screen, where one is.
    void withdrawPendingAsk();

    /// The label of the call to be recorded; absent while none is.
    [[nodiscard]] std::optional<std::string> activeLabel() const { return detector_.activeLabel(); }
    /// Whether it is recorded by the user's command, whoever is in a call.
    [[nodiscard]] bool isByHand() const;
    /// Whether neither a call goes on nor a recording is wanted.
    [[nodiscard]] bool isQuiet() const;
    /// Whether a call that is to be recorded may begin with the next look or answer.
    [[nodiscard]] bool mayBegin() const;
    /// Whether anybody who may be in a call held the microphone at the last look.
    [[nodiscard]] bool somebodyMayBeInACall() const;
    /// What the call of that label is attributed to; absent for a label that was never given.
    [[nodiscard]] std::optional<CallSource> sourceOf(const std::string& label) const;

  private:
    void poll();
    void tick();
    void readMicrophone();
    void handle(const std::vector<CallDetectorEvent>& events);
    void handle(const CallDetectorEvent& event);
    void takeAnswer(const std::string& label, bool record);
    void withdrawStaleAsk();
    void changed() const;

    MainLoop& mainLoop_;
    const DateProvider& dateProvider_;
    const Settings& settings_;
    Notifier& notifier_;
    EventLog log_;
    MicActivityMonitor mic_;
    CallDetector detector_;
    Published<std::optional<std::string>> pendingAskLabel_;
    std::map<std::string, CallSource> sources_; ///< by call label
    std::vector<MicUser> lastSnapshot_;
    std::unique_ptr<MainLoop::Timer> pollTimer_;
    std::unique_ptr<MainLoop::Timer> tickTimer_;
};

} // namespace brindle
