// The bytes of a file on the disk.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

namespace brindle::media {

/// Reads as a `ByteSource` of that size does.
Expected<std::size_t, int> readFile(
    const FileDescriptor& file, std::int64_t size, const std::atomic<bool>& cancelled,
    std::int64_t offset, std::span<std::uint8_t> buffer);

/// Stays as long as the file was when it was opened; whatever is appended later is not seen.
class FileBytes final : public ByteSource {
  public:
    /// Takes a regular file and nothing else, open for reading. Once `cancelled` is true, which may
    /// happen on any thread, every read fails with ECANCELED; it must outlive the source. Fails
    /// with an `errno`.
    static Expected<std::unique_ptr<FileBytes>, int>
    of(FileDescriptor file, const std::atomic<bool>& cancelled);

    [[nodiscard]] std::int64_t size() const override { return size_; }
    [[nodiscard]] std::optional<int> file() const override { return file_.number(); }
    Expected<std::size_t, int> readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override;

  private:
    FileBytes(FileDescriptor file, std::int64_t size, const std::atomic<bool>& cancelled)
        : file_{std::move(file)}, size_{size}, cancelled_{cancelled} {}

    FileDescriptor file_;
    std::int64_t size_;
    const std::atomic<bool>& cancelled_;
};

} // namespace brindle::media
