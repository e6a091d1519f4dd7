#include "BrindleRecorderLinux/Capture/Convert/MovieIndex.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/BigEndianReader.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/BigEndianWriter.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"

#include <algorithm>
#include <limits>

namespace brindle::media {

namespace {

constexpr std::int64_t largestShort = std::numeric_limits<std::uint32_t>::max();

std::uint32_t shortNumber(std::int64_t value) {
    return static_cast<std::uint32_t>(value);
}

/// Equal numbers in a row, counted: how the tables of durations and chunks are written.
class Runs {
  public:
    struct Run {
        std::int64_t count = 0;
        std::int64_t value = 0;
    };
    void add(std::int64_t value) {
        if (runs_.empty() || runs_.back().value != value) {
            runs_.push_back({0, value});
        }
        ++runs_.back().count;
    }
    [[nodiscard]] const std::vector<Run>& all() const { return runs_; }

  private:
    std::vector<Run> runs_;
};

/// Samples of one track that lie one behind the other.
struct Chunk {
    std::int64_t offset = 0;
    std::int64_t samples = 0;
};

std::vector<Chunk> chunksOf(const Samples& samples) {
    std::vector<Chunk> chunks;
    std::int64_t end = -1;
    for (const FragmentSample& sample : samples) {
        if (sample.offset != end) {
            chunks.push_back({.offset = sample.offset, .samples = 0});
        }
        ++chunks.back().samples;
        end = sample.offset + sample.size;
    }
    return chunks;
}

/// When a track is shown, in ticks of the movie.
struct Showing {
    std::int64_t start = 0;
    std::int64_t duration = 0; ///< of the media
    [[nodiscard]] std::int64_t end() const { return start + duration; }
};

class IndexWriter {
  public:
    IndexWriter(std::span<const std::uint8_t> description, const std::vector<IndexTrack>& tracks)
        : description_{description}, tracks_{tracks} {}

    std::optional<std::vector<std::uint8_t>> write() {
        if (!readTimescale()) {
            return std::nullopt;
        }
        for (const IndexTrack& track : tracks_) {
            if (!canBeListed(track)) {
                return std::nullopt;
            }
            showings_.push_back(showingOf(track));
        }
        movie();
        return isRight_ && written_ == tracks_.size() ? std::optional{index_.take()} : std::nullopt;
    }

  private:
    /// Of the movie header (ISO/IEC 14496-12, 8.2.2 `mvhd`).
    bool readTimescale() {
        BigEndianReader boxes{description_};
        while (const auto box = nextBox(boxes)) {
            if (box->type == boxType("mvhd")) {
                BigEndianReader fields{box->payload};
                fields.skip(readFullBoxHeader(fields).version == 1 ? 16 : 8);
                timescale_ = fields.u32();
            }
        }
        constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
        return boxes.ok() && timescale_ > 0 && timescale_ <= largest;
    }

    static bool canBeListed(const IndexTrack& track) {
        // Products with a timescale must not go beyond what the type holds.
        if (track.samples.empty() || track.timescale == 0 || track.duration() > largestShort ||
            track.samples.front().decodeTime > largestShort) {
            return false;
        }
        const FragmentSample* before = nullptr;
        for (const FragmentSample& sample : track.samples) {
            const bool isInOrder = before == nullptr || sample.decodeTime > before->decodeTime;
            if (!isInOrder || sample.compositionOffset != 0) {
                return false;
            }
            before = &sample;
        }
        return true;
    }

    [[nodiscard]] Showing showingOf(const IndexTrack& track) const {
        const std::int64_t start = track.samples.front().decodeTime;
        const std::int64_t half = track.timescale / 2;
        const std::int64_t almostOne = std::int64_t{track.timescale} - 1;
        return {
            .start = (start * timescale_ + half) / track.timescale,
            .duration = (track.duration() * timescale_ + almostOne) / track.timescale};
    }

    void movie() {
        index_.box(boxType("moov"), [this] {
            BigEndianReader boxes{description_};
            while (const auto box = nextBox(boxes)) {
                switch (box->type) {
                case boxType("mvhd"):
                    header(*box, 16, 24, std::ranges::max(showings_, {}, &Showing::end).end());
                    break;
                case boxType("trak"):
                    track(*box);
                    break;
                case boxType("mvex"):
                    break; // there are no fragments to come
                default:
                    copy(*box);
                }
            }
            isRight_ = isRight_ && boxes.ok();
        });
    }

    void track(const Box& box) {
        if (written_ == tracks_.size()) {
            isRight_ = false;
            return;
        }
        const IndexTrack& track = tracks_[written_];
        const Showing& showing = showings_[written_];
        ++written_;
        index_.box(box.type, [&] {
            BigEndianReader boxes{box.payload};
            while (const auto part = nextBox(boxes)) {
                switch (part->type) {
                case boxType("tkhd"):
                    header(*part, 20, 28, showing.end());
                    edits(showing);
                    break;
                case boxType("edts"):
                    break;
                case boxType("mdia"):
                    media(*part, track);
                    break;
                default:
                    copy(*part);
                }
            }
            isRight_ = isRight_ && boxes.ok();
        });
    }

    /// Edit list (ISO/IEC 14496-12, 8.6.6 `elst`). Without one a track begins with the movie.
    void edits(const Showing& showing) {
        if (showing.start == 0) {
            return;
        }
        constexpr std::uint32_t usualSpeed = 0x10000;
        constexpr std::uint32_t nothing = 0xFFFFFFFF;
        index_.box(boxType("edts"), [&] {
            index_.fullBox(boxType("elst"), {}, [&] {
                index_.u32(2);
                index_.u32(fitting(showing.start));
                index_.u32(nothing);
                index_.u32(usualSpeed);
                index_.u32(fitting(showing.duration));
                index_.u32(0);
                index_.u32(usualSpeed);
            });
        });
    }

    void media(const Box& box, const IndexTrack& track) {
        index_.box(box.type, [&] {
            BigEndianReader boxes{box.payload};
            while (const auto part = nextBox(boxes)) {
                if (part->type == boxType("mdhd")) {
                    BigEndianReader fields{part->payload};
                    fields.skip(readFullBoxHeader(fields).version == 1 ? 16 : 8);
                    isRight_ = isRight_ && fields.u32() == track.timescale;
                    header(*part, 16, 24, track.duration());
                } else if (part->type == boxType("minf")) {
                    mediaInformation(*part, track);
                } else {
                    copy(*part);
                }
            }
            isRight_ = isRight_ && boxes.ok();
        });
    }

    void mediaInformation(const Box& box, const IndexTrack& track) {
        index_.box(box.type, [&] {
            BigEndianReader boxes{box.payload};
            while (const auto part = nextBox(boxes)) {
                if (part->type == boxType("stbl")) {
                    sampleTable(*part, track);
                } else {
                    copy(*part);
                }
            }
            isRight_ = isRight_ && boxes.ok();
        });
    }

    void sampleTable(const Box& box, const IndexTrack& track) {
        index_.box(box.type, [&] {
            BoxType coding = 0;
            BigEndianReader boxes{box.payload};
            while (const auto part = nextBox(boxes)) {
                if (part->type == boxType("stsd")) {
                    copy(*part);
                    BigEndianReader fields{part->payload};
                    fields.skip(12);
                    coding = fields.u32();
                }
            }
            isRight_ = isRight_ && boxes.ok() && coding != 0;
            times(track.samples);
            keyFrames(track.samples);
            places(track.samples);
            if (coding == boxType("mp4a")) {
                runUp(track.samples);
            }
        });
    }

    /// 8.6.1.2 `stts`
    void times(const Samples& samples) {
        Runs durations;
        for (std::size_t next = 1; next < samples.size(); ++next) {
            durations.add(samples[next].decodeTime - samples[next - 1].decodeTime);
        }
        durations.add(samples.back().duration);
        index_.fullBox(boxType("stts"), {}, [&] {
            index_.u32(fitting(std::ssize(durations.all())));
            for (const auto& run : durations.all()) {
                index_.u32(fitting(run.count));
                index_.u32(fitting(run.value));
            }
        });
    }

    /// 8.6.2 `stss`; without it every sample is one.
    void keyFrames(const Samples& samples) {
        if (std::ranges::all_of(samples, &FragmentSample::isSync)) {
            return;
        }
        index_.fullBox(boxType("stss"), {}, [&] {
            index_.u32(fitting(std::ranges::count_if(samples, &FragmentSample::isSync)));
            std::uint32_t number = 0;
            for (const FragmentSample& sample : samples) {
                ++number;
                if (sample.isSync) {
                    index_.u32(number);
                }
            }
        });
    }

    /// 8.7.3.2 `stsz`, 8.7.4 `stsc`, 8.7.5 `stco`
    void places(const Samples& samples) {
        index_.fullBox(boxType("stsz"), {}, [&] {
            index_.u32(0);
            index_.u32(fitting(std::ssize(samples)));
            for (const FragmentSample& sample : samples) {
                index_.u32(sample.size);
            }
        });
        const std::vector<Chunk> chunks = chunksOf(samples);
        Runs lengths;
        for (const Chunk& chunk : chunks) {
            lengths.add(chunk.samples);
        }
        index_.fullBox(boxType("stsc"), {}, [&] {
            index_.u32(fitting(std::ssize(lengths.all())));
            std::int64_t firstChunk = 1;
            for (const auto& run : lengths.all()) {
                index_.u32(fitting(firstChunk));
                index_.u32(fitting(run.value));
                index_.u32(1); // the only sample description
                firstChunk += run.count;
            }
        });
        const bool isLong = std::ranges::max(chunks, {}, &Chunk::offset).offset > largestShort;
        index_.fullBox(isLong ? boxType("co64") : boxType("stco"), {}, [&] {
            index_.u32(fitting(std::ssize(chunks)));
            for (const Chunk& chunk : chunks) {
                if (isLong) {
                    index_.u64(static_cast<std::uint64_t>(chunk.offset));
                } else {
                    index_.u32(shortNumber(chunk.offset));
                }
            }
        });
    }

    /// A block of this sound is complete only with the one before it (ISO/IEC 14496-12, 10.1
    /// `roll`, 8.9.2 `sbgp`, 8.9.3 `sgpd`).
    void runUp(const Samples& samples) {
        constexpr std::uint16_t oneBefore = 0xFFFF;
        index_.fullBox(boxType("sgpd"), {.version = 1, .flags = 0}, [&] {
            index_.u32(boxType("roll"));
            index_.u32(2); // bytes of each description
            index_.u32(1);
            index_.u16(oneBefore);
        });
        index_.fullBox(boxType("sbgp"), {}, [&] {
            index_.u32(boxType("roll"));
            index_.u32(1);
            index_.u32(fitting(std::ssize(samples)));
            index_.u32(1);
        });
    }

    /// Copies a header box with another duration, which stands at one of these places of its
    /// content, by the box's version.
    void
    header(const Box& box, std::size_t shortPlace, std::size_t longPlace, std::int64_t duration) {
        const bool isLong = !box.payload.empty() && box.payload.front() == 1;
        const std::size_t place = isLong ? longPlace : shortPlace;
        const std::size_t size = isLong ? 8 : 4;
        std::vector<std::uint8_t> content{box.payload.begin(), box.payload.end()};
        if (content.size() < place + size) {
            isRight_ = false;
            return;
        }
        BigEndianWriter::putNumber(
            isLong ? static_cast<std::uint64_t>(duration) : fitting(duration),
            std::span{content}.subspan(place, size));
        copy({.type = box.type, .payload = content});
    }

    void copy(const Box& box) {
        index_.box(box.type, [&] { index_.put(box.payload); });
    }

    /// The number in four bytes; where it has no room in them there is no index.
    std::uint32_t fitting(std::int64_t value) {
        isRight_ = isRight_ && value >= 0 && value <= largestShort;
        return shortNumber(value);
    }

    std::span<const std::uint8_t> description_;
    const std::vector<IndexTrack>& tracks_;
    std::int64_t timescale_ = 0; ///< of the movie, ticks in a second
    std::vector<Showing> showings_;
    std::size_t written_ = 0; ///< tracks
    bool isRight_ = true;
    BigEndianWriter index_;
};

} // namespace

std::optional<std::vector<std::uint8_t>>
makeMovieIndex(std::span<const std::uint8_t> description, const std::vector<IndexTrack>& tracks) {
    return tracks.empty() ? std::nullopt : IndexWriter{description, tracks}.write();
}

} // namespace brindle::media
