// Which processes have a file open.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace brindle {

struct FileUser {
    std::int32_t pid = 0;
    bool isMapped = false; ///< it has mapped the file into its memory, too
    friend bool operator==(const FileUser&, const FileUser&) = default;
};

struct FileUsers {
    /// Those that may be looked into, which other users' may not, by their numbers. `file` is
    /// absolute and no link. Blocks for some milliseconds; any thread.
    static std::vector<FileUser>
    of(const std::filesystem::path& file, const std::filesystem::path& procFolder = "/proc");
};

} // namespace brindle
