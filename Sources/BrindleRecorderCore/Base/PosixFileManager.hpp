// The file system of the machine.
#pragma once

#include "BrindleRecorderCore/Base/FileManager.hpp"

namespace brindle {

/// No state. Errors carry the system's error number in the generic category, so that they compare
/// with std::errc. Modes are 0700 and 0600 whatever the umask; what was there already keeps its
/// mode.
class PosixFileManager : public FileManager {
  public:
    [[nodiscard]] Expected<std::vector<DirectoryEntry>, FileError>
    contentsOfDirectory(const std::filesystem::path& directory) const override;
    [[nodiscard]] bool fileExists(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<std::int64_t, FileError>
    fileSize(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<Date, FileError>
    modificationDate(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<std::string, FileError>
    readFile(const std::filesystem::path& path, std::int64_t maxBytes) const override;
    Expected<void, FileError> createDirectory(const std::filesystem::path& directory) override;
    Expected<void, FileError>
    createSyncedFile(const std::filesystem::path& path, std::string_view contents) override;
    Expected<void, FileError>
    appendToFile(const std::filesystem::path& path, std::string_view contents) override;
    Expected<void, FileError>
    moveFile(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Expected<void, FileError> removeFile(const std::filesystem::path& path) override;
    Expected<void, FileError> syncDirectory(const std::filesystem::path& directory) override;
    [[nodiscard]] Expected<std::optional<std::int64_t>, FileError>
    availableCapacity(const std::filesystem::path& path) const override;
};

} // namespace brindle
