// Replacing a file in one step: whoever reads it, and whatever fails, finds the old contents or the
// new ones, whole.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <filesystem>
#include <string_view>

namespace brindle {

struct AtomicFile {
    /// Gives `path` these contents, which survive a loss of power once this has returned a success.
    /// The folder must exist. A symbolic link at `path` is itself replaced.
    ///
    /// After a failure the file holds what it held before, with one exception: when only the last
    /// step fails, the folder's sync, the new contents are in place but may not survive a loss of
    /// power. Writes through a hidden file beside `path`, which is gone afterwards unless power was
    /// lost meanwhile or the disk refuses to remove it. Any thread.
    static Expected<void, FileError>
    write(FileManager& fileManager, const std::filesystem::path& path, std::string_view contents);
};

} // namespace brindle
