#include "BrindleRecorderLinux/Files/FolderLock.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace brindle {

FolderLock::FolderLock(const std::filesystem::path& folder) : descriptor_{-1} {
    auto opened = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
    if (!opened) {
        return;
    }
    descriptor_ = std::move(*opened);
    isHeldByAnother_ =
        uninterrupted([&] { return flock(descriptor_.number(), LOCK_EX | LOCK_NB); }) != 0 &&
        errno == EWOULDBLOCK;
}

} // namespace brindle
