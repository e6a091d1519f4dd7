// Where the user's own folders are: the XDG base directories (freedesktop.org, version 0.8).
#pragma once

#include <filesystem>
#include <vector>

namespace brindle {

/// Reads the environment and the user database: main thread only, before other threads start.
struct UserFolders {
    /// $HOME, or the user database's answer where that is missing or not absolute.
    static std::filesystem::path home();
    /// $XDG_CONFIG_HOME, or ~/.config where that is missing or not absolute.
    static std::filesystem::path configuration();
    /// $XDG_STATE_HOME, or ~/.local/state where that is missing or not absolute.
    static std::filesystem::path state();
    /// $XDG_DATA_HOME and the folders of $XDG_DATA_DIRS, or what stands for them where they are
    /// missing; the foremost first.
    static std::vector<std::filesystem::path> data();
};

} // namespace brindle
