#include "BrindleRecorderApp/Recording/RecorderError.hpp"

#include "BrindleRecorderApp/Words/FailureTexts.hpp"

#include <variant>

namespace brindle {

namespace {

struct Kind {
    CaptureFailureKind operator()(const RecorderError::SessionRuntimeFailure&) const {
        return CaptureFailureKind::deviceDead;
    }
    CaptureFailureKind operator()(const RecorderError::NoFramesReceived&) const {
        return CaptureFailureKind::deviceDead;
    }
    CaptureFailureKind operator()(const RecorderError::Stalled&) const {
        return CaptureFailureKind::writingStopped;
    }
    CaptureFailureKind operator()(const RecorderError::RecordingStoppedUnexpectedly&) const {
        return CaptureFailureKind::writingStopped;
    }
    template <class Other>
    CaptureFailureKind operator()(const Other&) const {
        return CaptureFailureKind::fatal;
    }
};

} // namespace

std::string RecorderError::userMessage() const {
    return FailureTexts::of(*this);
}

CaptureFailureKind RecorderError::failureKind() const {
    return std::visit(Kind{}, value);
}

} // namespace brindle
