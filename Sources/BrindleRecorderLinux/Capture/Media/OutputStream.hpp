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

    /// When bytes of that address are written next, they are those of the file at that offset, and
    /// need not be written: they are copied, many at a time. The file must stay open meanwhile.
    void announce(std::span<const std::uint8_t> bytes, int file, std::int64_t offset) {
        announced_ = {.bytes = bytes, .file = file, .offset = offset};
    }
    /// Copies what has been put off. Answers 0 or an `errno`.
    [[nodiscard]] int copyRun();

    /// Writes over what is there, past the library, whose buffer must have been flushed. Answers 0
    /// or an `errno`.
    [[nodiscard]] int overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes);
    /// Returns when what has been flushed would survive a loss of power. Answers 0 or an `errno`.
    [[nodiscard]] int sync();

  private:
    static std::int64_t seek(void* stream, std::int64_t offset, int whence);
    int append(std::span<const std::uint8_t> bytes);

    /// The library's two notions of a function that writes.
    template <class Byte>
    static int write(void* stream, Byte* bytes, int size) {
        return static_cast<OutputStream*>(stream)->append({bytes, static_cast<std::size_t>(size)});
    }

    /// Bytes in memory that another file holds as well.
    struct Announced {
        std::span<const std::uint8_t> bytes;
        int file = -1;
        std::int64_t offset = 0;
    };
    /// Bytes of another file that come next in this one.
    struct Run {
        int file = -1;
        std::int64_t offset = 0;
        std::int64_t size = 0;
    };

    void addToRun(const Announced& bytes);

    capture::OutputFile file_;
    Announced announced_;
    Run run_;
    std::array<std::uint8_t, 4> firstBytes_{};
    std::int64_t position_ = 0;
    int writeError_ = 0;
    IoHandle io_;
};

} // namespace brindle::media
