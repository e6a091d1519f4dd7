// What another program says of itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Runs the program, by its path or as a shell finds it, and waits for its end, for some seconds at
/// most. What it wrote on its standard output, up to some kilobytes; nothing when it cannot be
/// started, or did not end with success in time. While nobody else waits for children.
std::optional<std::string> outputOf(std::vector<std::string> words);

} // namespace brindle
