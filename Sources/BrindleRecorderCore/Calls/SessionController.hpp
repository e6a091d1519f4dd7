// Decides when a recording starts and stops, from what is believed about the call, the user's
// commands and the recorder's failures.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Calls/DetectorState.hpp"
#include "BrindleRecorderCore/Calls/SessionDelegate.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

/// A state machine without timers, files or threads; it moves only when it is called. Main thread
/// only. Nothing here fails.
///
/// A call that ends takes two steps: the absent polls that stop the recording leave the session
/// armed on the same room, and as many again make it idle.
class SessionController {
  public:
    /// `dateProvider` must outlive the controller. `missedPollsBeforeStop` is how many polls in a
    /// row must speak against the current state before it is given up; 1 or less means the first.
    SessionController(const DateProvider& dateProvider, int missedPollsBeforeStop);

    /// Told to start and stop recording. Not kept alive; while it is gone, its calls are left out
    /// and the session goes on as if they had been made.
    std::weak_ptr<SessionDelegate> delegate;

    /// Called with the new state after every change of `state`, before the operation returns.
    std::function<void(const SessionState&)> onStateChange;

    /// One poll: what is believed about the call now.
    void handle(const DetectorState& detectorState);

    /// The user stops the recording. Its room is muted: while the call goes on it is not recorded
    /// again. Without a recording, nothing happens.
    void stopAndKeep();
    /// The same, with the file thrown away.
    void stopAndDiscard();

    /// The recording is over because the recorder failed; the delegate is not called. With `retry`
    /// the next poll that finds the room records it again, without it the room is muted. Without
    /// a recording, nothing happens.
    void recordingDidFail(bool retry);

    [[nodiscard]] const SessionState& state() const { return state_; }
    /// The room that must not be recorded; forgotten when its call has ended. Other rooms are
    /// recorded all the same.
    [[nodiscard]] const std::optional<std::string>& mutedRoomCode() const { return mutedRoomCode_; }
    /// When the current recording began; absent while nothing is recorded.
    [[nodiscard]] const std::optional<Date>& recordingStartedAt() const {
        return recordingStartedAt_;
    }

  private:
    void handleInCall(const std::string& roomCode);
    void handleRoomPresent(const std::string& roomCode);
    void handleRoomAbsent();
    void beginRecording(const std::string& roomCode);
    void stopKeepingAndArm(const std::string& roomCode);
    void stopManually(bool keep);
    void tellDelegateToStop(bool keep) const;
    /// Counts a poll that speaks against the current state. True, with the count back at zero, when
    /// it was the last one needed.
    bool missedEnoughPolls();
    void setState(SessionState state);

    const DateProvider& dateProvider_;
    int missedPollsBeforeStop_;
    int missedPolls_ = 0;
    SessionState state_;
    std::optional<std::string> mutedRoomCode_;
    std::optional<Date> recordingStartedAt_;
};

} // namespace brindle
