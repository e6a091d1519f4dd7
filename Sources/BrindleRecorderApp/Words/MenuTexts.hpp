// The words of the menu.
#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

namespace brindle {

/// Pure functions and constants; any thread.
struct MenuTexts {
    static constexpr const char* openCompanion = "Open Brindle Content System";

    static constexpr const char* camera = "Camera";
    static constexpr const char* noCameras = "No cameras found";
    static constexpr const char* microphone = "Microphone";
    static constexpr const char* noMicrophones = "No microphones found";

    static constexpr const char* recordNow = "Record now";
    static constexpr const char* stopRecording = "Stop recording";
    static constexpr const char* stopAndDiscard = "Stop and Discard";

    static constexpr const char* settings = "Settings";
    static constexpr const char* autoRecordHeading = "Auto-record calls in:";
    static constexpr const char* askBeforeRecording = "Ask before recording";

    static constexpr const char* openFolder = "Open Recordings Folder";
    static constexpr const char* launchAtLogin = "Launch at Login";
    static constexpr const char* setup = "Permissions and Setup";
    static constexpr const char* quit = "Quit Brindle Recorder";

    static std::string warning(const std::string& text) { return "Warning: " + text; }
    static std::string device(const std::string& name, bool isChosen) {
        return isChosen ? "✓ " + name : name;
    }
    static std::string systemDefault(const std::optional<std::string>& name, bool isChosen) {
        return device(fmt::format("System default ({})", name.value_or("none")), isChosen);
    }
    static std::string setupItem(const std::string& title, bool isDone) {
        return (isDone ? "✓ " : "○ ") + title;
    }
    static std::string folderSize(const std::string& size) { return "Recordings folder: " + size; }
    static std::string loginFailed(const std::string& error) {
        return "Launch at login failed: " + error;
    }
};

} // namespace brindle
