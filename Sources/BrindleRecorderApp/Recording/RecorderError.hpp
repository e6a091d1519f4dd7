// Why a recording could not be made, ended early, or could not be converted.
#pragma once

#include "BrindleRecorderCore/Recordings/CaptureRecoveryPolicy.hpp"

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace brindle {

class Language;

/// A value.
struct RecorderError {
    /// The devices or the media library gave up while recording; the text is their word on it.
    struct SessionRuntimeFailure {
        std::string text;
        friend bool
        operator==(const SessionRuntimeFailure&, const SessionRuntimeFailure&) = default;
    };
    /// Another program has taken the running recording's camera; nothing where nobody knows which.
    struct CameraTaken {
        std::optional<std::string> program;
        friend bool operator==(const CameraTaken&, const CameraTaken&) = default;
    };
    /// The .mp4 could not be made; the .mov is still there.
    struct RemuxFailed {
        std::string text;
        friend bool operator==(const RemuxFailed&, const RemuxFailed&) = default;
    };
    /// The file was closed although nobody had asked for it.
    struct RecordingStoppedUnexpectedly {
        std::string text;
        friend bool operator==(
            const RecordingStoppedUnexpectedly&, const RecordingStoppedUnexpectedly&) = default;
    };
    /// Neither the recorded time nor the file has grown for that long.
    struct Stalled {
        int seconds = 0;
        friend bool operator==(const Stalled&, const Stalled&) = default;
    };
    struct AlreadyRecording {
        friend bool operator==(const AlreadyRecording&, const AlreadyRecording&) = default;
    };
    struct NotRecording {
        friend bool operator==(const NotRecording&, const NotRecording&) = default;
    };
    /// Neither a camera nor a microphone was given.
    struct NoInputsAvailable {
        friend bool operator==(const NoInputsAvailable&, const NoInputsAvailable&) = default;
    };
    struct CannotAddVideoInput {
        friend bool operator==(const CannotAddVideoInput&, const CannotAddVideoInput&) = default;
    };
    struct CannotAddAudioInput {
        friend bool operator==(const CannotAddAudioInput&, const CannotAddAudioInput&) = default;
    };
    struct CannotAddOutput {
        friend bool operator==(const CannotAddOutput&, const CannotAddOutput&) = default;
    };
    /// The camera was opened, but no picture ever came.
    struct NoFramesReceived {
        friend bool operator==(const NoFramesReceived&, const NoFramesReceived&) = default;
    };

    std::variant<
        SessionRuntimeFailure, CameraTaken, RemuxFailed, RecordingStoppedUnexpectedly, Stalled,
        AlreadyRecording, NotRecording, NoInputsAvailable, CannotAddVideoInput, CannotAddAudioInput,
        CannotAddOutput, NoFramesReceived>
        value;

    static RecorderError sessionRuntimeFailure(std::string text) {
        return {SessionRuntimeFailure{std::move(text)}};
    }
    static RecorderError cameraTaken(std::optional<std::string> program) {
        return {CameraTaken{std::move(program)}};
    }
    static RecorderError remuxFailed(std::string text) { return {RemuxFailed{std::move(text)}}; }
    static RecorderError recordingStoppedUnexpectedly(std::string text) {
        return {RecordingStoppedUnexpectedly{std::move(text)}};
    }
    static RecorderError stalled(int seconds) { return {Stalled{seconds}}; }
    static RecorderError alreadyRecording() { return {AlreadyRecording{}}; }
    static RecorderError notRecording() { return {NotRecording{}}; }
    static RecorderError noInputsAvailable() { return {NoInputsAvailable{}}; }
    static RecorderError cannotAddVideoInput() { return {CannotAddVideoInput{}}; }
    static RecorderError cannotAddAudioInput() { return {CannotAddAudioInput{}}; }
    static RecorderError cannotAddOutput() { return {CannotAddOutput{}}; }
    static RecorderError noFramesReceived() { return {NoFramesReceived{}}; }

    /// The sentence that the user is shown, in the user's language; the log and sidecars have it in
    /// English.
    [[nodiscard]] std::string userMessage() const;
    [[nodiscard]] std::string userMessage(const Language& language) const;
    /// What may be done about it.
    [[nodiscard]] CaptureFailureKind failureKind() const;

    friend bool operator==(const RecorderError&, const RecorderError&) = default;
};

} // namespace brindle
