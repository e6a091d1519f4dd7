#include "BrindleRecorderCore/Recordings/CaptureRecoveryPolicy.hpp"

namespace brindle {

namespace {

// A camera that is alive is forgiven its first failure only.
constexpr int blockCameraAfter = 2;

} // namespace

RecoveryDecision
CaptureRecoveryPolicy::decide(CaptureFailureKind kind, int failuresSoFar, bool stillInCall) {
    if (!stillInCall || kind == CaptureFailureKind::fatal || failuresSoFar > maxRestartsPerCall) {
        return {};
    }
    return {
        .restart = true,
        .blockCurrentCamera =
            kind == CaptureFailureKind::deviceDead || failuresSoFar >= blockCameraAfter,
        .audioOnly = failuresSoFar >= audioOnlyAfter};
}

} // namespace brindle
