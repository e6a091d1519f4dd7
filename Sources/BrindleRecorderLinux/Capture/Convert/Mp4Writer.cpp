#include "BrindleRecorderLinux/Capture/Convert/Mp4Writer.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianReader.hpp"
#include "BrindleRecorderLinux/Capture/Convert/OutputTracks.hpp"
#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

extern "C" {
#include <libavutil/opt.h>
}

namespace brindle::media {

namespace {

/// Whether the library hands samples out as they stand in the file: some it takes apart.
bool standsInTheFile(AVCodecID coding) {
    return coding == AV_CODEC_ID_H264 || coding == AV_CODEC_ID_AAC;
}

} // namespace

Expected<std::unique_ptr<Mp4Writer>, PlatformError> Mp4Writer::create(
    capture::OutputFile file, std::span<const AVStream* const> streams, const MovieTags& tags,
    std::int64_t roomForIndex, std::optional<int> source) {
    std::unique_ptr<Mp4Writer> writer{new Mp4Writer{std::move(file), roomForIndex, source}};
    if (auto begun = writer->begin(streams, tags); !begun) {
        return unexpected{std::move(begun.error())};
    }
    return writer;
}

Expected<void, PlatformError>
Mp4Writer::begin(std::span<const AVStream* const> streams, const MovieTags& tags) {
    AVFormatContext* format = nullptr;
    if (const int result = avformat_alloc_output_context2(&format, nullptr, "mp4", nullptr);
        result < 0) {
        return unexpected{mediaError(result)};
    }
    format_.reset(format);
    format_->pb = file_->io();
    const auto finestUnit = addTracks(*format_, streams);
    if (!finestUnit) {
        return unexpected{finestUnit.error()};
    }
    format_->flush_packets = 0; // a call of the system for every sample is dear
    for (const AVStream* source : streams) {
        configurationBytes_ += source->codecpar->extradata_size;
        tracks_.push_back({source->index, source->time_base});
    }
    Options options;
    options.set("movie_timescale", *finestUnit);
    options.set("moov_size", roomForIndex_);
    if (const int result = writeHeader(*format_, tags, options); result < 0) {
        return unexpected{errorFor(result)};
    }
    avio_flush(file_->io());
    mediaEnd_ = avio_tell(file_->io());
    // From the packet's own memory, past the buffer.
    file_->io()->direct = source_ ? 1 : 0;
    return {};
}

Expected<void, PlatformError> Mp4Writer::write(AVPacket& packet) {
    const auto track = std::ranges::find(tracks_, packet.stream_index, &Track::sourceStream);
    if (track == tracks_.end()) {
        return {};
    }
    const auto index = static_cast<std::size_t>(track - tracks_.begin());
    const AVCodecID coding = format_->streams[index]->codecpar->codec_id;
    if (source_ && packet.pos >= 0 && standsInTheFile(coding)) {
        file_->announce({packet.data, static_cast<std::size_t>(packet.size)}, *source_, packet.pos);
    }
    packet.stream_index = static_cast<int>(index);
    packet.pos = -1;
    av_packet_rescale_ts(&packet, track->sourceTimeBase, format_->streams[index]->time_base);
    index_.add(
        {.track = index,
         .size = static_cast<std::uint32_t>(packet.size),
         .decodeTime = packet.dts,
         .compositionOffset = packet.pts - packet.dts,
         .isSync = (packet.flags & AV_PKT_FLAG_KEY) != 0});
    // Chunk by chunk in the source's order, which is an order to play in; nothing is held back.
    if (const int result = av_write_frame(format_.get(), &packet); result < 0) {
        return unexpected{errorFor(result)};
    }
    mediaEnd_ += packet.size;
    if (avio_tell(file_->io()) != mediaEnd_) {
        return unexpected{PlatformError{
            .domain = "Movie",
            .code = 0,
            .description = "The movie cannot be copied unchanged: its header is damaged",
            .underlying = {}}};
    }
    return {};
}

Expected<void, PlatformError> Mp4Writer::finish() {
    file_->io()->direct = 0;
    // What room is left over becomes a box of its own and needs the head of one.
    constexpr std::int64_t shortestBox = 8;
    const bool fits = index_.upperBound(configurationBytes_) + shortestBox <= roomForIndex_;
    if (roomForIndex_ != 0 && !fits) {
        // Gaps in a damaged source can make the tables longer than the samples' count said.
        av_opt_set_int(format_->priv_data, "moov_size", 0, 0);
    }
    if (const int result = av_write_trailer(format_.get()); result < 0) {
        return unexpected{errorFor(result)};
    }
    avio_flush(file_->io());
    if (file_->writeError() != 0) {
        return unexpected{errorFor(file_->io()->error)};
    }
    if (roomForIndex_ != 0 && !fits) {
        if (auto filled = fillRoomForIndex(); !filled) {
            return filled;
        }
    }
    if (const int errorNumber = file_->sync(); errorNumber != 0) {
        return unexpected{systemError(errorNumber)};
    }
    return {};
}

/// Makes the room that the index did not take one empty box (ISO/IEC 14496-12, 8.1.2 `free`).
Expected<void, PlatformError> Mp4Writer::fillRoomForIndex() {
    std::array<std::uint8_t, 8> head{0, 0, 0, 0, 'f', 'r', 'e', 'e'};
    auto size = static_cast<std::uint64_t>(roomForIndex_);
    for (std::size_t byte = 4; byte-- > 0; size >>= 8U) {
        head[byte] = static_cast<std::uint8_t>(size & 0xFFU);
    }
    // It follows the file type box, whose length is the first thing in the file.
    const std::int64_t roomOffset = BigEndianReader{file_->firstBytes()}.u32();
    if (const int errorNumber = file_->overwrite(roomOffset, head); errorNumber != 0) {
        return unexpected{systemError(errorNumber)};
    }
    return {};
}

PlatformError Mp4Writer::errorFor(int result) const {
    return file_->writeError() != 0 ? systemError(file_->writeError()) : mediaError(result);
}

} // namespace brindle::media
