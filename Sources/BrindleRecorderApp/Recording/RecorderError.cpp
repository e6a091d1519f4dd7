#include "BrindleRecorderApp/Recording/RecorderError.hpp"

#include "BrindleRecorderApp/Words/FailureTexts.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

#include <variant>

namespace brindle {

namespace {

struct Kind {
    CaptureFailureKind operator()(const RecorderError::SessionRuntimeFailure&) const {
        return CaptureFailureKind::deviceDead;
    }
    CaptureFailureKind operator()(const RecorderError::CameraTaken&) const {
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
    return userMessage(Language::ofTheUser());
}

std::string RecorderError::userMessage(const Language& language) const {
    return FailureTexts::of(*this, language);
}

CaptureFailureKind RecorderError::failureKind() const {
    return std::visit(Kind{}, value);
}

} // namespace brindle
