#include "BrindleRecorderLinux/Capture/Record/FragmentedMovieWriter.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"
#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace brindle::media {

namespace {

/// How far a track may fall behind before the others stop waiting for it.
constexpr std::chrono::seconds longestWait{1};

constexpr int ioBufferSize = 64 * 1024;

} // namespace

Expected<std::unique_ptr<FragmentedMovieWriter>, PlatformError> FragmentedMovieWriter::create(
    capture::OutputFile file, const std::vector<const AVCodecContext*>& encoders) {
    // The constructor is private, which make_unique cannot reach.
    std::unique_ptr<FragmentedMovieWriter> writer{new FragmentedMovieWriter{std::move(file)}};
    if (const auto opened = writer->open(encoders); !opened) {
        return unexpected{opened.error()};
    }
    return writer;
}

FragmentedMovieWriter::~FragmentedMovieWriter() {
    // What was not finished must not be finished by the library's tidying up.
    abandoned_ = true;
}

Expected<void, PlatformError>
FragmentedMovieWriter::open(const std::vector<const AVCodecContext*>& encoders) {
    AVFormatContext* created = nullptr;
    const int allocated = avformat_alloc_output_context2(&created, nullptr, "mov", nullptr);
    format_.reset(created);
    if (allocated < 0) {
        return settle(allocated);
    }
    void* const buffer = av_malloc(ioBufferSize);
    io_.reset(
        buffer != nullptr ? avio_alloc_context(
                                static_cast<unsigned char*>(buffer), ioBufferSize, 1, this, nullptr,
                                writeBytes, seekFile)
                          : nullptr);
    if (!io_) {
        av_free(buffer);
        return settle(AVERROR(ENOMEM));
    }
    format_->pb = io_.get();
    for (const AVCodecContext* encoder : encoders) {
        AVStream* stream = avformat_new_stream(format_.get(), nullptr);
        const int copied = stream != nullptr
                               ? avcodec_parameters_from_context(stream->codecpar, encoder)
                               : AVERROR(ENOMEM);
        if (copied < 0) {
            return settle(copied);
        }
        // The run-up of the sound was taken out already.
        stream->codecpar->initial_padding = 0;
        stream->time_base = encoder->time_base;
        stream->avg_frame_rate = encoder->framerate;
        stream->sample_aspect_ratio = encoder->sample_aspect_ratio;
        units_.push_back(encoder->time_base);
        waiting_.emplace_back();
    }
    Options options;
    options.set("movflags", "frag_custom+empty_moov+default_base_moof");
    options.set("use_editlist", std::int64_t{0});
    // The library counts places in the file from here on.
    avio_write(io_.get(), MovieOpening::Bytes{}.data(), MovieOpening::length);
    if (const int result = writeHeader(*format_, MovieTags::ofNewMovie(), options); result < 0) {
        return settle(result);
    }
    avio_flush(io_.get());
    if (io_->error < 0) {
        return settle(io_->error);
    }
    return writeOpening();
}

/// In front of the library's header, whose own file type box becomes a part of the room.
Expected<void, PlatformError> FragmentedMovieWriter::writeOpening() {
    const auto ownType = parseBoxHeader(std::span{opening_}.subspan(MovieOpening::length));
    MovieOpening opening{.roomSize = leastMovieRoom, .index = {}};
    if (ownType && ownType->type == boxType("ftyp")) {
        opening.roomSize += static_cast<std::uint32_t>(ownType->size);
    }
    std::ranges::copy(opening.bytes(), opening_.begin());
    collectsOpening_ = false;
    if (const int error = file_.write(opening_); error != 0) {
        return settle(AVERROR(error));
    }
    opening_ = {};
    intactSize_ = file_.size();
    return settle(AVERROR(file_.sync()));
}

Expected<void, PlatformError> FragmentedMovieWriter::write(EncodedPacket packet) {
    waiting_.at(packet.track).push_back(std::move(packet));
    return writeSorted(false);
}

Expected<void, PlatformError> FragmentedMovieWriter::finish() {
    if (auto written = writeSorted(true); !written) {
        return written;
    }
    if (auto ended = endFragment(); !ended) {
        return ended;
    }
    const int result = av_write_trailer(format_.get());
    avio_flush(io_.get());
    if (result < 0 || io_->error < 0) {
        return settle(result < 0 ? result : io_->error);
    }
    return settle(AVERROR(file_.sync()));
}

Expected<void, PlatformError> FragmentedMovieWriter::writeSorted(bool atTheEnd) {
    while (const std::deque<EncodedPacket>* track = nextTrack(atTheEnd)) {
        auto& packets = waiting_.at(track->front().track);
        EncodedPacket packet = std::move(packets.front());
        packets.pop_front();
        if (auto written = mux(std::move(packet)); !written) {
            return written;
        }
    }
    return {};
}

const std::deque<EncodedPacket>* FragmentedMovieWriter::nextTrack(bool atTheEnd) const {
    const std::deque<EncodedPacket>* earliest = nullptr;
    bool isCertain = true;
    for (const auto& packets : waiting_) {
        if (packets.empty()) {
            isCertain = false;
        } else if (earliest == nullptr || packets.front().start < earliest->front().start) {
            earliest = &packets;
        }
    }
    if (earliest == nullptr || isCertain || atTheEnd) {
        return earliest;
    }
    return earliest->back().end - earliest->front().start > longestWait ? earliest : nullptr;
}

Expected<void, PlatformError> FragmentedMovieWriter::mux(EncodedPacket packet) {
    if (packet.startsFragment) {
        if (auto ended = endFragment(); !ended) {
            return ended;
        }
    }
    AVStream* stream = format_->streams[packet.track];
    packet.packet->stream_index = stream->index;
    av_packet_rescale_ts(packet.packet.get(), units_.at(packet.track), stream->time_base);
    if (const int result = av_write_frame(format_.get(), packet.packet.get()); result < 0) {
        return settle(result);
    }
    anythingInFragment_ = true;
    mediaEnd_ = std::max(mediaEnd_, packet.end);
    return {};
}

Expected<void, PlatformError> FragmentedMovieWriter::endFragment() {
    if (!anythingInFragment_) {
        return settle(0);
    }
    const int result = av_write_frame(format_.get(), nullptr);
    avio_flush(io_.get());
    if (result < 0 || io_->error < 0) {
        return settle(result < 0 ? result : io_->error);
    }
    anythingInFragment_ = false;
    if (const int error = file_.sync(); error != 0) {
        return settle(AVERROR(error));
    }
    intactSize_ = file_.size();
    return {};
}

Expected<void, PlatformError> FragmentedMovieWriter::settle(int result) {
    if (result >= 0 && !failed_) {
        return {};
    }
    if (!failed_) {
        failed_ = true;
        cutOffDamage();
    }
    return unexpected{mediaError(result < 0 ? result : AVERROR(EIO))};
}

void FragmentedMovieWriter::cutOffDamage() {
    // Many readers refuse a whole movie whose last fragment is incomplete.
    if (!abandoned_.exchange(true) && intactSize_ > 0) {
        static_cast<void>(file_.truncate(intactSize_));
        static_cast<void>(file_.sync());
    }
}

#if LIBAVFORMAT_VERSION_MAJOR >= 61
int FragmentedMovieWriter::writeBytes(void* opaque, const std::uint8_t* bytes, int count) {
#else
int FragmentedMovieWriter::writeBytes(void* opaque, std::uint8_t* bytes, int count) {
#endif
    auto* const writer = static_cast<FragmentedMovieWriter*>(opaque);
    if (writer->abandoned_) {
        return AVERROR_EXIT;
    }
    if (writer->collectsOpening_) {
        writer->opening_.insert(writer->opening_.end(), bytes, bytes + count);
        return count;
    }
    const int error = writer->file_.write({bytes, static_cast<std::size_t>(count)});
    return error == 0 ? count : AVERROR(error);
}

std::int64_t FragmentedMovieWriter::seekFile(void* opaque, std::int64_t offset, int origin) {
    const auto* writer = static_cast<FragmentedMovieWriter*>(opaque);
    if ((origin & AVSEEK_SIZE) != 0) {
        return writer->file_.size();
    }
    const std::int64_t position = writer->file_.seek(offset, origin & ~AVSEEK_FORCE);
    return position >= 0 ? position : AVERROR(errno);
}

} // namespace brindle::media
