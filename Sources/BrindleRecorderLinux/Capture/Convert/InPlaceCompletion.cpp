#include "BrindleRecorderLinux/Capture/Convert/InPlaceCompletion.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieIndex.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieReader.hpp"
#include "BrindleRecorderLinux/Capture/Convert/OpenedAs.hpp"
#include "BrindleRecorderLinux/Capture/Convert/OutputTracks.hpp"
#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace brindle::media {

namespace {

using Reason = std::optional<std::string>;

std::optional<MovieOpening> openingOf(ByteSource& movie) {
    MovieOpening::Bytes bytes{};
    const auto count = movie.readAt(0, bytes);
    return count ? MovieOpening::parse(std::span{bytes}.first(*count)) : std::nullopt;
}

bool haveSameCoding(const AVStream& one, const AVStream& other) {
    const AVCodecParameters& a = *one.codecpar;
    const AVCodecParameters& b = *other.codecpar;
    const auto configuration = [](const AVCodecParameters& of) {
        return std::span{of.extradata, static_cast<std::size_t>(of.extradata_size)};
    };
    return a.codec_type == b.codec_type && a.codec_id == b.codec_id && a.width == b.width &&
           a.height == b.height && a.sample_rate == b.sample_rate &&
           a.ch_layout.nb_channels == b.ch_layout.nb_channels &&
           std::ranges::equal(configuration(a), configuration(b)) &&
           av_cmp_q(one.time_base, other.time_base) == 0;
}

/// The record begins with its version (ISO/IEC 14496-15, 5.3.3.1). Without it the library takes the
/// samples for another format.
bool isConfigured(const AVCodecParameters& parameters) {
    return parameters.codec_id != AV_CODEC_ID_H264 ||
           (parameters.extradata_size > 0 && parameters.extradata[0] == 1);
}

/// Whether the library's list of a track's samples is ours. All times may be moved alike, by no
/// more than can be lost where the movie's units are not the track's.
bool listsThese(AVStream& stream, const Samples& samples) {
    if (avformat_index_get_entries_count(&stream) != std::ssize(samples)) {
        return false;
    }
    std::optional<std::int64_t> moved;
    int number = 0;
    for (const FragmentSample& sample : samples) {
        const AVIndexEntry& entry = *avformat_index_get_entry(&stream, number++);
        const std::int64_t difference = entry.timestamp - sample.decodeTime;
        const bool isKey = (entry.flags & AVINDEX_KEYFRAME) != 0;
        if (entry.pos != sample.offset || entry.size != static_cast<int>(sample.size) ||
            isKey != sample.isSync || (entry.flags & AVINDEX_DISCARD_FRAME) != 0 ||
            difference != moved.value_or(difference) || std::abs(difference) > 1) {
            return false;
        }
        moved = difference;
    }
    return true;
}

/// One recording on its way from fragments to a whole.
class Completion {
  public:
    Completion(EditableBytes& movie, const MovieOpening& opening, CopyControl& control)
        : movie_{movie}, opening_{opening},
          inTheMaking_{.roomSize = opening.roomSize, .index = std::nullopt}, control_{control},
          fragments_{movie, inTheMaking_} {}

    Reason run(SampleBytes bytes) {
        if (auto reason = readFragments()) {
            return reason;
        }
        if (bytes == SampleBytes::unproven) {
            if (auto reason = readSamples()) {
                return reason;
            }
        }
        auto reason = opening_.index ? examineWhole() : makeWhole();
        control_.progress = reason ? control_.progress.load() : 1;
        return reason;
    }

  private:
    /// What the fragments list, if all of it is there.
    Reason readFragments() {
        std::int64_t end = 0;
        std::vector<Samples> samples;
        auto layout = scanMovie(fragments_, [&](const std::vector<FragmentSample>& some) {
            for (const FragmentSample& sample : some) {
                samples.resize(std::max(samples.size(), sample.track + 1));
                samples[sample.track].push_back(sample);
                end = std::max(end, sample.offset + sample.size);
            }
        });
        if (!layout || !layout->fragmented || layout->samples == 0) {
            return "it has no readable fragments";
        }
        if (layout->isEdited) {
            return "it is edited";
        }
        if (!layout->standIns.empty() || end > movie_.size()) {
            return "it is damaged";
        }
        layout_ = std::move(*layout);
        auto reader = MovieReader::open(fragments_, layout_, MovieView::Access::inOneGo);
        if (!reader) {
            return reader.error().description;
        }
        reader_ = std::move(*reader);
        const AVFormatContext& format = reader_->format();
        tracks_.reserve(samples.size());
        for (std::size_t track = 0; track < samples.size(); ++track) {
            if (samples[track].empty()) {
                continue;
            }
            if (track >= format.nb_streams || !reader_->hasSamples(static_cast<int>(track))) {
                return "it has a track that is neither picture nor sound";
            }
            const AVStream* const stream = format.streams[track];
            if (!isConfigured(*stream->codecpar)) {
                return "a decoder's configuration is damaged";
            }
            streams_.push_back(stream);
            tracks_.push_back(
                {.timescale = static_cast<std::uint32_t>(stream->time_base.den),
                 .samples = std::move(samples[track])});
        }
        return std::nullopt;
    }

    /// Whether every sample is what an encoder may have written.
    Reason readSamples() {
        const PacketHandle packet{av_packet_alloc()};
        if (!packet) {
            throw std::bad_alloc{};
        }
        std::int64_t readable = 0;
        for (;;) {
            const auto hasSample = reader_->next(*packet);
            if (!hasSample) {
                return hasSample.error().description;
            }
            if (!*hasSample) {
                break;
            }
            ++readable;
            control_.progress =
                static_cast<double>(reader_->reached()) / static_cast<double>(movie_.size());
            if (control_.cancelled) {
                return "it was cancelled";
            }
        }
        return readable == layout_.samples ? std::nullopt : Reason{"samples of it are damaged"};
    }

    /// It has been made whole before, and something has come between that and its new name.
    Reason examineWhole() {
        if (reads(opening_)) {
            return std::nullopt;
        }
        // All that it lists is in the fragments as well.
        return exchangeOpening(inTheMaking_) ? "its index is damaged"
                                             : "its opening could not be written";
    }

    Reason makeWhole() {
        const auto description = describeMovie(streams_, MovieTags::of(reader_->format()));
        const auto index = description ? makeMovieIndex(*description, tracks_) : std::nullopt;
        if (!index) {
            return "an index cannot hold what it lists";
        }
        const std::int64_t size = movie_.size();
        const MovieOpening whole{.roomSize = opening_.roomSize, .index = size};
        if (int error = movie_.append(*index); error != 0 || (error = movie_.sync()) != 0) {
            takeBackTo(size);
            return std::string{"its index could not be written: "} + std::strerror(error);
        }
        if (control_.cancelled || !reads(whole)) {
            takeBackTo(size);
            return control_.cancelled ? "it was cancelled"
                                      : "its samples would not be found unchanged";
        }
        if (!exchangeOpening(whole)) {
            // Nobody knows which of the two is on the disk, and both find all they need, as long as
            // the index stays.
            if (exchangeOpening(inTheMaking_)) {
                takeBackTo(size);
            }
            return "its opening could not be written";
        }
        return std::nullopt;
    }

    /// Whether the movie with that opening has all the samples of the fragments, and no others.
    bool reads(const MovieOpening& opening) {
        OpenedAs movie{movie_, opening};
        const auto layout = scanMovie(movie);
        if (!layout || layout->fragmented || !layout->standIns.empty() ||
            layout->samples != layout_.samples || layout->end != movie.size()) {
            return false;
        }
        const auto reader = MovieReader::open(movie, *layout, MovieView::Access::anywhere);
        if (!reader || (*reader)->format().nb_streams != tracks_.size()) {
            return false;
        }
        Seconds end{0};
        for (std::size_t number = 0; number < tracks_.size(); ++number) {
            AVStream& stream = *(*reader)->format().streams[number];
            const IndexTrack& track = tracks_[number];
            if (!haveSameCoding(stream, *streams_[number]) || stream.duration != track.duration() ||
                !listsThese(stream, track.samples)) {
                return false;
            }
            const std::int64_t trackEnd = track.samples.front().decodeTime + track.duration();
            end = std::max(end, Seconds{static_cast<double>(trackEnd) / track.timescale});
        }
        constexpr Seconds rounding{0.002};
        return end <= layout->duration + rounding && layout->duration <= end + rounding;
    }

    [[nodiscard]] bool exchangeOpening(const MovieOpening& opening) {
        return movie_.overwrite(0, opening.bytes()) == 0 && movie_.sync() == 0;
    }

    /// What was appended says nothing new, and nothing minds it where it cannot be removed.
    void takeBackTo(std::int64_t size) { static_cast<void>(movie_.cutTo(size)); }

    EditableBytes& movie_;
    MovieOpening opening_;
    MovieOpening inTheMaking_;
    CopyControl& control_;
    OpenedAs fragments_;
    MovieLayout layout_; ///< of the fragments
    std::unique_ptr<MovieReader> reader_;
    std::vector<const AVStream*> streams_; ///< with samples
    std::vector<IndexTrack> tracks_;       ///< of those
};

} // namespace

std::optional<std::string>
completeInPlace(EditableBytes& movie, SampleBytes bytes, CopyControl& control) {
    const auto opening = openingOf(movie);
    if (!opening) {
        return "it is no recording of this program's";
    }
    return Completion{movie, *opening, control}.run(bytes);
}

} // namespace brindle::media
