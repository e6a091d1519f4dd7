// What follows from a failed capture: try again, try without the camera, or give up.
#pragma once

namespace brindle {

/// How a capture failed.
enum class CaptureFailureKind {
    deviceDead,     ///< the device is gone or delivers nothing
    writingStopped, ///< the file is no longer written while the call goes on
    fatal           ///< no restart can cure it
};

/// What to do about it. All false: stop for good.
struct RecoveryDecision {
    bool restart = false;            ///< go on recording the same call, into a new file
    bool blockCurrentCamera = false; ///< the next start keeps away from the camera now in use
    bool audioOnly = false;          ///< the next start opens no camera at all

    friend bool operator==(const RecoveryDecision&, const RecoveryDecision&) = default;
};

/// Pure; callable from any thread. Each failure of a call makes the next try more modest.
struct CaptureRecoveryPolicy {
    static constexpr int maxRestartsPerCall = 20;
    /// From this failure of a call on, only sound is recorded.
    static constexpr int audioOnlyAfter = 4;

    /// `failuresSoFar` counts the failures of this call, the one to decide on included.
    static RecoveryDecision decide(CaptureFailureKind kind, int failuresSoFar, bool stillInCall);
};

} // namespace brindle
