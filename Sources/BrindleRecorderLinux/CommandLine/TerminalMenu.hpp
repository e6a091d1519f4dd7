// The menu of the running program in a terminal, for desktops that show no icon and for scripts.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace brindle {

/// Asks the copy of the program that the session bus knows, and waits for its answers.
struct TerminalMenu {
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Prints the menu, line by line. False, with a line on `errors`, when no copy of the program
    /// shows one.
    [[nodiscard]] bool print() const;

    /// Picks the line with these words; a submenu's words stand before those of its line. False,
    /// with a line on `errors`, when there is no such line or nothing can be picked there.
    [[nodiscard]] bool pick(const std::vector<std::string>& words) const;
};

} // namespace brindle
