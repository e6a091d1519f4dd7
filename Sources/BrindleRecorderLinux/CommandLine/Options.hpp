// What the program was asked to do on its command line.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

struct Options {
    enum class Command {
        showHelp,
        showVersion,
        runDesktop,
        runHeadless,
        // Those that have a name; see CommandTable.
        showStatus,
        record,
        stop,
        discard,
        answer,
        showMenu,
        pick,
        openFolder,
        quit,
        showWho,
        showDevices,
        convertMovie,
        diagnose,
        showCompletion
    };

    Command command = Command::showHelp;
    /// With `showHelp`: of which command; without one, of the program.
    std::optional<Command> helpOf = {};
    /// With `showWho`: answer once instead of following the changes.
    bool once = false;
    bool json = false;  ///< with `showStatus`
    bool watch = false; ///< with `showStatus`: follow the changes
    /// What stands behind the command: a movie, an answer, a shell, or the words of the menu's
    /// line, a submenu's first.
    std::vector<std::string> words = {};

    /// Reads the arguments after the program's name. Fails with one line for a person that says
    /// which argument is wrong. `--help` and `--version` win over everything after them.
    static Expected<Options, std::string> parse(const std::vector<std::string_view>& arguments);

    friend bool operator==(const Options&, const Options&) = default;
};

} // namespace brindle
