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
    if (writeError_ == 0) {
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

int OutputStream::overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    const std::int64_t position = file_.seek(offset, SEEK_SET);
    if (position < 0) {
        return errno;
    }
    position_ = position;
    append(bytes);
    return writeError_;
}

} // namespace brindle::media
