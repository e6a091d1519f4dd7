#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace brindle {

Expected<FileDescriptor, std::error_code>
FileDescriptor::open(const std::filesystem::path& path, int flags, mode_t mode) {
    const int number =
        uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); });
    if (number == -1) {
        return unexpected{lastSystemError()};
    }
    return FileDescriptor{number};
}

FileDescriptor::~FileDescriptor() {
    if (number_ != -1) {
        // Not repeated after an interruption: the descriptor is gone by then, and its number may
        // already be another thread's.
        ::close(number_);
    }
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : number_{std::exchange(other.number_, -1)} {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Expected<void, std::error_code> FileDescriptor::writeAll(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t written =
            uninterrupted([&] { return ::write(number_, bytes.data(), bytes.size()); });
        if (written == -1) {
            return unexpected{lastSystemError()};
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

Expected<std::string, std::error_code> FileDescriptor::readUpTo(std::size_t maxBytes) const {
    constexpr std::size_t longestRead = 64 * 1024;
    std::string contents;
    while (contents.size() < maxBytes) {
        const std::size_t had = contents.size();
        contents.resize(had + std::min(longestRead, maxBytes - had));
        const ssize_t count = uninterrupted(
            [&] { return ::read(number_, contents.data() + had, contents.size() - had); });
        if (count == -1) {
            return unexpected{lastSystemError()};
        }
        contents.resize(had + static_cast<std::size_t>(count));
        if (count == 0) {
            break;
        }
    }
    return contents;
}

Expected<void, std::error_code> FileDescriptor::sync() const {
#ifdef F_FULLFSYNC
    // Where fsync(2) ends in the drive's own memory. Not every volume knows this.
    if (uninterrupted([&] { return ::fcntl(number_, F_FULLFSYNC); }) != -1) {
        return {};
    }
#endif
    if (uninterrupted([&] { return ::fsync(number_); }) == -1) {
        return unexpected{lastSystemError()};
    }
    return {};
}

} // namespace brindle
