// A movie file on the disk that is read and written.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/EditableBytes.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"

#include <atomic>
#include <memory>
#include <utility>

#include <sys/stat.h>

namespace brindle::media {

/// The file keeps the time of its last change: when it was recorded, not when it was made whole.
class EditableFile final : public EditableBytes {
  public:
    /// Takes a regular file and nothing else, open for reading and writing, that nobody else
    /// writes. For `cancelled` see `FileBytes`; writing goes on. Fails with an `errno`.
    static Expected<std::unique_ptr<EditableFile>, int>
    of(FileDescriptor file, const std::atomic<bool>& cancelled);
    /// Sets the time of its last change to what it was.
    ~EditableFile() override;
    EditableFile(const EditableFile&) = delete;
    EditableFile& operator=(const EditableFile&) = delete;

    [[nodiscard]] std::int64_t size() const override { return size_; }
    Expected<std::size_t, int> readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override;
    [[nodiscard]] int append(std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] int overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] int cutTo(std::int64_t size) override;
    [[nodiscard]] int sync() override;

  private:
    EditableFile(FileDescriptor file, const struct stat& status, const std::atomic<bool>& cancelled)
        : file_{std::move(file)}, changed_{status.st_mtim}, size_{status.st_size}, cancelled_{
                                                                                       cancelled} {}

    FileDescriptor file_;
    timespec changed_;
    std::int64_t size_;
    const std::atomic<bool>& cancelled_;
};

} // namespace brindle::media
