#include "BrindleRecorderCore/Calls/SessionController.hpp"

#include <utility>
#include <variant>

namespace brindle {

SessionController::SessionController(const DateProvider& dateProvider, int missedPollsBeforeStop)
    : dateProvider_{dateProvider}, missedPollsBeforeStop_{missedPollsBeforeStop} {}

void SessionController::handle(const DetectorState& detectorState) {
    if (const auto* lobby = std::get_if<DetectorState::Lobby>(&detectorState.value)) {
        handleRoomPresent(lobby->roomCode);
    } else if (const auto* inCall = std::get_if<DetectorState::InCall>(&detectorState.value)) {
        handleInCall(inCall->roomCode);
    } else {
        handleRoomAbsent();
    }
}

void SessionController::stopAndKeep() {
    stopManually(true);
}

void SessionController::stopAndDiscard() {
    stopManually(false);
}

void SessionController::recordingDidFail(bool retry) {
    if (!state_.isRecording()) {
        return;
    }
    const std::string roomCode = *state_.roomCode();
    recordingStartedAt_.reset();
    missedPolls_ = 0;
    if (!retry) {
        mutedRoomCode_ = roomCode;
    }
    setState(SessionState::armed(roomCode));
}

void SessionController::handleInCall(const std::string& roomCode) {
    if (mutedRoomCode_ == roomCode) {
        handleRoomPresent(roomCode);
        return;
    }
    missedPolls_ = 0;
    if (state_.isRecording()) {
        if (state_.roomCode() == roomCode) {
            return;
        }
        tellDelegateToStop(true);
    }
    beginRecording(roomCode);
}

/// The room is there but must not be recorded.
void SessionController::handleRoomPresent(const std::string& roomCode) {
    if (!state_.isRecording()) {
        missedPolls_ = 0;
        setState(SessionState::armed(roomCode));
    } else if (missedEnoughPolls()) {
        stopKeepingAndArm(roomCode);
    }
}

void SessionController::handleRoomAbsent() {
    if (state_.isIdle()) {
        missedPolls_ = 0;
        mutedRoomCode_.reset();
        return;
    }
    if (!missedEnoughPolls()) {
        return;
    }
    if (state_.isRecording()) {
        stopKeepingAndArm(*state_.roomCode());
    } else {
        mutedRoomCode_.reset();
        setState(SessionState::idle());
    }
}

void SessionController::beginRecording(const std::string& roomCode) {
    if (const auto receiver = delegate.lock()) {
        receiver->startRecording(roomCode);
    }
    recordingStartedAt_ = dateProvider_.now();
    setState(SessionState::recording(roomCode));
}

void SessionController::stopKeepingAndArm(const std::string& roomCode) {
    tellDelegateToStop(true);
    recordingStartedAt_.reset();
    setState(SessionState::armed(roomCode));
}

void SessionController::stopManually(bool keep) {
    if (!state_.isRecording()) {
        return;
    }
    const std::string roomCode = *state_.roomCode();
    tellDelegateToStop(keep);
    recordingStartedAt_.reset();
    missedPolls_ = 0;
    mutedRoomCode_ = roomCode;
    setState(SessionState::armed(roomCode));
}

bool SessionController::missedEnoughPolls() {
    ++missedPolls_; // starts again at the threshold, so it cannot overflow
    if (missedPolls_ < missedPollsBeforeStop_) {
        return false;
    }
    missedPolls_ = 0;
    return true;
}

void SessionController::tellDelegateToStop(bool keep) const {
    if (const auto receiver = delegate.lock()) {
        receiver->stopRecording(keep);
    }
}

void SessionController::setState(SessionState state) {
    if (state == state_) {
        return;
    }
    state_ = std::move(state);
    // Copies, so that the callback may replace itself or hand in the next poll.
    if (const auto announce = onStateChange) {
        const SessionState announced = state_;
        announce(announced);
    }
}

} // namespace brindle
