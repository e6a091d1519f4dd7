#include "BrindleRecorderApp/Words/FailureTexts.hpp"

#include <fmt/format.h>

#include <variant>

namespace brindle {

namespace {

struct Wording {
    const Language& in;

    std::string operator()(const RecorderError::SessionRuntimeFailure& error) const {
        return in.say("Capture stopped: {reason}", fmt::arg("reason", error.text));
    }
    std::string operator()(const RecorderError::CameraTaken& error) const {
        return error.program ? in.say(
                                   "Capture stopped: {program} is using the camera.",
                                   fmt::arg("program", *error.program))
                             : in.say("Capture stopped: Another program is using the camera.");
    }
    std::string operator()(const RecorderError::RemuxFailed& error) const {
        return in.say("Converting to MP4 failed: {reason}", fmt::arg("reason", error.text));
    }
    std::string operator()(const RecorderError::RecordingStoppedUnexpectedly& error) const {
        return in.say("Recording stopped on its own ({reason}).", fmt::arg("reason", error.text));
    }
    std::string operator()(const RecorderError::Stalled& error) const {
        return in.say("Nothing was written for {seconds} s.", fmt::arg("seconds", error.seconds));
    }
    std::string operator()(const RecorderError::AlreadyRecording&) const {
        return in.say("Already recording.");
    }
    std::string operator()(const RecorderError::NotRecording&) const {
        return in.say("Not recording.");
    }
    std::string operator()(const RecorderError::NoInputsAvailable&) const {
        return in.say("No camera or microphone could be opened.");
    }
    std::string operator()(const RecorderError::CannotAddVideoInput&) const {
        return in.say("The camera could not be opened.");
    }
    std::string operator()(const RecorderError::CannotAddAudioInput&) const {
        return in.say("The microphone could not be opened.");
    }
    std::string operator()(const RecorderError::CannotAddOutput&) const {
        return in.say("The capture session could not write a file.");
    }
    std::string operator()(const RecorderError::NoFramesReceived&) const {
        return in.say("The camera delivered no frames.");
    }
};

} // namespace

std::string FailureTexts::of(const RecorderError& error, const Language& language) {
    return std::visit(Wording{language}, error.value);
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
    return fmt::format("{} {} was kept.", of(error, Language::english()), movie);
}

} // namespace brindle
