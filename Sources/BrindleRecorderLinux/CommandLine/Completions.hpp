// What shells need to complete the program's commands, made from CommandTable.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// Pure functions; any thread.
struct Completions {
    /// For "bash", "fish" or "zsh"; empty for any other.
    static std::string forShell(std::string_view shell);
};

} // namespace brindle
