// The file that a recording is written to.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cstdint>
#include <filesystem>
#include <span>

namespace brindle::media {

/// A new file, for the user alone. Operations block; one thread at a time. Errors are `errno`s.
class OutputFile {
  public:
    /// Fails when there is something at the path already. The new name survives a loss of power.
    /// The file is locked until it is closed, as a mark for other processes.
    static Expected<OutputFile, PlatformError> create(const std::filesystem::path& path);
    /// Whether a process of this machine is writing a file of ours there now.
    static bool isBeingWritten(const std::filesystem::path& path);

    ~OutputFile();
    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;

    // These answer 0 or an errno, as the media library wants to hear it.
    [[nodiscard]] int write(std::span<const std::uint8_t> bytes) const;
    [[nodiscard]] int sync() const;
    [[nodiscard]] int truncate(std::int64_t size) const;

    /// As lseek does: the new position, or -1.
    [[nodiscard]] std::int64_t seek(std::int64_t offset, int origin) const;
    [[nodiscard]] std::int64_t size() const;
    /// Whether the file has no name left in any folder: what is written to it goes nowhere.
    [[nodiscard]] bool isRemoved() const;

  private:
    explicit OutputFile(int descriptor) : descriptor_{descriptor} {}

    int descriptor_;
};

} // namespace brindle::media
