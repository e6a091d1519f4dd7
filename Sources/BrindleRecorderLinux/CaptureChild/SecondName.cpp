#include "BrindleRecorderLinux/CaptureChild/SecondName.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::capture {

namespace {

bool isOursAlone(const struct stat& file) {
    constexpr mode_t others = 077;
    return S_ISREG(file.st_mode) && file.st_nlink == 1 && file.st_uid == geteuid() &&
           (file.st_mode & others) == 0;
}

} // namespace

std::optional<SecondName>
SecondName::give(const std::filesystem::path& movie, const std::filesystem::path& name) {
    // Without O_NONBLOCK a pipe under that name would hold us until somebody reads from it.
    auto file = FileDescriptor::open(movie, O_RDWR | O_NOFOLLOW | O_NONBLOCK);
    struct stat opened {};
    if (!file || fstat(file->number(), &opened) != 0 || !isOursAlone(opened) ||
        flock(file->number(), LOCK_EX | LOCK_NB) != 0 || link(movie.c_str(), name.c_str()) != 0) {
        return std::nullopt;
    }
    SecondName given{std::move(*file), name};
    // Somebody may have put another file in its place meanwhile.
    struct stat named {};
    if (lstat(name.c_str(), &named) != 0 || named.st_dev != opened.st_dev ||
        named.st_ino != opened.st_ino) {
        given.takeBack();
        return std::nullopt;
    }
    return given;
}

void SecondName::takeBack() const {
    static_cast<void>(unlink(name_.c_str()));
}

} // namespace brindle::capture
