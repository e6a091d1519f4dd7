#include "BrindleRecorderLinux/Capture/Media/OutputStream.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

namespace brindle::media {

namespace {

/// Makes writing cheap.
constexpr int bufferSize = 256 * 1024;

/// Enough to make copying cheap, and little for the disk to begin with.
constexpr std::int64_t longestRun = std::int64_t{8} << 20U;

} // namespace

OutputStream::OutputStream(capture::OutputFile file) : file_{std::move(file)} {
#if LIBAVFORMAT_VERSION_MAJOR >= 61
    constexpr auto writeFunction = &OutputStream::write<const std::uint8_t>;
#else
    constexpr auto writeFunction = &OutputStream::write<std::uint8_t>;
#endif
    auto* const buffer = static_cast<std::uint8_t*>(av_malloc(bufferSize));
    io_.reset(avio_alloc_context(
        buffer, bufferSize, 1, this, nullptr, writeFunction, &OutputStream::seek));
    if (buffer == nullptr || !io_) {
        throw std::bad_alloc{};
    }
}

std::int64_t OutputStream::seek(void* stream, std::int64_t offset, int whence) {
    auto& self = *static_cast<OutputStream*>(stream);
    if (const int error = self.copyRun(); error != 0) {
        return AVERROR(error);
    }
    if ((whence & AVSEEK_SIZE) != 0) {
        return self.file_.size();
    }
    const std::int64_t position = self.file_.seek(offset, whence & ~AVSEEK_FORCE);
    if (position < 0) {
        return AVERROR(errno);
    }
    self.position_ = position;
    return position;
}

int OutputStream::append(std::span<const std::uint8_t> bytes) {
    const bool isAnnounced = announced_.bytes.data() == bytes.data() &&
                             announced_.bytes.size() == bytes.size() && !bytes.empty();
    if (isAnnounced) {
        addToRun(std::exchange(announced_, {}));
    } else if (copyRun() == 0) {
        writeError_ = file_.write(bytes);
    }
    if (writeError_ != 0) {
        return AVERROR(writeError_);
    }
    if (position_ == 0) {
        std::copy_n(bytes.begin(), std::min(bytes.size(), firstBytes_.size()), firstBytes_.begin());
    }
    position_ += static_cast<std::int64_t>(bytes.size());
    return static_cast<int>(bytes.size());
}

void OutputStream::addToRun(const Announced& bytes) {
    const bool goesOn = run_.file == bytes.file && run_.offset + run_.size == bytes.offset;
    if (!goesOn || run_.size >= longestRun) {
        static_cast<void>(copyRun());
        run_ = {.file = bytes.file, .offset = bytes.offset, .size = 0};
    }
    run_.size += static_cast<std::int64_t>(bytes.bytes.size());
}

int OutputStream::copyRun() {
    const Run run = std::exchange(run_, {});
    if (writeError_ == 0 && run.size > 0) {
        writeError_ = file_.copy(run.file, run.offset, run.size);
    }
    return writeError_;
}

int OutputStream::sync() {
    const int error = copyRun();
    return error != 0 ? error : file_.sync();
}

int OutputStream::overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    if (const int error = copyRun(); error != 0) {
        return error;
    }
    const std::int64_t position = file_.seek(offset, SEEK_SET);
    if (position < 0) {
        return errno;
    }
    position_ = position;
    append(bytes);
    return writeError_;
}

} // namespace brindle::media
