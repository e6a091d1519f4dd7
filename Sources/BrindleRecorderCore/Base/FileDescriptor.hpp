// An open file of the system: closed when it goes out of scope, read and written to the end in
// spite of signals and of calls that do a part of the work.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <system_error>

namespace brindle {

/// What errno says.
inline std::error_code lastSystemError() {
    return {errno, std::generic_category()};
}

/// Makes a system call again for as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

/// Movable owner of one descriptor. Not for use from two threads at once.
class FileDescriptor {
  public:
    /// As open(2) does, and never inherited by a program that is started. `mode` is cut by the
    /// umask, as ever.
    static Expected<FileDescriptor, std::error_code>
    open(const std::filesystem::path& path, int flags, mode_t mode = 0);

    /// Takes over a descriptor.
    explicit FileDescriptor(int number) : number_{number} {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    [[nodiscard]] int number() const { return number_; }

    /// Writes every byte. After a failure a part may have been written.
    [[nodiscard]] Expected<void, std::error_code> writeAll(std::string_view bytes) const;
    /// Reads to the end, but never more than `maxBytes`.
    [[nodiscard]] Expected<std::string, std::error_code> readUpTo(std::size_t maxBytes) const;
    /// Returns when what was written is on the disk.
    [[nodiscard]] Expected<void, std::error_code> sync() const;

  private:
    int number_; // -1 when moved from
};

} // namespace brindle
