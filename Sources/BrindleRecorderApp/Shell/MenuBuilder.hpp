// What the menu says, and what its lines do.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <functional>
#include <map>
#include <string>

namespace brindle {

class AppModel;
struct DesktopWords;

/// The ids of lines that others than the menu's reader pick.
struct MenuLine {
    static constexpr const char* recordNow = "recording.start";
    static constexpr const char* stopRecording = "recording.stop";
    static constexpr const char* stopAndDiscard = "recording.discard";
    static constexpr const char* openFolder = "folder.open";
    static constexpr const char* quit = "quit";
    // Named after the call, so that a click meant for one prompt never answers another.
    static inline const std::string answerRecord = "ask.record.";
    static inline const std::string answerSkip = "ask.skip.";
};

/// A menu as it is at one moment.
struct CommandedMenu {
    using Command = std::function<void()>;

    Menu menu;
    /// What the buttons and toggles do, by their line's id. A toggle's command turns what it stands
    /// for away from the value that it has when the command runs.
    std::map<std::string, Command> commands;
};

/// `openCompanion` opens the companion application; empty where there is none, which then has no
/// line. The commands refer to the model, which must outlive them. Main thread only.
CommandedMenu
buildMenu(AppModel& model, const DesktopWords& words, CommandedMenu::Command openCompanion);

} // namespace brindle
