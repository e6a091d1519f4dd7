// What is to be recorded at the moment, and what the user is to know of it.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Calls/SessionController.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

/// One wish that a room be recorded. Its number tells it from an earlier wish for the same room.
struct RecordingRequest {
    std::string roomCode;
    std::uint64_t number = 0;
};

/// The session controller, with a name for each of its wishes and with the machine's sleep, of
/// which the controller knows nothing: for it a call goes on that is recorded again after waking.
/// Main thread only.
class RecordingSession {
  public:
    /// The clock must outlive the session.
    explicit RecordingSession(const DateProvider& dateProvider);
    ~RecordingSession();
    RecordingSession(const RecordingSession&) = delete;
    RecordingSession& operator=(const RecordingSession&) = delete;

    /// A recording is wanted from now on.
    std::function<void(const RecordingRequest&)> onStart;
    /// None is wanted any more, nor, unless `keep`, what was recorded.
    std::function<void(bool keep)> onStop;
    /// After each change of the state; `isAboutAnother` call than before, or none.
    std::function<void(bool isAboutAnother)> onStateChange;

    [[nodiscard]] const Published<SessionState>& state() const { return state_; }
    /// About the current or the last recording; forgotten when the call is over.
    [[nodiscard]] const Published<std::optional<std::string>>& captureWarning() const {
        return captureWarning_;
    }
    /// The last recording's problem; forgotten when the next recording starts.
    [[nodiscard]] const Published<std::optional<std::string>>& lastRecordingError() const {
        return lastRecordingError_;
    }
    [[nodiscard]] const std::optional<Date>& recordingStartedAt() const {
        return controller_.recordingStartedAt();
    }

    /// The call that is to be recorded now, or none.
    void follow(const std::optional<std::string>& callLabel);
    /// The user's commands; the call is not recorded again.
    void stopAndKeep() { controller_.stopAndKeep(); }
    void stopAndDiscard() { controller_.stopAndDiscard(); }

    /// Stops and keeps what is being recorded, to be resumed. Nothing while nothing is.
    void pause();
    [[nodiscard]] bool isPaused() const;
    void resume();

    /// Absent before the first one, and while the session is paused.
    [[nodiscard]] const std::optional<RecordingRequest>& lastRequest() const {
        return lastRequest_;
    }
    /// Whether what was wanted with this request still is.
    [[nodiscard]] bool isWanted(const RecordingRequest& request) const;
    /// Whether it was taken back by a sleep, or made anew since.
    [[nodiscard]] bool isOutdated(const RecordingRequest& request) const;

    /// Has the call not recorded again. Does nothing once something else is wanted.
    void didFail(const RecordingRequest& request);
    /// The same whenever the session is about this call, also when it is to be resumed.
    void giveUp(const std::string& roomCode);
    /// Says what went wrong in that room's recording, for as long as nothing else is going on.
    void warn(const std::string& roomCode, const std::string& warning);

  private:
    class Bridge;

    void request(const std::string& roomCode);
    void stateDidChange(const SessionState& newState);

    std::shared_ptr<Bridge> bridge_;
    SessionController controller_;
    Published<SessionState> state_;
    Published<std::optional<std::string>> captureWarning_;
    Published<std::optional<std::string>> lastRecordingError_;
    std::optional<RecordingRequest> lastRequest_;
    std::uint64_t requestCount_ = 0;
};

} // namespace brindle
