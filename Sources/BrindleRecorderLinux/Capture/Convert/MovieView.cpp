#include "BrindleRecorderLinux/Capture/Convert/MovieView.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianWriter.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace brindle::media {

namespace {

/// Enough to make reading cheap; samples that are longer go past it without being copied. Reading
/// anywhere leaps between the tracks of a fragment, and each leap fills the buffer anew.
constexpr int bufferSizeFor(MovieView::Access access) {
    return access == MovieView::Access::anywhere ? 16 * 1024 : 256 * 1024;
}

/// The head of a box (ISO/IEC 14496-12, 4.2), with a long size where the short one cannot hold it.
std::span<const std::uint8_t>
makeBoxHeader(const StandInBox& box, std::array<std::uint8_t, longestBoxHeader>& bytes) {
    const bool isLong = box.size > std::numeric_limits<std::uint32_t>::max();
    BigEndianWriter::putNumber(
        isLong ? 1U : static_cast<std::uint64_t>(box.size), std::span{bytes}.subspan(0, 4));
    BigEndianWriter::putNumber(box.type, std::span{bytes}.subspan(4, 4));
    BigEndianWriter::putNumber(
        static_cast<std::uint64_t>(box.size), std::span{bytes}.subspan(8, 8));
    return std::span{bytes}.first(isLong ? 16 : 8);
}

} // namespace

MovieView::MovieView(ByteSource& source, const MovieLayout& layout, Access access)
    : source_{source}, layout_{layout} {
    const int bufferSize = bufferSizeFor(access);
    auto* const buffer =
        static_cast<std::uint8_t*>(av_malloc(static_cast<std::size_t>(bufferSize)));
    io_.reset(avio_alloc_context(
        buffer, bufferSize, 0, this, &MovieView::read, nullptr,
        access == Access::anywhere ? &MovieView::seek : nullptr));
    if (buffer == nullptr || !io_) {
        throw std::bad_alloc{};
    }
}

int MovieView::read(void* view, std::uint8_t* buffer, int size) {
    return static_cast<MovieView*>(view)->readNext({buffer, static_cast<std::size_t>(size)});
}

std::int64_t MovieView::seek(void* view, std::int64_t offset, int whence) {
    auto& self = *static_cast<MovieView*>(view);
    if ((whence & AVSEEK_SIZE) != 0) {
        return self.layout_.end;
    }
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += self.position_;
        break;
    case SEEK_END:
        offset += self.layout_.end;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) {
        return AVERROR(EINVAL);
    }
    self.position_ = offset;
    return offset;
}

int MovieView::readNext(std::span<std::uint8_t> buffer) {
    if (position_ >= layout_.end) {
        return AVERROR_EOF;
    }
    const auto available = static_cast<std::uint64_t>(layout_.end - position_);
    const auto count = source_.readAt(
        position_,
        buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), available))));
    if (!count) {
        readError_ = count.error();
        return AVERROR(readError_);
    }
    if (*count == 0) {
        return AVERROR_EOF;
    }
    layStandInsOver(buffer.first(*count));
    position_ += static_cast<std::int64_t>(*count);
    reached_ = std::max(reached_, position_);
    return static_cast<int>(*count);
}

void MovieView::layStandInsOver(std::span<std::uint8_t> bytes) const {
    const std::int64_t end = position_ + static_cast<std::int64_t>(bytes.size());
    // The first whose header may reach into these bytes.
    auto box = std::ranges::upper_bound(
        layout_.standIns, position_ - static_cast<std::int64_t>(longestBoxHeader), {},
        &StandInBox::offset);
    for (; box != layout_.standIns.end() && box->offset < end; ++box) {
        std::array<std::uint8_t, longestBoxHeader> storage{};
        std::int64_t place = box->offset;
        for (const std::uint8_t byte : makeBoxHeader(*box, storage)) {
            if (place >= position_ && place < end) {
                bytes[static_cast<std::size_t>(place - position_)] = byte;
            }
            ++place;
        }
    }
}

} // namespace brindle::media
