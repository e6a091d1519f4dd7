// A movie file in the making. The recorder makes it; the program that captures for it writes it.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <cstdint>
#include <filesystem>
#include <span>
#include <utility>

namespace brindle::capture {

/// A new file, for the user alone. Operations block; one thread at a time. Errors are `errno`s.
class OutputFile {
  public:
    /// Fails when there is something at the path already. The file is locked until everybody who
    /// has it open has closed it, as a mark for other processes.
    static Expected<OutputFile, PlatformError> create(const std::filesystem::path& path);
    /// Takes over a file that was made so.
    explicit OutputFile(FileDescriptor file) : file_{std::move(file)} {}

    /// Whether a process of this machine is writing a file of ours there now.
    static bool isBeingWritten(const std::filesystem::path& path);
    /// Has the name of a new file survive a loss of power, where the file system can.
    static void keepNameOf(const std::filesystem::path& path);

    [[nodiscard]] int number() const { return file_.number(); }

    // These answer 0 or an errno, as the media library wants to hear it.
    [[nodiscard]] int write(std::span<const std::uint8_t> bytes) const;
    /// Copies bytes of another file, by itself where the file system can, and has the disk begin to
    /// write them, so that less is left for the sync.
    [[nodiscard]] int copy(int file, std::int64_t offset, std::int64_t size) const;
    [[nodiscard]] int sync() const;
    [[nodiscard]] int truncate(std::int64_t size) const;

    /// As lseek does: the new position, or -1.
    [[nodiscard]] std::int64_t seek(std::int64_t offset, int origin) const;
    [[nodiscard]] std::int64_t size() const;
    /// Whether the file has no name left in any folder: what is written to it goes nowhere.
    [[nodiscard]] bool isRemoved() const;

  private:
    FileDescriptor file_;
};

} // namespace brindle::capture
