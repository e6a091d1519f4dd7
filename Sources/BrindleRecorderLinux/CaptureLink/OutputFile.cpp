#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::capture {

Expected<OutputFile, PlatformError> OutputFile::create(const std::filesystem::path& path) {
    constexpr mode_t forTheUserAlone = 0600;
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, forTheUserAlone);
    if (descriptor < 0) {
        return unexpected{systemError(errno)};
    }
    OutputFile file{FileDescriptor{descriptor}};
    // Where a file system knows no locks the recording is worth making all the same.
    static_cast<void>(flock(descriptor, LOCK_EX | LOCK_NB));
    return file;
}

void OutputFile::keepNameOf(const std::filesystem::path& path) {
    const auto folder = FileDescriptor::open(path.parent_path(), O_RDONLY | O_DIRECTORY);
    if (folder) {
        // Some file systems cannot sync folders; the recording is worth making there too.
        static_cast<void>(folder->sync());
    }
}

bool OutputFile::isBeingWritten(const std::filesystem::path& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return false;
    }
    const bool isLocked = flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(descriptor);
    return isLocked;
}

int OutputFile::write(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_.number(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? errno : EIO;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return 0;
}

int OutputFile::copy(int file, std::int64_t offset, std::int64_t size) const {
    const std::int64_t begin = seek(0, SEEK_CUR);
    std::int64_t left = size;
    bool isBySystem = true;
    std::vector<std::uint8_t> buffer;
    while (left > 0) {
        if (isBySystem) {
            const ssize_t copied = copy_file_range(
                file, &offset, file_.number(), nullptr, static_cast<std::size_t>(left), 0);
            if (copied > 0) {
                left -= copied;
            } else if (copied == 0) {
                return EIO; // the other file has become shorter
            } else if (errno == ENOSPC || errno == EIO || errno == EFBIG || errno == EDQUOT) {
                return errno;
            } else if (errno != EINTR) {
                isBySystem = false; // not between these two
            }
            continue;
        }
        constexpr std::int64_t piece = std::int64_t{1} << 20U;
        buffer.resize(static_cast<std::size_t>(std::min(left, piece)));
        const ssize_t count =
            uninterrupted([&] { return pread(file, buffer.data(), buffer.size(), offset); });
        if (count <= 0) {
            return count < 0 ? errno : EIO;
        }
        if (const int error = write(std::span{buffer}.first(static_cast<std::size_t>(count)));
            error != 0) {
            return error;
        }
        offset += count;
        left -= count;
    }
    static_cast<void>(sync_file_range(file_.number(), begin, size, SYNC_FILE_RANGE_WRITE));
    return 0;
}

int OutputFile::sync() const {
    return fdatasync(file_.number()) == 0 ? 0 : errno;
}

int OutputFile::truncate(std::int64_t size) const {
    return ftruncate(file_.number(), size) == 0 ? 0 : errno;
}

std::int64_t OutputFile::seek(std::int64_t offset, int origin) const {
    return lseek(file_.number(), offset, origin);
}

std::int64_t OutputFile::size() const {
    struct stat status {};
    return fstat(file_.number(), &status) == 0 ? status.st_size : -1;
}

bool OutputFile::isRemoved() const {
    struct stat status {};
    return fstat(file_.number(), &status) == 0 && status.st_nlink == 0;
}

} // namespace brindle::capture
