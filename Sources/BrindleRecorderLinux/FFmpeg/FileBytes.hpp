// The bytes of a file on the disk.
#pragma once

#include "BrindleRecorderLinux/FFmpeg/ByteSource.hpp"

#include <atomic>
#include <filesystem>
#include <memory>

namespace brindle::media {

/// Stays as long as the file was when it was opened; whatever is appended later is not seen.
class FileBytes final : public ByteSource {
  public:
    /// Opens a regular file and nothing else, never waiting for one. Once `cancelled` is true,
    /// which may happen on any thread, every read fails with ECANCELED; it must outlive the source.
    /// Fails with an `errno`.
    static Expected<std::unique_ptr<FileBytes>, int>
    open(const std::filesystem::path& path, const std::atomic<bool>& cancelled);

    ~FileBytes() override;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    [[nodiscard]] std::int64_t size() const override { return size_; }
    Expected<std::size_t, int> readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override;

  private:
    FileBytes(int descriptor, std::int64_t size, const std::atomic<bool>& cancelled)
        : descriptor_{descriptor}, size_{size}, cancelled_{cancelled} {}

    int descriptor_;
    std::int64_t size_;
    const std::atomic<bool>& cancelled_;
};

} // namespace brindle::media
