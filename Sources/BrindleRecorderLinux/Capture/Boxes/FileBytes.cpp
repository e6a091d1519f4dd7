#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::media {

Expected<std::unique_ptr<FileBytes>, int>
FileBytes::of(FileDescriptor file, const std::atomic<bool>& cancelled) {
    struct stat status {};
    if (fstat(file.number(), &status) != 0) {
        return unexpected{errno};
    }
    if (S_ISDIR(status.st_mode)) {
        return unexpected{EISDIR};
    }
    if (!S_ISREG(status.st_mode)) {
        return unexpected{EINVAL};
    }
    posix_fadvise(file.number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return std::unique_ptr<FileBytes>{new FileBytes{std::move(file), status.st_size, cancelled}};
}

Expected<std::size_t, int> readFile(
    const FileDescriptor& file, std::int64_t size, const std::atomic<bool>& cancelled,
    std::int64_t offset, std::span<std::uint8_t> buffer) {
    if (offset >= size) {
        return 0U;
    }
    const std::size_t wanted = std::min(buffer.size(), static_cast<std::size_t>(size - offset));
    std::size_t done = 0;
    while (done < wanted) {
        if (cancelled) {
            return unexpected{ECANCELED};
        }
        const ssize_t count = pread(
            file.number(), buffer.data() + done, wanted - done,
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

Expected<std::size_t, int> FileBytes::readAt(std::int64_t offset, std::span<std::uint8_t> buffer) {
    return readFile(file_, size_, cancelled_, offset, buffer);
}

} // namespace brindle::media
