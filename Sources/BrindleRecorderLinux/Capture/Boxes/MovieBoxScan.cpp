#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace brindle::media {

namespace {

constexpr std::int64_t longestMovieHeader = std::int64_t{64} << 20U;
constexpr std::int64_t longestFragmentHeader = std::int64_t{16} << 20U;
constexpr std::int64_t shortestBox = 8;
/// A fragment header is at least its own head and the sequence number.
constexpr std::int64_t shortestFragmentHeader = 24;

/// What the search for fragments in damaged stretches may read in all, beyond the stretches
/// themselves. Sound fragments cost next to nothing; a file made of fragments that almost pass
/// would cost its size squared.
constexpr std::int64_t searchAllowance = std::int64_t{256} << 20U;

/// The types that stand at the top of the movies that recorders write (ISO/IEC 14496-12, table 1,
/// and the QuickTime File Format's). A box of another type is taken for damage, which costs
/// nothing: no samples come from such a box.
bool isTopLevelType(BoxType type) {
    constexpr std::array known{boxType("ftyp"), boxType("moov"), boxType("moof"), boxType("mdat"),
                               boxType("free"), boxType("skip"), boxType("wide"), boxType("mfra"),
                               boxType("sidx"), boxType("ssix"), boxType("styp"), boxType("prft"),
                               boxType("emsg"), boxType("pdin"), boxType("meta"), boxType("udta"),
                               boxType("uuid"), boxType("pnot")};
    return std::ranges::find(known, type) != known.end();
}

class MovieScanner {
  public:
    MovieScanner(ByteSource& source, const FragmentVisitor& visit)
        : source_{source}, visit_{visit}, fileEnd_{source.size()} {}

    Expected<MovieLayout, MovieScanError> scan() {
        const bool hasHeader = readMovieHeader();
        layout_.end = fileEnd_;
        layout_.fragmented = header_.fragmented && header_.indexedSamples == 0;
        layout_.isEdited = header_.isEdited;
        layout_.duration = header_.duration;
        if (header_.fragmented) {
            times_.resize(header_.tracks.size());
            readFragments();
        }
        if (readError_ != 0) {
            return unexpected{MovieScanError{MovieScanError::Reason::readFailed, readError_}};
        }
        if (!hasHeader) {
            return unexpected{MovieScanError{MovieScanError::Reason::noMovieHeader}};
        }
        // A shorter view would be taken for the whole movie, so these are no places to end it.
        if (layout_.samples > mostSamplesOfAMovie) {
            return unexpected{MovieScanError{MovieScanError::Reason::tooLarge}};
        }
        if (header_.samplesOverlap) {
            return unexpected{MovieScanError{MovieScanError::Reason::overlapping}};
        }
        if (searched_ > searchAllowance) {
            return unexpected{MovieScanError{MovieScanError::Reason::tooDamaged}};
        }
        return std::move(layout_);
    }

  private:
    /// Finds the header, which may follow the media data, and leaves `position_` behind it.
    bool readMovieHeader() {
        while (const auto box = boxAt(position_)) {
            if (box->type == boxType("moov")) {
                const std::int64_t size = box->size - box->headerSize;
                if (size > longestMovieHeader) {
                    return false;
                }
                const auto header = parseMovieHeader(bytesAt(position_ + box->headerSize, size));
                if (!header) {
                    return false;
                }
                header_ = *header;
                layout_.samples = header_.indexedSamples;
                position_ += box->size;
                return true;
            }
            if (box->type == boxType("moof")) {
                return false;
            }
            position_ += box->size;
        }
        return false;
    }

    void readFragments() {
        while (position_ < fileEnd_ && layout_.samples <= mostSamplesOfAMovie) {
            const auto box = boxAt(position_);
            if (box && box->type != boxType("moof")) {
                position_ += box->size;
            } else if (!box || !readFragment(*box)) {
                if (!skipDamage(position_)) {
                    layout_.end = position_;
                    return;
                }
            }
        }
    }

    /// Takes the fragment at `position_` and moves on behind its data. False when it is damaged.
    bool readFragment(const BoxHeader& box) {
        auto fragment = aheadAt_ == position_ ? std::exchange(ahead_, std::nullopt)
                                              : fragmentAt(position_, box, times_);
        aheadAt_ = -1;
        if (!fragment) {
            return false;
        }
        const std::int64_t dataStart = position_ + box.size;
        const std::int64_t boxEnd = dataBoxEnd(dataStart);
        if (boxEnd != 0 && fragment->dataEnd > boxEnd) {
            return false; // it names samples that its data does not hold
        }
        if (fragment->dataEnd > fileEnd_) {
            // The file ends here, unless the fragment's sizes are wrong.
            if (findFragment(dataStart)) {
                return false;
            }
            position_ = fileEnd_;
        } else {
            const std::int64_t next = boxEnd != 0 ? boxEnd : fragment->dataEnd;
            if (isRefutedBy(next, fragment->times)) {
                return false;
            }
            // Where the data's own header is damaged, or the file was cut behind the last sample.
            if (boxEnd == 0 && next - dataStart >= shortestBox) {
                layout_.standIns.push_back({dataStart, next - dataStart, boxType("mdat")});
            }
            position_ = next;
        }
        times_ = std::move(fragment->times);
        ++layout_.fragments;
        layout_.samples += static_cast<std::int64_t>(fragment->samples.size());
        rememberLastSamples(fragment->samples);
        if (visit_) {
            visit_(fragment->samples);
        }
        return true;
    }

    /// Where the data box at `offset` ends; 0 when there is no such box within the file.
    std::int64_t dataBoxEnd(std::int64_t offset) {
        const auto box = boxHeaderAt(offset);
        const bool isWhole =
            box && box->type == boxType("mdat") && box->size > 0 && box->size <= fileEnd_ - offset;
        return isWhole ? offset + box->size : 0;
    }

    /// Whether the two fragments from `next` on agree with one another and with what came before,
    /// but not with the `times` that the one between has led to. A wrong time there would put
    /// everything that follows into its past.
    bool isRefutedBy(std::int64_t next, const std::vector<TrackTime>& times) {
        const auto first = boxAt(next);
        if (!first || first->type != boxType("moof")) {
            return false;
        }
        if (auto fragment = fragmentAt(next, *first, times)) {
            // It comes next, after these times.
            aheadAt_ = next;
            ahead_ = std::move(fragment);
            return false;
        }
        const auto firstFragment = fragmentAt(next, *first, times_);
        const std::int64_t afterNext = dataBoxEnd(next + first->size);
        const auto second = boxAt(afterNext);
        return firstFragment && afterNext != 0 && second && second->type == boxType("moof") &&
               fragmentAt(afterNext, *second, firstFragment->times) &&
               !fragmentAt(afterNext, *second, times);
    }

    void rememberLastSamples(const std::vector<FragmentSample>& samples) {
        auto& last = layout_.lastSamples;
        for (const FragmentSample& sample : samples) {
            const auto known = std::ranges::find(last, sample.track, &FragmentSample::track);
            if (known == last.end()) {
                last.push_back(sample);
            } else if (sample.decodeTime > known->decodeTime) {
                *known = sample;
            }
        }
    }

    /// Moves on to the next sound fragment. False when there is none.
    bool skipDamage(std::int64_t start) {
        const auto next = findFragment(start + shortestBox);
        if (!next) {
            return false;
        }
        layout_.standIns.push_back({start, *next - start, boxType("free")});
        position_ = *next;
        return true;
    }

    /// The place of the first sound fragment at or after `from`.
    std::optional<std::int64_t> findFragment(std::int64_t from) {
        constexpr std::string_view name = "moof";
        constexpr std::int64_t nameOffset = 4;
        constexpr std::int64_t blockSize = std::int64_t{1} << 20U;
        for (std::int64_t block = from;
             readError_ == 0 && fileEnd_ - block >= shortestFragmentHeader;) {
            const std::vector<std::uint8_t> bytes =
                bytesAt(block, std::min(blockSize, fileEnd_ - block));
            auto place = bytes.begin();
            for (;;) {
                place = std::search(place, bytes.end(), name.begin(), name.end());
                if (place == bytes.end()) {
                    break;
                }
                const std::int64_t candidate = block + (place - bytes.begin()) - nameOffset;
                ++place;
                if (candidate < from) {
                    continue;
                }
                if (searched_ > searchAllowance) {
                    return std::nullopt;
                }
                const auto box = boxAt(candidate);
                if (box && fragmentAt(candidate, *box, times_)) {
                    return candidate;
                }
                searched_ += box && box->size <= longestFragmentHeader ? box->size : shortestBox;
            }
            if (fileEnd_ - block <= blockSize) {
                break;
            }
            // The name may lie across the border of two blocks.
            block += blockSize - static_cast<std::int64_t>(name.size()) + 1;
        }
        return std::nullopt;
    }

    std::optional<MovieFragment>
    fragmentAt(std::int64_t offset, const BoxHeader& box, const std::vector<TrackTime>& times) {
        const std::int64_t size = box.size - box.headerSize;
        if (size > longestFragmentHeader || size < shortestFragmentHeader - shortestBox) {
            return std::nullopt;
        }
        // Most of what only looks like a fragment shows it in the first box.
        const auto first = parseBoxHeader(
            bytesAt(offset + box.headerSize, static_cast<std::int64_t>(longestBoxHeader)));
        if (!first || first->type != boxType("mfhd")) {
            return std::nullopt;
        }
        return parseFragment(
            bytesAt(offset + box.headerSize, size), offset, offset + box.size, header_.tracks,
            times);
    }

    /// A box of a known type that lies within the file.
    std::optional<BoxHeader> boxAt(std::int64_t offset) {
        auto box = boxHeaderAt(offset);
        if (!box || !isTopLevelType(box->type)) {
            return std::nullopt;
        }
        if (box->size == 0 && box->type == boxType("mdat")) {
            box->size = fileEnd_ - offset;
        }
        if (box->size < box->headerSize || box->size > fileEnd_ - offset) {
            return std::nullopt;
        }
        return box;
    }

    std::optional<BoxHeader> boxHeaderAt(std::int64_t offset) {
        std::array<std::uint8_t, longestBoxHeader> bytes{};
        return parseBoxHeader(std::span{bytes}.first(read(offset, bytes)));
    }

    std::vector<std::uint8_t> bytesAt(std::int64_t offset, std::int64_t size) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
        bytes.resize(read(offset, bytes));
        return bytes;
    }

    /// Reads nothing once a read has failed, so that the scan comes to its end.
    std::size_t read(std::int64_t offset, std::span<std::uint8_t> buffer) {
        if (readError_ != 0) {
            return 0;
        }
        const auto count = source_.readAt(offset, buffer);
        if (!count) {
            readError_ = count.error();
            return 0;
        }
        return *count;
    }

    ByteSource& source_;
    const FragmentVisitor& visit_;
    std::int64_t fileEnd_;
    std::int64_t position_ = 0; ///< everything before it is dealt with
    std::int64_t searched_ = 0; ///< bytes read on suspicion
    int readError_ = 0;         ///< `errno`
    MovieHeader header_;
    std::vector<TrackTime> times_;
    std::int64_t aheadAt_ = -1; ///< where the fragment is that has been read already
    std::optional<MovieFragment> ahead_;
    MovieLayout layout_;
};

} // namespace

Expected<MovieLayout, MovieScanError> scanMovie(ByteSource& source, const FragmentVisitor& visit) {
    return MovieScanner{source, visit}.scan();
}

} // namespace brindle::media
