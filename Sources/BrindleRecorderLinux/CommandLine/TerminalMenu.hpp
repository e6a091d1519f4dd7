// The menu of the running program in a terminal, for desktops that show no icon and for scripts.
#pragma once

#include "BrindleRecorderLinux/CommandLine/ExitStatus.hpp"

#include <cstdio>
#include <string>
#include <vector>

namespace brindle {

/// Asks the copy of the program that the session bus knows, and waits for its answers.
struct TerminalMenu {
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Prints the menu, line by line. What goes wrong is told on `errors`, here and below.
    [[nodiscard]] ExitStatus print() const;

    /// Picks the line with these words; a submenu's words stand before those of its line.
    [[nodiscard]] ExitStatus pick(const std::vector<std::string>& words) const;
};

} // namespace brindle
