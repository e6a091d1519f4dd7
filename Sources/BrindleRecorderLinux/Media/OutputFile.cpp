#include "BrindleRecorderLinux/Media/OutputFile.hpp"

#include "BrindleRecorderLinux/Media/MediaError.hpp"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::media {

Expected<OutputFile, PlatformError> OutputFile::create(const std::filesystem::path& path) {
    constexpr mode_t forTheUserAlone = 0600;
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, forTheUserAlone);
    if (descriptor < 0) {
        return unexpected{systemError(errno)};
    }
    OutputFile file{descriptor};
    // Where a file system knows no locks the recording is worth making all the same.
    static_cast<void>(flock(descriptor, LOCK_EX | LOCK_NB));
    const int folder = open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        // Some file systems cannot sync folders; the recording is worth making there too.
        static_cast<void>(fsync(folder));
        close(folder);
    }
    return file;
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

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : descriptor_{std::exchange(other.descriptor_, -1)} {}

int OutputFile::write(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
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

int OutputFile::sync() const {
    return fdatasync(descriptor_) == 0 ? 0 : errno;
}

int OutputFile::truncate(std::int64_t size) const {
    return ftruncate(descriptor_, size) == 0 ? 0 : errno;
}

std::int64_t OutputFile::seek(std::int64_t offset, int origin) const {
    return lseek(descriptor_, offset, origin);
}

std::int64_t OutputFile::size() const {
    struct stat status {};
    return fstat(descriptor_, &status) == 0 ? status.st_size : -1;
}

bool OutputFile::isRemoved() const {
    struct stat status {};
    return fstat(descriptor_, &status) == 0 && status.st_nlink == 0;
}

} // namespace brindle::media
