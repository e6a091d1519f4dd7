#include "BrindleRecorderLinux/Capture/Convert/OutputTracks.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"
#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <algorithm>
#include <new>

namespace brindle::media {

namespace {

/// Memory that the library writes a file into.
class FileInMemory {
  public:
    FileInMemory() {
        if (avio_open_dyn_buf(&io_) < 0) {
            throw std::bad_alloc{};
        }
    }
    ~FileInMemory() { take(); }
    FileInMemory(const FileInMemory&) = delete;
    FileInMemory& operator=(const FileInMemory&) = delete;

    [[nodiscard]] AVIOContext* io() { return io_; }
    std::vector<std::uint8_t> take() {
        std::vector<std::uint8_t> content;
        if (io_ != nullptr) {
            std::uint8_t* bytes = nullptr;
            const int size = avio_close_dyn_buf(io_, &bytes);
            io_ = nullptr;
            content.assign(bytes, bytes + std::max(size, 0));
            av_free(bytes);
        }
        return content;
    }

  private:
    AVIOContext* io_ = nullptr;
};

} // namespace

Expected<std::int64_t, PlatformError>
addTracks(AVFormatContext& format, std::span<const AVStream* const> streams) {
    // Samples go in as they are: times are not moved, nothing is converted.
    format.avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    format.flags &= ~AVFMT_FLAG_AUTO_BSF;
    // The default is a millisecond.
    std::int64_t finestUnit = 1000;
    for (const AVStream* source : streams) {
        AVStream* const stream = avformat_new_stream(&format, nullptr);
        if (stream == nullptr) {
            throw std::bad_alloc{};
        }
        if (const int result = avcodec_parameters_copy(stream->codecpar, source->codecpar);
            result < 0) {
            return unexpected{mediaError(result)};
        }
        stream->codecpar->codec_tag = 0; // MP4 has its own name for the coding
        if (stream->codecpar->codec_id == AV_CODEC_ID_AAC && stream->codecpar->frame_size == 0) {
            stream->codecpar->frame_size = 1024; // or the library warns of it each time
        }
        stream->time_base = source->time_base;
        stream->avg_frame_rate = source->avg_frame_rate;
        stream->sample_aspect_ratio = source->sample_aspect_ratio;
        stream->disposition = source->disposition;
        av_dict_copy(&stream->metadata, source->metadata, 0);
        finestUnit = std::max<std::int64_t>(finestUnit, source->time_base.den);
    }
    return finestUnit;
}

Expected<std::vector<std::uint8_t>, PlatformError>
describeMovie(std::span<const AVStream* const> streams, const MovieTags& tags) {
    AVFormatContext* created = nullptr;
    if (const int result = avformat_alloc_output_context2(&created, nullptr, "mp4", nullptr);
        result < 0) {
        return unexpected{mediaError(result)};
    }
    FileInMemory file;
    const FormatHandle format{created};
    format->pb = file.io();
    const auto finestUnit = addTracks(*format, streams);
    if (!finestUnit) {
        return unexpected{finestUnit.error()};
    }
    Options options;
    options.set("movflags", "empty_moov");
    options.set("movie_timescale", *finestUnit);
    options.set("use_editlist", std::int64_t{0});
    if (const int result = writeHeader(*format, tags, options); result < 0) {
        return unexpected{mediaError(result)};
    }
    format->pb = nullptr;
    const std::vector<std::uint8_t> header = file.take();
    BigEndianReader boxes{header};
    while (const auto box = nextBox(boxes)) {
        if (box->type == boxType("moov")) {
            return std::vector<std::uint8_t>{box->payload.begin(), box->payload.end()};
        }
    }
    return unexpected{recordingError("the media library wrote no header")};
}

} // namespace brindle::media
