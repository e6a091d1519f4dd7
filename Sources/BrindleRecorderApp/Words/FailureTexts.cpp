#include "BrindleRecorderApp/Words/FailureTexts.hpp"

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

} // namespace

std::string FailureTexts::of(const RecorderError& error) {
    return std::visit(Wording{}, error.value);
}

std::string FailureTexts::unknownExportFailure(int status) {
    return fmt::format("Unknown export failure (status {}).", status);
}

std::string FailureTexts::notPutInPlace(const std::string& reason) {
    return fmt::format("The MP4 could not be put in place ({}).", reason);
}

std::string FailureTexts::notAMovie(const std::filesystem::path& file) {
    return fmt::format("{} is not a .mov file", file.string());
}

std::string FailureTexts::noSuchFile(const std::filesystem::path& file) {
    return fmt::format("there is no file {}", file.string());
}

std::string FailureTexts::alreadyThere(const std::filesystem::path& file) {
    return fmt::format(
        "{} is there already, and nothing was changed; move one of the two away first",
        file.string());
}

std::string FailureTexts::kept(const RecorderError& error, const std::string& movie) {
    return fmt::format("{} {} was kept.", of(error), movie);
}

} // namespace brindle
