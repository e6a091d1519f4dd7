// The words of the status line and of the icon.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"
#include "BrindleRecorderCore/Calls/SessionState.hpp"

#include <optional>
#include <string>

namespace brindle {

/// In the user's language. Pure functions; any thread.
struct StatusText {
    struct Facts {
        std::optional<Seconds> elapsed; ///< since the recording began
        std::string camera;             ///< for people, also where there is none
        std::string microphone;         ///< likewise
        std::optional<std::string> callName;
        bool waitingForAnswer = false; ///< a record prompt is showing
    };

    static std::string noCamera() { return say("No camera"); }
    static std::string noMicrophone() { return say("No microphone"); }
    /// What a recording's sidecar says of its devices, for people.
    static std::string cameraInSidecar(const std::string& name);
    static std::string microphoneInSidecar(const std::string& name);

    // What the icon says to whom cannot see it.
    static std::string iconIdle() { return say("Brindle Recorder: idle"); }
    static std::string iconRecording() { return say("Brindle Recorder: recording"); }
    static std::string iconError(const std::string& message) {
        return say("Brindle Recorder: error, {message}", fmt::arg("message", message));
    }

    /// One line that says what the program is doing.
    static std::string statusLine(const SessionState& state, const Facts& facts);

    /// Minutes and seconds ("62:05"); minutes go on past the hour.
    static std::string elapsedText(Seconds elapsed);

    /// What people call the source: its program, the program with the meeting site of a browser
    /// call, or "Manual recording".
    static std::string displayName(const CallSource& source);
};

} // namespace brindle
