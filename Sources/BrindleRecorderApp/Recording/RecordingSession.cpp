#include "BrindleRecorderApp/Recording/RecordingSession.hpp"

#include "BrindleRecorderCore/Calls/DetectorState.hpp"
#include "BrindleRecorderCore/Calls/SessionDelegate.hpp"

namespace brindle {

/// What the controller holds of the session: it ends with the session.
class RecordingSession::Bridge final : public SessionDelegate {
  public:
    explicit Bridge(RecordingSession& session) : session_{session} {}
    void startRecording(const std::string& roomCode) override { session_.request(roomCode); }
    void stopRecording(bool keep) override { session_.onStop(keep); }

  private:
    RecordingSession& session_;
};

RecordingSession::RecordingSession(const DateProvider& dateProvider)
    : bridge_{std::make_shared<Bridge>(*this)}, controller_{dateProvider, 1} {
    controller_.delegate = bridge_;
    controller_.onStateChange = [this](const SessionState& state) {
        stateDidChange(state);
    };
}

RecordingSession::~RecordingSession() = default;

void RecordingSession::follow(const std::optional<std::string>& callLabel) {
    controller_.handle(callLabel ? DetectorState::inCall(*callLabel) : DetectorState::noRoomTab());
}

void RecordingSession::request(const std::string& roomCode) {
    lastRequest_ = RecordingRequest{.roomCode = roomCode, .number = ++requestCount_};
    onStart(*lastRequest_);
}

void RecordingSession::pause() {
    if (state_.get().isRecording()) {
        lastRequest_.reset();
        onStop(true);
    }
}

bool RecordingSession::isPaused() const {
    return state_.get().isRecording() && !lastRequest_;
}

void RecordingSession::resume() {
    const auto room = state_.get().roomCode();
    if (room && isPaused()) {
        request(*room);
    }
}

bool RecordingSession::isWanted(const RecordingRequest& request) const {
    return state_.get() == SessionState::recording(request.roomCode) && !isOutdated(request);
}

bool RecordingSession::isOutdated(const RecordingRequest& request) const {
    return !lastRequest_ || request.number != lastRequest_->number;
}

void RecordingSession::didFail(const RecordingRequest& request) {
    // By the time of a job the session may be recording another call, whose own start still waits,
    // or the same one after a sleep.
    if (isWanted(request)) {
        controller_.recordingDidFail(false);
    }
}

void RecordingSession::giveUp(const std::string& roomCode) {
    if (state_.get() == SessionState::recording(roomCode)) {
        controller_.recordingDidFail(false);
    }
}

void RecordingSession::warn(const std::string& roomCode, const std::string& warning) {
    const auto room = state_.get().roomCode();
    if (room && *room != roomCode) {
        return; // it would stand beside another call
    }
    if (room) {
        captureWarning_.set(warning);
    }
    lastRecordingError_.set(warning);
}

void RecordingSession::stateDidChange(const SessionState& newState) {
    // One call may follow another without a moment of rest between them.
    const bool isAboutAnother = newState.roomCode() != state_.get().roomCode();
    state_.set(newState);
    if (newState.isRecording()) {
        lastRecordingError_.set(std::nullopt);
    }
    if (isAboutAnother) {
        captureWarning_.set(std::nullopt);
    }
    if (onStateChange) {
        onStateChange(isAboutAnother);
    }
}

} // namespace brindle
