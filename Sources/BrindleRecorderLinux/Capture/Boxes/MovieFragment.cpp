#include "BrindleRecorderLinux/Capture/Boxes/MovieFragment.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"

#include <algorithm>
#include <limits>

namespace brindle::media {

namespace {

/// An hour of sound in one fragment has fewer.
constexpr std::size_t mostSamplesOfAFragment = std::size_t{1} << 18U;

/// The bit in a sample's flags that says it is no key frame (ISO/IEC 14496-12, 8.8.3.1).
constexpr std::uint32_t isNonSyncSample = 0x10000;

/// The lead of a base offset in a file; more would make sums overflow.
constexpr std::uint64_t furthestOffset = std::uint64_t{1} << 60U;

class FragmentParser {
  public:
    FragmentParser(
        std::int64_t offset, std::int64_t end, const std::vector<TrackHeader>& tracks,
        const std::vector<TrackTime>& times)
        : offset_{offset}, end_{end}, tracks_{tracks}, implicitBase_{offset} {
        fragment_.dataEnd = end;
        fragment_.times = times;
    }

    std::optional<MovieFragment> parse(std::span<const std::uint8_t> payload) {
        BigEndianReader boxes{payload};
        // The sequence number comes first (8.8.5 `mfhd`); a search for fragments in damaged data
        // relies on that to drop most places at once.
        const auto first = nextBox(boxes);
        if (!first || first->type != boxType("mfhd") || first->payload.size() != 8) {
            return std::nullopt;
        }
        while (const auto box = nextBox(boxes)) {
            if (box->type == boxType("traf") && !readTrackFragment(BigEndianReader{box->payload})) {
                return std::nullopt;
            }
        }
        // Samples that overlap would let a small file ask for any amount of memory.
        if (!boxes.ok() || dataBytes_ > fragment_.dataEnd - end_) {
            return std::nullopt;
        }
        // As a rule they are in order, and sorting would take longer than the rest.
        if (!std::ranges::is_sorted(fragment_.samples, {}, &FragmentSample::offset)) {
            std::ranges::stable_sort(fragment_.samples, {}, &FragmentSample::offset);
        }
        return std::move(fragment_);
    }

  private:
    /// What a track fragment header leaves for its runs.
    struct Defaults {
        std::uint32_t duration = 0;
        std::uint32_t size = 0;
        std::uint32_t flags = 0;
    };

    /// Track fragment (8.8.6 `traf`).
    bool readTrackFragment(BigEndianReader boxes) {
        const auto header = nextBox(boxes);
        if (!header || header->type != boxType("tfhd") ||
            !readTrackFragmentHeader(BigEndianReader{header->payload})) {
            return false;
        }
        bool hasSamples = false;
        while (const auto box = nextBox(boxes)) {
            if (box->type == boxType("tfdt")) {
                if (hasSamples || !readDecodeTime(BigEndianReader{box->payload})) {
                    return false;
                }
            } else if (box->type == boxType("trun")) {
                hasSamples = true;
                if (!readRun(BigEndianReader{box->payload})) {
                    return false;
                }
            }
        }
        implicitBase_ = runOffset_;
        return boxes.ok();
    }

    /// Track fragment header (8.8.7 `tfhd`).
    bool readTrackFragmentHeader(BigEndianReader fields) {
        const std::uint32_t flags = readFullBoxHeader(fields).flags;
        const std::uint32_t id = fields.u32();
        const auto track = std::ranges::find(tracks_, id, &TrackHeader::id);
        if (track == tracks_.end()) {
            return false;
        }
        track_ = static_cast<std::size_t>(track - tracks_.begin());
        base_ = implicitBase_;
        if ((flags & 0x1U) != 0) {
            const std::uint64_t base = fields.u64();
            if (base > furthestOffset) {
                return false;
            }
            base_ = static_cast<std::int64_t>(base);
        } else if ((flags & 0x20000U) != 0) {
            base_ = offset_;
        }
        fields.skip((flags & 0x2U) != 0 ? 4 : 0); // sample description
        defaults_.duration = (flags & 0x8U) != 0 ? fields.u32() : track->defaultSampleDuration;
        defaults_.size = (flags & 0x10U) != 0 ? fields.u32() : track->defaultSampleSize;
        defaults_.flags = (flags & 0x20U) != 0 ? fields.u32() : track->defaultSampleFlags;
        runOffset_ = base_;
        return fields.ok();
    }

    /// Track fragment decode time (8.8.12 `tfdt`).
    bool readDecodeTime(BigEndianReader fields) {
        const bool isLong = readFullBoxHeader(fields).version == 1;
        const std::uint64_t time = isLong ? fields.u64() : fields.u32();
        if (!fields.ok() || time > furthestOffset) {
            return false;
        }
        TrackTime& reached = fragment_.times[track_];
        const auto start = static_cast<std::int64_t>(time);
        const std::int64_t longestGap = longestGapSeconds * tracks_[track_].timescale;
        if (start - reached.next > longestGap ||
            (reached.lastSample && start <= *reached.lastSample)) {
            return false;
        }
        reached.next = start;
        return true;
    }

    /// Track run (8.8.8 `trun`).
    bool readRun(BigEndianReader fields) {
        const FullBoxHeader header = readFullBoxHeader(fields);
        const std::uint32_t count = fields.u32();
        if ((header.flags & 0x1U) != 0) {
            runOffset_ = base_ + fields.i32();
        }
        const bool hasFirstFlags = (header.flags & 0x4U) != 0;
        const std::uint32_t firstFlags = hasFirstFlags ? fields.u32() : 0;
        if (!fields.ok() || runOffset_ < end_ ||
            count > mostSamplesOfAFragment - fragment_.samples.size()) {
            return false;
        }
        TrackTime& reached = fragment_.times[track_];
        const std::int64_t longestGap = longestGapSeconds * tracks_[track_].timescale;
        for (std::uint32_t index = 0; index < count; ++index) {
            FragmentSample sample{.track = track_, .offset = runOffset_};
            sample.duration = (header.flags & 0x100U) != 0 ? fields.u32() : defaults_.duration;
            sample.size = (header.flags & 0x200U) != 0 ? fields.u32() : defaults_.size;
            std::uint32_t flags = (header.flags & 0x400U) != 0 ? fields.u32() : defaults_.flags;
            if (index == 0 && hasFirstFlags) {
                flags = firstFlags;
            }
            if ((header.flags & 0x800U) != 0) {
                sample.compositionOffset = header.version == 0
                                               ? static_cast<std::int64_t>(fields.u32())
                                               : static_cast<std::int64_t>(fields.i32());
            }
            // No picture and no sound is empty: zeros have taken the sizes' place. The media
            // library refuses the whole movie for one of them.
            if (!fields.ok() || sample.size == 0 || sample.duration > longestGap) {
                return false;
            }
            sample.isSync = (flags & isNonSyncSample) == 0;
            sample.decodeTime = reached.next;
            reached.lastSample = reached.next;
            reached.next += sample.duration;
            runOffset_ += sample.size;
            dataBytes_ += sample.size;
            fragment_.samples.push_back(sample);
        }
        fragment_.dataEnd = std::max(fragment_.dataEnd, runOffset_);
        // A run that says less than its box holds has been damaged.
        return fields.remaining() == 0;
    }

    std::int64_t offset_;
    std::int64_t end_;
    const std::vector<TrackHeader>& tracks_;
    MovieFragment fragment_;
    std::int64_t implicitBase_;  ///< for a track fragment that names no base: where the last ended
    std::int64_t dataBytes_ = 0; ///< of all samples together
    std::size_t track_ = 0;      ///< of the track fragment being read
    Defaults defaults_;          ///< of the track fragment being read
    std::int64_t base_ = 0;      ///< of the track fragment being read
    std::int64_t runOffset_ = 0; ///< where the next run starts
};

} // namespace

std::optional<MovieFragment> parseFragment(
    std::span<const std::uint8_t> payload, std::int64_t offset, std::int64_t end,
    const std::vector<TrackHeader>& tracks, const std::vector<TrackTime>& times) {
    return FragmentParser{offset, end, tracks, times}.parse(payload);
}

} // namespace brindle::media
