// What the program was asked to do on its command line.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"

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
        showWho,
        showDevices,
        convertMovie,
        showMenu,
        pick
    };

    Command command = Command::showHelp;
    /// With `showWho`: answer once instead of following the changes.
    bool once = false;
    /// With `convertMovie`: which.
    std::string movie = {};
    /// With `pick`: the words of the menu's line, a submenu's first.
    std::vector<std::string> words = {};

    /// Reads the arguments after the program's name. Fails with one line for a person that says
    /// which argument is wrong. `--help` and `--version` win over everything after them.
    static Expected<Options, std::string> parse(const std::vector<std::string_view>& arguments);

    /// The text of `--help`.
    static std::string_view helpText();

    friend bool operator==(const Options&, const Options&) = default;
};

} // namespace brindle
