#include "BrindleRecorderApp/Recording/RecorderError.hpp"

#include <fmt/format.h>

#include <variant>

namespace brindle {

namespace {

struct Wording {
    std::string operator()(const RecorderError::SessionRuntimeFailure& error) const {
        return "Capture stopped: " + error.text;
    }
    std::string operator()(const RecorderError::RemuxFailed& error) const {
        return "Converting to MP4 failed: " + error.text;
    }
    std::string operator()(const RecorderError::RecordingStoppedUnexpectedly& error) const {
        return fmt::format("Recording stopped on its own ({}).", error.text);
    }
    std::string operator()(const RecorderError::Stalled& error) const {
        return fmt::format("Nothing was written for {} s.", error.seconds);
    }
    std::string operator()(const RecorderError::AlreadyRecording&) const {
        return "Already recording.";
    }
    std::string operator()(const RecorderError::NotRecording&) const { return "Not recording."; }
    std::string operator()(const RecorderError::NoInputsAvailable&) const {
        return "No camera or microphone could be opened.";
    }
    std::string operator()(const RecorderError::CannotAddVideoInput&) const {
        return "The camera could not be opened.";
    }
    std::string operator()(const RecorderError::CannotAddAudioInput&) const {
        return "The microphone could not be opened.";
    }
    std::string operator()(const RecorderError::CannotAddOutput&) const {
        return "The capture session could not write a file.";
    }
    std::string operator()(const RecorderError::NoFramesReceived&) const {
        return "The camera delivered no frames.";
    }
};

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
    return std::visit(Wording{}, value);
}

CaptureFailureKind RecorderError::failureKind() const {
    return std::visit(Kind{}, value);
}

} // namespace brindle
