#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <fmt/format.h>

namespace brindle {

std::string FileError::description() const {
    return fmt::format("{}: {}", code.message(), path.string());
}

Expected<void, FileError> FileManager::removeFileForGood(const std::filesystem::path& path) {
    auto removed = removeFile(path);
    if (removed) {
        static_cast<void>(syncDirectory(path.parent_path()));
    }
    return removed;
}

} // namespace brindle
