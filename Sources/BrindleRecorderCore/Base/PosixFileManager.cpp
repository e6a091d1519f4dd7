#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace brindle {

namespace {

using Path = std::filesystem::path;

constexpr mode_t privateFile = 0600;
constexpr mode_t privateFolder = 0700;

unexpected<FileError> failure(std::error_code code, const Path& path) {
    return unexpected{FileError{code, path}};
}

unexpected<FileError> failure(std::errc error, const Path& path) {
    return failure(std::make_error_code(error), path);
}

Expected<struct stat, FileError> statusOf(const Path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == -1) {
        return failure(lastSystemError(), path);
    }
    return status;
}

bool areNamesOfOneFile(const Path& one, const Path& other) {
    struct stat first {};
    struct stat second {};
    return ::lstat(one.c_str(), &first) == 0 && ::lstat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// When the contents were last changed: systems give the same field one of two names.
template <class Status>
const timespec& modificationTime(const Status& status) {
    if constexpr (requires { status.st_mtim; }) {
        return status.st_mtim;
    } else {
        return status.st_mtimespec;
    }
}

/// Refuses folders, devices, pipes and the like.
Expected<void, FileError> requireRegular(const struct stat& status, const Path& path) {
    if (S_ISDIR(status.st_mode)) {
        return failure(std::errc::is_a_directory, path);
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(std::errc::invalid_argument, path);
    }
    return {};
}

struct OpenFile {
    FileDescriptor descriptor;
    std::int64_t size;
};

/// Opens what must be a regular file, without ever waiting at a pipe that has no other end.
Expected<OpenFile, FileError> openRegular(const Path& path, int flags) {
    auto descriptor = FileDescriptor::open(path, flags | O_NONBLOCK);
    if (!descriptor) {
        return failure(descriptor.error(), path);
    }
    struct stat status {};
    if (::fstat(descriptor->number(), &status) == -1) {
        return failure(lastSystemError(), path);
    }
    if (auto regular = requireRegular(status, path); !regular) {
        return unexpected{regular.error()};
    }
    return OpenFile{std::move(*descriptor), status.st_size};
}

/// Creates a file that must not exist yet, for the user alone.
Expected<OpenFile, FileError> createRegular(const Path& path) {
    auto descriptor =
        FileDescriptor::open(path, O_WRONLY | O_APPEND | O_CREAT | O_EXCL, privateFile);
    if (!descriptor) {
        return failure(descriptor.error(), path);
    }
    // The umask may have taken even the user's own rights away.
    if (::fchmod(descriptor->number(), privateFile) == -1) {
        return failure(lastSystemError(), path);
    }
    return OpenFile{std::move(*descriptor), 0};
}

Expected<OpenFile, FileError> openForAppending(const Path& path) {
    for (;;) {
        auto opened = openRegular(path, O_WRONLY | O_APPEND);
        if (opened || opened.error().code != std::errc::no_such_file_or_directory) {
            return opened;
        }
        auto created = createRegular(path);
        if (created || created.error().code != std::errc::file_exists) {
            return created;
        }
        struct stat link {};
        if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
            return opened; // a link to nothing: neither there nor creatable
        }
        // Somebody else created it in between.
    }
}

} // namespace

Expected<std::vector<DirectoryEntry>, FileError>
PosixFileManager::contentsOfDirectory(const Path& directory) const {
    std::error_code error;
    std::filesystem::directory_iterator position{directory, error};
    std::vector<DirectoryEntry> entries;
    while (!error && position != std::filesystem::directory_iterator{}) {
        if (const Path& path = position->path(); !path.filename().native().starts_with('.')) {
            struct stat status {};
            std::optional<std::int64_t> size;
            if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
                size = status.st_size;
            }
            entries.push_back({path, size});
        }
        position.increment(error);
    }
    if (error) {
        return failure(error, directory);
    }
    return entries;
}

bool PosixFileManager::fileExists(const Path& path) const {
    const auto status = statusOf(path);
    if (status) {
        return true;
    }
    const auto& code = status.error().code;
    return code != std::errc::no_such_file_or_directory && code != std::errc::not_a_directory &&
           code != std::errc::permission_denied && code != std::errc::filename_too_long &&
           code != std::errc::too_many_symbolic_link_levels;
}

Expected<std::int64_t, FileError> PosixFileManager::fileSize(const Path& path) const {
    const auto status = statusOf(path);
    if (!status) {
        return unexpected{status.error()};
    }
    if (auto regular = requireRegular(*status, path); !regular) {
        return unexpected{regular.error()};
    }
    return status->st_size;
}

Expected<Date, FileError> PosixFileManager::modificationDate(const Path& path) const {
    const auto status = statusOf(path);
    if (!status) {
        return unexpected{status.error()};
    }
    const timespec& time = modificationTime(*status);
    return Date{std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec}};
}

Expected<std::string, FileError>
PosixFileManager::readFile(const Path& path, std::int64_t maxBytes) const {
    const auto file = openRegular(path, O_RDONLY);
    if (!file) {
        return unexpected{file.error()};
    }
    if (file->size > maxBytes) {
        return failure(std::errc::file_too_large, path);
    }
    // One byte more than allowed, to notice a file that grows while it is read.
    auto contents = file->descriptor.readUpTo(static_cast<std::size_t>(maxBytes) + 1);
    if (!contents) {
        return failure(contents.error(), path);
    }
    if (contents->size() > static_cast<std::size_t>(maxBytes)) {
        return failure(std::errc::file_too_large, path);
    }
    return std::move(*contents);
}

Expected<void, FileError> PosixFileManager::createDirectory(const Path& directory) {
    const Path path = directory.has_filename() ? directory : directory.parent_path();
    const auto status = statusOf(path);
    if (status) {
        if (S_ISDIR(status->st_mode)) {
            return {};
        }
        return failure(std::errc::not_a_directory, path);
    }
    if (status.error().code != std::errc::no_such_file_or_directory || !path.has_relative_path()) {
        return unexpected{status.error()};
    }
    if (auto above = createDirectory(path.parent_path()); !above) {
        return above;
    }
    if (::mkdir(path.c_str(), privateFolder) == -1) {
        const std::error_code error = lastSystemError();
        if (const auto other = statusOf(path); other && S_ISDIR(other->st_mode)) {
            return {}; // somebody else created it in between
        }
        return failure(error, path);
    }
    // The umask may have taken even the user's own rights away.
    if (::chmod(path.c_str(), privateFolder) == -1) {
        return failure(lastSystemError(), path);
    }
    return syncDirectory(path.parent_path());
}

Expected<void, FileError>
PosixFileManager::createSyncedFile(const Path& path, std::string_view contents) {
    const auto file = createRegular(path);
    if (!file) {
        return unexpected{file.error()};
    }
    if (const auto written = file->descriptor.writeAll(contents); !written) {
        return failure(written.error(), path);
    }
    if (const auto synced = file->descriptor.sync(); !synced) {
        return failure(synced.error(), path);
    }
    return {};
}

Expected<void, FileError>
PosixFileManager::appendToFile(const Path& path, std::string_view contents) {
    const auto file = openForAppending(path);
    if (!file) {
        return unexpected{file.error()};
    }
    if (const auto written = file->descriptor.writeAll(contents); !written) {
        // A full disk leaves a piece, to which the next piece would be glued: cut it off again.
        static_cast<void>(
            uninterrupted([&] { return ::ftruncate(file->descriptor.number(), file->size); }));
        return failure(written.error(), path);
    }
    return {};
}

Expected<void, FileError> PosixFileManager::moveFile(const Path& from, const Path& to) {
    if (::rename(from.c_str(), to.c_str()) == -1) {
        return failure(lastSystemError(), from);
    }
    // Between two names of one file in one folder the call does nothing, and says that it has.
    if (from.parent_path() == to.parent_path() && from.filename() != to.filename() &&
        areNamesOfOneFile(from, to) && ::unlink(from.c_str()) == -1) {
        return failure(lastSystemError(), from);
    }
    return {};
}

Expected<void, FileError> PosixFileManager::removeFile(const Path& path) {
    if (::unlink(path.c_str()) == -1) {
        return failure(lastSystemError(), path);
    }
    return {};
}

Expected<void, FileError> PosixFileManager::syncDirectory(const Path& directory) {
    const auto descriptor = FileDescriptor::open(directory, O_RDONLY | O_DIRECTORY);
    if (!descriptor) {
        return failure(descriptor.error(), directory);
    }
    const auto synced = descriptor->sync();
    // Some network and user-space file systems know no syncing of folders and say so this way.
    if (!synced && synced.error() != std::errc::invalid_argument) {
        return failure(synced.error(), directory);
    }
    return {};
}

Expected<std::optional<std::int64_t>, FileError>
PosixFileManager::availableCapacity(const Path& path) const {
    struct statvfs volume {};
    if (uninterrupted([&] { return ::statvfs(path.c_str(), &volume); }) == -1) {
        return failure(lastSystemError(), path);
    }
    if (volume.f_blocks == 0) {
        return std::optional<std::int64_t>{}; // a volume without blocks, such as /proc
    }
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes)) {
        return most;
    }
    return bytes;
}

} // namespace brindle
