// What the media library writes a movie through.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <array>
#include <cstdint>
#include <span>

namespace brindle::media {

/// A new file with a buffer in front. One thread at a time.
class OutputStream {
  public:
    explicit OutputStream(capture::OutputFile file);
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    [[nodiscard]] AVIOContext* io() { return io_.get(); }
    /// Why writing failed first (`errno`); 0 when it has not. The library does not always hand
    /// such an error through.
    [[nodiscard]] int writeError() const { return writeError_; }
    /// The first bytes of the file, as far as they have been written: the size of its first box.
    [[nodiscard]] std::span<const std::uint8_t, 4> firstBytes() const { return firstBytes_; }

    /// Writes over what is there, past the library, whose buffer must have been flushed. Answers 0
    /// or an `errno`.
    [[nodiscard]] int overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes);
    /// Returns when what has been flushed would survive a loss of power. Answers 0 or an `errno`.
    [[nodiscard]] int sync() { return file_.sync(); }

  private:
    static std::int64_t seek(void* stream, std::int64_t offset, int whence);
    int append(std::span<const std::uint8_t> bytes);

    /// The library's two notions of a function that writes.
    template <class Byte>
    static int write(void* stream, Byte* bytes, int size) {
        return static_cast<OutputStream*>(stream)->append({bytes, static_cast<std::size_t>(size)});
    }

    capture::OutputFile file_;
    std::array<std::uint8_t, 4> firstBytes_{};
    std::int64_t position_ = 0;
    int writeError_ = 0;
    IoHandle io_;
};

} // namespace brindle::media
