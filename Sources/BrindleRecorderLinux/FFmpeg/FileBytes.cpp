#include "BrindleRecorderLinux/FFmpeg/FileBytes.hpp"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::media {

Expected<std::unique_ptr<FileBytes>, int>
FileBytes::open(const std::filesystem::path& path, const std::atomic<bool>& cancelled) {
    // Without O_NONBLOCK a pipe under that name would hold us until somebody writes to it.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return unexpected{errno};
    }
    struct stat status {};
    int errorNumber = 0;
    if (fstat(descriptor, &status) != 0) {
        errorNumber = errno;
    } else if (S_ISDIR(status.st_mode)) {
        errorNumber = EISDIR;
    } else if (!S_ISREG(status.st_mode)) {
        errorNumber = EINVAL;
    }
    if (errorNumber != 0) {
        close(descriptor);
        return unexpected{errorNumber};
    }
    posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    return std::unique_ptr<FileBytes>{new FileBytes{descriptor, status.st_size, cancelled}};
}

FileBytes::~FileBytes() {
    close(descriptor_);
}

Expected<std::size_t, int> FileBytes::readAt(std::int64_t offset, std::span<std::uint8_t> buffer) {
    if (offset >= size_) {
        return 0U;
    }
    const std::size_t wanted = std::min(buffer.size(), static_cast<std::size_t>(size_ - offset));
    std::size_t done = 0;
    while (done < wanted) {
        if (cancelled_) {
            return unexpected{ECANCELED};
        }
        const ssize_t count = pread(
            descriptor_, buffer.data() + done, wanted - done,
            offset + static_cast<std::int64_t>(done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return unexpected{errno};
        }
        if (count == 0) { // the file has become shorter
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

} // namespace brindle::media
