// Where the user's own files are.
#pragma once

#include <filesystem>

namespace brindle {

/// The user's home folder: the HOME variable when it holds an absolute path, else what the user
/// database says, else the root folder (where an ordinary user can write nothing, so that the
/// failure shows). Any thread, while nobody changes the environment.
std::filesystem::path homeDirectory();

} // namespace brindle
