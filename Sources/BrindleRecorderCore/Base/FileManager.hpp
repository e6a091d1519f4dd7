// The file system as the rules use it. Everything that touches files is given one, so that tests
// can fail any call, and can take away what was not synced.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace brindle {

/// Why a file operation failed.
struct FileError {
    std::error_code code;
    std::filesystem::path path;

    /// "<what the system says>: <path>"
    [[nodiscard]] std::string description() const;
    friend bool operator==(const FileError&, const FileError&) = default;
};

/// One entry of a folder.
struct DirectoryEntry {
    std::filesystem::path path;
    std::optional<std::int64_t> fileSize; ///< bytes; absent for whatever is not a regular file

    friend bool operator==(const DirectoryEntry&, const DirectoryEntry&) = default;
};

/// Interface. Paths are absolute. Operations block on the caller's thread and may be called from
/// any thread. Files are created for the user alone (0600), folders likewise (0700).
class FileManager {
  public:
    virtual ~FileManager() = default;

    /// The direct contents of a folder in no particular order, without hidden entries (names that
    /// begin with a dot).
    [[nodiscard]] virtual Expected<std::vector<DirectoryEntry>, FileError>
    contentsOfDirectory(const std::filesystem::path& directory) const = 0;

    /// Whether anything is there; false where we may not look, and for a link to nothing. True when
    /// the disk fails to say, since whoever asks would otherwise write over it or take it for lost.
    [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path) const = 0;

    /// Size in bytes of a regular file.
    [[nodiscard]] virtual Expected<std::int64_t, FileError>
    fileSize(const std::filesystem::path& path) const = 0;

    /// When the file's contents last changed.
    [[nodiscard]] virtual Expected<Date, FileError>
    modificationDate(const std::filesystem::path& path) const = 0;

    /// The whole of a regular file. Fails with std::errc::file_too_large, without reading, when it
    /// holds more than `maxBytes`.
    [[nodiscard]] virtual Expected<std::string, FileError>
    readFile(const std::filesystem::path& path, std::int64_t maxBytes) const = 0;

    /// Creates the folder and every missing one above it, each so that it survives a loss of power.
    /// A folder that is there already is no error.
    virtual Expected<void, FileError> createDirectory(const std::filesystem::path& directory) = 0;

    /// Creates a file that must not exist yet, writes all of `contents` and syncs them to the disk.
    /// After a failure a part of the file may be there.
    virtual Expected<void, FileError>
    createSyncedFile(const std::filesystem::path& path, std::string_view contents) = 0;

    /// Adds all of `contents` to the end of a regular file, or none of it. Creates the file when it
    /// is missing. Not synced.
    virtual Expected<void, FileError>
    appendToFile(const std::filesystem::path& path, std::string_view contents) = 0;

    /// Gives the file another name on the same volume, replacing whatever file has that name in one
    /// step. A folder keeps what it holds and takes only a name that is free.
    virtual Expected<void, FileError>
    moveFile(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    /// Removes a file.
    virtual Expected<void, FileError> removeFile(const std::filesystem::path& path) = 0;

    /// Removes a file so that no loss of power brings it back, as far as the disk goes along. Fails
    /// only when the file is still there.
    Expected<void, FileError> removeFileForGood(const std::filesystem::path& path);

    /// Makes creations, moves and removals in that folder survive a loss of power.
    virtual Expected<void, FileError> syncDirectory(const std::filesystem::path& directory) = 0;

    /// The free bytes that an unprivileged user can have on the volume that holds the path; nothing
    /// when the volume does not say.
    [[nodiscard]] virtual Expected<std::optional<std::int64_t>, FileError>
    availableCapacity(const std::filesystem::path& path) const = 0;
};

} // namespace brindle
