// The words of the setup list and of the first launch's window.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"

#include <fmt/format.h>

#include <string>

namespace brindle {

/// Pure functions and constants; any thread.
struct SetupTexts {
    static constexpr const char* cameraAccess = "Camera access";
    static constexpr const char* microphoneAccess = "Microphone access";
    static constexpr const char* windowTitles =
        "Window titles (optional: spot browser calls faster)";

    static constexpr const char* windowTitle = "Brindle Recorder Setup";
    static constexpr const char* heading = "Brindle Recorder";
    static constexpr const char* done = "Done";

    static std::string introduction(const DesktopWords& words) {
        return fmt::format(
            "Brindle Recorder notices when a call app ({}) is using your microphone and records "
            "your camera and microphone while the call lasts. It records you only — never other "
            "participants, never your screen. You can also start and stop it from {}.",
            words.callPrograms, words.placeOfTheIcon);
    }
};

} // namespace brindle
