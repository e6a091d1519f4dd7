#include "BrindleRecorderLinux/Capture/Boxes/EditableFile.hpp"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace brindle::media {

Expected<std::unique_ptr<EditableFile>, int>
EditableFile::of(FileDescriptor file, const std::atomic<bool>& cancelled) {
    struct stat status {};
    if (fstat(file.number(), &status) != 0) {
        return unexpected{errno};
    }
    if (!S_ISREG(status.st_mode)) {
        return unexpected{EINVAL};
    }
    return std::unique_ptr<EditableFile>{new EditableFile{std::move(file), status, cancelled}};
}

EditableFile::~EditableFile() {
    const std::array<timespec, 2> times{timespec{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, changed_};
    static_cast<void>(futimens(file_.number(), times.data()));
}

Expected<std::size_t, int>
EditableFile::readAt(std::int64_t offset, std::span<std::uint8_t> buffer) {
    return readFile(file_, size_, cancelled_, offset, buffer);
}

int EditableFile::append(std::span<const std::uint8_t> bytes) {
    if (const int error = overwrite(size_, bytes); error != 0) {
        return error;
    }
    size_ += static_cast<std::int64_t>(bytes.size());
    return 0;
}

int EditableFile::overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = uninterrupted(
            [&] { return pwrite(file_.number(), bytes.data(), bytes.size(), offset); });
        if (count <= 0) {
            return count < 0 ? errno : EIO;
        }
        offset += count;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return 0;
}

int EditableFile::cutTo(std::int64_t size) {
    if (ftruncate(file_.number(), size) != 0) {
        return errno;
    }
    size_ = size;
    return 0;
}

int EditableFile::sync() {
    return fdatasync(file_.number()) == 0 ? 0 : errno;
}

} // namespace brindle::media
