// One line on a terminal or into a pipe.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace brindle {

/// Writes the text as one line and hands it over at once. Control characters, which device and
/// program names may hold, become blanks: they must not steer the terminal. A reader that has gone
/// away is no error.
void printLine(std::FILE* stream, std::string_view text);

} // namespace brindle
