#include "BrindleRecorderLinux/Capture/Convert/MovieReader.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <algorithm>
#include <new>
#include <span>

namespace brindle::media {

namespace {

/// Samples in a row that the library may refuse before the rest is given up: more than the
/// fragment that a cut has left without its data can have in practice.
constexpr int mostRefusalsInARow = 100'000;

SampleFormat sampleFormat(const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
        return h264Format(
            {parameters.extradata, static_cast<std::size_t>(parameters.extradata_size)});
    case AV_CODEC_ID_AAC:
        return {.coding = SampleCoding::aac};
    default:
        return {};
    }
}

} // namespace

Expected<std::unique_ptr<MovieReader>, PlatformError>
MovieReader::open(ByteSource& source, const MovieLayout& layout, MovieView::Access access) {
    std::unique_ptr<MovieReader> reader{new MovieReader{source, layout, access}};
    if (auto opened = reader->openInput(); !opened) {
        return unexpected{std::move(opened.error())};
    }
    reader->findTracks();
    reader->countMissingSamples();
    return reader;
}

MovieReader::MovieReader(ByteSource& source, const MovieLayout& layout, MovieView::Access access)
    : layout_{layout}, view_{source, layout, access}, access_{access} {}

Expected<void, PlatformError> MovieReader::openInput() {
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) {
        throw std::bad_alloc{};
    }
    format->pb = view_.io();
    // Samples are handed on as they stand: nothing is parsed, guessed or filled in.
    format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    if (access_ == MovieView::Access::inOneGo) {
        // Fragments are taken as they come, not looked up in an index at the end of the file.
        format->flags |= AVFMT_FLAG_IGNIDX;
    }
    // On failure the library frees the context.
    const int result = avformat_open_input(&format, nullptr, av_find_input_format("mov"), nullptr);
    if (result < 0) {
        return unexpected{
            view_.readError() != 0 ? systemError(view_.readError()) : mediaError(result)};
    }
    format_.reset(format);
    return {};
}

void MovieReader::findTracks() {
    for (const AVStream* stream : std::span{format_->streams, format_->nb_streams}) {
        const AVCodecParameters& parameters = *stream->codecpar;
        const bool isPicture = parameters.codec_type == AVMEDIA_TYPE_VIDEO &&
                               (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
        const bool isSound = parameters.codec_type == AVMEDIA_TYPE_AUDIO;
        if ((!isPicture && !isSound) || parameters.codec_id == AV_CODEC_ID_NONE) {
            tracks_.emplace_back();
            continue;
        }
        const auto kind = isPicture ? TrackFilter::Kind::pictures : TrackFilter::Kind::sound;
        tracks_.push_back(Track{sampleFormat(parameters), kind, TrackFilter{kind}, {}, -1});
    }
}

void MovieReader::countMissingSamples() {
    // Reading in one go meets the end of the file after everything that can be read.
    if (access_ == MovieView::Access::inOneGo) {
        return;
    }
    for (AVStream* stream : std::span{format_->streams, format_->nb_streams}) {
        const int count = avformat_index_get_entries_count(stream);
        for (int index = 0; index < count; ++index) {
            const AVIndexEntry* entry = avformat_index_get_entry(stream, index);
            missingSamples_ += entry->pos > layout_.end - entry->size ? 1 : 0;
        }
    }
}

bool MovieReader::hasSamples(int stream) const {
    const auto index = static_cast<std::size_t>(stream);
    return stream >= 0 && index < tracks_.size() && tracks_[index].has_value();
}

Expected<bool, PlatformError> MovieReader::next(AVPacket& packet) {
    for (int refusals = 0; refusals < mostRefusalsInARow;) {
        av_packet_unref(&packet);
        const int result = av_read_frame(format_.get(), &packet);
        if (view_.readError() != 0) {
            return unexpected{systemError(view_.readError())};
        }
        if (result == AVERROR_EOF) {
            // A sample of one track that is missing says nothing of the other's.
            if (missed_ == missingSamples_) {
                break;
            }
            ++missed_;
            continue;
        }
        if (result < 0) {
            ++refusals;
            continue;
        }
        refusals = 0;
        supplyDuration(packet);
        if (keeps(packet)) {
            noteKept(packet);
            return true;
        }
        noteLeftOut(packet);
    }
    av_packet_unref(&packet);
    return false;
}

/// Versions of the library before 6.1 tell no durations. A sample lasts until the next one starts,
/// so this matters for the last one only: that one's is known from its fragment, or else taken to
/// be as long as the one before.
void MovieReader::supplyDuration(AVPacket& packet) {
    if (!hasSamples(packet.stream_index) || packet.dts == AV_NOPTS_VALUE) {
        return;
    }
    Track& track = *tracks_[static_cast<std::size_t>(packet.stream_index)];
    if (packet.duration <= 0 && track.lastDecodeTime && packet.dts > *track.lastDecodeTime) {
        packet.duration = packet.dts - *track.lastDecodeTime;
    }
    const auto last = std::ranges::find(layout_.lastSamples, packet.pos, &FragmentSample::offset);
    if (last != layout_.lastSamples.end()) {
        packet.duration = last->duration;
    }
    track.lastDecodeTime = packet.dts;
}

bool MovieReader::isFragmentLostBetween(std::int64_t from, std::int64_t to) const {
    const auto isLost = [](const StandInBox& box) {
        return box.type == boxType("free");
    };
    const auto first = std::ranges::upper_bound(layout_.standIns, from, {}, &StandInBox::offset);
    const auto last = std::ranges::find_if(
        first, layout_.standIns.end(), [to](const StandInBox& box) { return box.offset >= to; });
    return std::any_of(first, last, isLost);
}

bool MovieReader::keeps(const AVPacket& packet) {
    if (!hasSamples(packet.stream_index) || packet.size < 0 || packet.pos < 0 ||
        packet.dts == AV_NOPTS_VALUE || packet.pts == AV_NOPTS_VALUE) {
        return false;
    }
    Track& track = *tracks_[static_cast<std::size_t>(packet.stream_index)];
    const SamplePlace place{packet.pos, packet.pos == zerosUpTo_};
    if (track.lastPosition >= 0 && isFragmentLostBetween(track.lastPosition, packet.pos)) {
        track.filter.skipGap();
    }
    track.lastPosition = packet.pos;
    const bool intact =
        (packet.flags & AV_PKT_FLAG_CORRUPT) == 0 &&
        mayBeIntact(track.format, {packet.data, static_cast<std::size_t>(packet.size)}, place);
    if (!intact && packet.size > 0 && packet.data[packet.size - 1] == 0) {
        zerosUpTo_ = packet.pos + packet.size;
    }
    return track.filter.keeps(intact, (packet.flags & AV_PKT_FLAG_KEY) != 0, packet.dts);
}

void MovieReader::noteKept(const AVPacket& packet) {
    furthestKept_ = std::max(furthestKept_, packet.pos);
    std::erase_if(leftOutAhead_, [this](const Stretch& stretch) {
        const bool isPassed = stretch.offset < furthestKept_;
        damagedBytes_ += isPassed ? stretch.size : 0;
        return isPassed;
    });
}

/// Tracks are read side by side but may lie one behind the other, so what counts is the place.
void MovieReader::noteLeftOut(const AVPacket& packet) {
    if (!hasSamples(packet.stream_index)) {
        return;
    }
    if (packet.pos < furthestKept_) {
        damagedBytes_ += packet.size;
    } else {
        leftOutAhead_.push_back({packet.pos, packet.size});
    }
}

std::int64_t MovieReader::damagedBytesPassed() const {
    std::int64_t bytes = damagedBytes_;
    for (const StandInBox& box : layout_.standIns) {
        const bool isDamage = box.type == boxType("free");
        bytes += isDamage && box.offset < furthestKept_ ? box.size : 0;
    }
    return bytes;
}

bool MovieReader::seek(Seconds time) {
    const auto target = static_cast<std::int64_t>(time.count() * AV_TIME_BASE);
    if (av_seek_frame(format_.get(), -1, target, AVSEEK_FLAG_BACKWARD) < 0) {
        return false;
    }
    missed_ = 0;
    for (auto& track : tracks_) {
        if (track) {
            track->filter = TrackFilter{track->kind};
            track->lastDecodeTime.reset();
            track->lastPosition = -1;
        }
    }
    return true;
}

Seconds MovieReader::listedDuration() const {
    Seconds longest{0};
    for (const AVStream* stream : std::span{format_->streams, format_->nb_streams}) {
        if (hasSamples(stream->index) && stream->duration != AV_NOPTS_VALUE) {
            longest = std::max(
                longest,
                Seconds{static_cast<double>(stream->duration) * av_q2d(stream->time_base)});
        }
    }
    return longest;
}

} // namespace brindle::media
