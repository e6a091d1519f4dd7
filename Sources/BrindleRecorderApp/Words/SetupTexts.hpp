// The words of the setup list and of the first launch's window.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

#include <string>

namespace brindle {

/// In the user's language. Pure functions; any thread.
struct SetupTexts {
    static std::string cameraAccess() { return say("Camera access"); }
    static std::string microphoneAccess() { return say("Microphone access"); }
    static std::string windowTitles() {
        return say("Window titles (optional: spot browser calls faster)");
    }

    static std::string windowTitle() { return say("Brindle Recorder Setup"); }
    static constexpr const char* heading = "Brindle Recorder";
    // Translators: the button that closes the window of the first launch.
    static std::string done() { return say("Done"); }

    static std::string introduction(const DesktopWords& words) {
        return say(
            // Translators: {programs} is "Zoom, Teams, Meet, Slack, Discord and more", {place} is
            // "its icon in the panel"; both have lines of their own.
            "Brindle Recorder notices when a call app ({programs}) is using your microphone and "
            "records your camera and microphone while the call lasts. It records you only — never "
            "other participants, never your screen. You can also start and stop it from {place}.",
            fmt::arg("programs", words.callPrograms), fmt::arg("place", words.placeOfTheIcon));
    }

    /// What a screen reader says of a line of the setup list.
    static std::string spokenRow(const std::string& title, bool isDone) {
        const auto named = fmt::arg("title", title);
        return isDone ? say("{title}: done", named) : say("{title}: to do", named);
    }
};

} // namespace brindle
