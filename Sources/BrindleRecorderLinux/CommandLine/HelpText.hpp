// What the program says of its own commands and options.
#pragma once

#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include <string>

namespace brindle {

/// Pure functions; any thread. Lines of at most 80 characters.
struct HelpText {
    static std::string ofTheProgram();
    /// Only of those that have a name.
    static std::string of(Options::Command command);
};

} // namespace brindle
