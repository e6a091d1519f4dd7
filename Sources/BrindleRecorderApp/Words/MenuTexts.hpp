// The words of the menu.
#pragma once

#include "BrindleRecorderCore/Base/Language.hpp"

#include <optional>
#include <string>

namespace brindle {

/// In the user's language. Pure functions; any thread.
struct MenuTexts {
    static std::string openCompanion() { return say("Open Brindle Content System"); }

    static std::string camera() { return say("Camera"); }
    static std::string noCameras() { return say("No cameras found"); }
    static std::string microphone() { return say("Microphone"); }
    static std::string noMicrophones() { return say("No microphones found"); }

    static std::string recordNow() { return say("Record now"); }
    static std::string stopRecording() { return say("Stop recording"); }
    static std::string stopAndDiscard() { return say("Stop and Discard"); }

    static std::string settings() { return say("Settings"); }
    // Translators: a heading; the names of programs follow, each with a check box.
    static std::string autoRecordHeading() { return say("Auto-record calls in:"); }
    // Translators: the last of the programs; stands for all that have no name of their own there.
    static std::string otherApps() { return say("Other apps using the microphone"); }
    static std::string askBeforeRecording() { return say("Ask before recording"); }

    static std::string openFolder() { return say("Open Recordings Folder"); }
    static std::string launchAtLogin() { return say("Launch at Login"); }
    static std::string setup() { return say("Permissions and Setup"); }
    static std::string quit() { return say("Quit Brindle Recorder"); }

    static std::string warning(const std::string& text) {
        return say("Warning: {text}", fmt::arg("text", text));
    }
    static std::string device(const std::string& name, bool isChosen) {
        return isChosen ? "✓ " + name : name;
    }
    static std::string systemDefault(const std::optional<std::string>& name, bool isChosen) {
        return device(
            name ? say("System default ({device})", fmt::arg("device", *name))
                 : say("System default (none)"),
            isChosen);
    }
    static std::string folderSize(const std::string& size) {
        return say("Recordings folder: {size}", fmt::arg("size", size));
    }
    static std::string setupItem(const std::string& title, bool isDone) {
        return (isDone ? "✓ " : "○ ") + title;
    }
    static std::string loginFailed(const std::string& error) {
        return say("Launch at login failed: {reason}", fmt::arg("reason", error));
    }
};

} // namespace brindle
