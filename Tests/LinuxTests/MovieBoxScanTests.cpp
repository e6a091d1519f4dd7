#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "LinuxTests/MovieFixtures.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <functional>
#include <limits>
#include <string>

namespace brindle::media {
namespace {

using test::Bytes;
using test::MemoryBytes;
using testing::ElementsAre;
using testing::IsEmpty;
using Reason = MovieScanError::Reason;

// Builds movies byte by byte.

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes number(std::uint64_t value, int size) {
    Bytes bytes;
    for (int byte = size - 1; byte >= 0; --byte) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8U * static_cast<unsigned>(byte))));
    }
    return bytes;
}

Bytes u32(std::uint64_t value) {
    return number(value, 4);
}

Bytes box(const std::string& type, const Bytes& payload) {
    return u32(8 + payload.size()) + Bytes{type.begin(), type.end()} + payload;
}

Bytes longBox(const std::string& type, const Bytes& payload) {
    return u32(1) + Bytes{type.begin(), type.end()} + number(16 + payload.size(), 8) + payload;
}

constexpr std::uint32_t timescale = 1000;

Bytes track(std::uint32_t id, const Bytes& sampleTable = {}) {
    return box(
        "trak", box("tkhd", u32(0) + u32(0) + u32(0) + u32(id)) +
                    box("mdia", box("mdhd", u32(0) + u32(0) + u32(0) + u32(timescale)) +
                                    box("minf", box("stbl", sampleTable))));
}

/// A movie of two tracks whose samples follow in fragments.
Bytes header() {
    const auto defaults = [](std::uint32_t id) {
        return box("trex", u32(0) + u32(id) + u32(1) + u32(40) + u32(10) + u32(0x10000));
    };
    return box("ftyp", u32(0) + u32(0)) +
           box("moov", track(1) + track(2) + box("mvex", defaults(1) + defaults(2)));
}

struct TrackRun {
    std::uint32_t id = 1;
    std::uint64_t decodeTime = 0;
    std::uint32_t samples = 3;
    std::int64_t dataOffset = -1; ///< -1 where the data of the run before ends
};

constexpr std::size_t sampleSize = 10;

/// The fragment's header, with all samples of the default size and length.
Bytes moof(const std::vector<TrackRun>& runs) {
    const std::size_t size = 8 + 16 + runs.size() * (8 + 16 + 20 + 20);
    std::size_t data = size + 8;
    Bytes content = box("mfhd", u32(0) + u32(1));
    for (const TrackRun& run : runs) {
        const auto offset = run.dataOffset >= 0 ? static_cast<std::uint64_t>(run.dataOffset) : data;
        content =
            content + box("traf", box("tfhd", u32(0x020000) + u32(run.id)) +
                                      box("tfdt", u32(0x01000000) + number(run.decodeTime, 8)) +
                                      box("trun", u32(0x1) + u32(run.samples) + u32(offset)));
        data += run.samples * sampleSize;
    }
    return box("moof", content);
}

Bytes fragment(const std::vector<TrackRun>& runs) {
    std::size_t bytes = 0;
    for (const TrackRun& run : runs) {
        bytes += run.samples * sampleSize;
    }
    return moof(runs) + box("mdat", Bytes(bytes, 0x55));
}

/// The numberth fragment of a movie in good order.
Bytes nthFragment(std::uint64_t index) {
    return fragment({{1, index * 120, 3}, {2, index * 120, 3}});
}

struct Place {
    std::int64_t start = 0;
    std::int64_t headerEnd = 0;
    std::int64_t end = 0;
};

struct Movie {
    Bytes bytes = header();
    std::vector<Place> fragments;

    void add(const Bytes& added) {
        const auto start = static_cast<std::int64_t>(bytes.size());
        bytes = bytes + added;
        const auto size = static_cast<std::int64_t>(added[2]) * 256 + added[3];
        fragments.push_back({start, start + size, static_cast<std::int64_t>(bytes.size())});
    }
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(bytes.size()); }
    void zero(std::int64_t from, std::int64_t to) {
        std::fill(bytes.begin() + from, bytes.begin() + to, std::uint8_t{0});
    }
};

Movie movieOfFour() {
    Movie movie;
    for (std::uint64_t index = 0; index < 4; ++index) {
        movie.add(nthFragment(index));
    }
    return movie;
}

Expected<MovieLayout, MovieScanError> scan(const Bytes& bytes) {
    MemoryBytes source{bytes};
    return scanMovie(source);
}

Reason reasonFor(const Bytes& bytes) {
    const auto layout = scan(bytes);
    EXPECT_FALSE(layout);
    return layout ? Reason::readFailed : layout.error().reason;
}

TEST(MovieBoxScan, SeesAllOfAnIntactMovie) {
    const Movie movie = movieOfFour();
    const auto layout = scan(movie.bytes);
    ASSERT_TRUE(layout);
    EXPECT_TRUE(layout->fragmented);
    EXPECT_EQ(layout->end, movie.size());
    EXPECT_EQ(layout->fragments, 4);
    EXPECT_EQ(layout->samples, 24);
    EXPECT_THAT(layout->standIns, IsEmpty());
}

TEST(MovieBoxScan, TellsEverySampleInTheOrderOfPlaces) {
    Movie movie;
    // The second track's data stands before the first one's.
    movie.add(fragment({{1, 0, 2, 8 + 16 + 2 * 64 + 8 + 20}, {2, 500, 2, 8 + 16 + 2 * 64 + 8}}));
    MemoryBytes source{movie.bytes};
    std::vector<FragmentSample> seen;
    ASSERT_TRUE(scanMovie(source, [&](const auto& samples) { seen = samples; }));
    ASSERT_EQ(seen.size(), 4U);
    const std::int64_t data = movie.fragments[0].headerEnd + 8;
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_EQ(seen[index].offset, data + static_cast<std::int64_t>(index) * 10);
        EXPECT_EQ(seen[index].size, 10U);
        EXPECT_EQ(seen[index].track, index < 2 ? 1U : 0U);
        EXPECT_FALSE(seen[index].isSync);
    }
    EXPECT_EQ(seen[0].decodeTime, 500);
    EXPECT_EQ(seen[1].decodeTime, 540);
    EXPECT_EQ(seen[3].decodeTime, 40);
}

TEST(MovieBoxScan, EndsTheViewAtTheLastWholeBoxWhereverTheFileIsCut) {
    const Movie movie = movieOfFour();
    const auto headerEnd = static_cast<std::int64_t>(header().size());
    for (std::int64_t cut = 0; cut <= movie.size(); ++cut) {
        const auto layout = scan({movie.bytes.begin(), movie.bytes.begin() + cut});
        ASSERT_EQ(layout.has_value(), cut >= headerEnd) << cut;
        if (!layout) {
            continue;
        }
        std::int64_t whole = 0;
        std::int64_t end = headerEnd;
        for (const Place& place : movie.fragments) {
            if (place.headerEnd <= cut) {
                ++whole;
                end = std::min(cut, place.end);
            }
        }
        ASSERT_EQ(layout->fragments, whole) << cut;
        ASSERT_EQ(layout->end, end) << cut;
        ASSERT_THAT(layout->standIns, IsEmpty()) << cut;
    }
}

TEST(MovieBoxScan, EndsTheViewBeforeATailOfZerosOrGarbage) {
    for (const int filling : {0x00, 0x01, 0x6D, 0xFF}) {
        const Movie movie = movieOfFour();
        const auto layout = scan(movie.bytes + Bytes(5000, static_cast<std::uint8_t>(filling)));
        ASSERT_TRUE(layout);
        EXPECT_EQ(layout->end, movie.size());
        EXPECT_EQ(layout->fragments, 4);
    }
}

TEST(MovieBoxScan, PutsAStandInOverAFragmentWhoseHeaderIsAHole) {
    Movie movie = movieOfFour();
    const Place& lost = movie.fragments[1];
    movie.zero(lost.start, lost.headerEnd);
    const auto layout = scan(movie.bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->fragments, 3);
    EXPECT_EQ(layout->end, movie.size());
    EXPECT_THAT(
        layout->standIns,
        ElementsAre(StandInBox{lost.start, lost.end - lost.start, boxType("free")}));
}

TEST(MovieBoxScan, FindsAFragmentAfterEveryHole) {
    const Movie intact = movieOfFour();
    for (std::int64_t from = intact.fragments[0].start; from < intact.size(); from += 7) {
        for (const std::int64_t length : {1, 8, 40, 300}) {
            Movie movie = intact;
            const std::int64_t to = std::min(from + length, movie.size());
            movie.zero(from, to);
            const auto layout = scan(movie.bytes);
            ASSERT_TRUE(layout) << from;
            std::int64_t untouched = 0;
            for (const Place& place : movie.fragments) {
                untouched += place.headerEnd <= from || place.start >= to ? 1 : 0;
            }
            // A hole may spare what matters of a header, so there can be one more.
            EXPECT_GE(layout->fragments, untouched) << from << ' ' << length;
            EXPECT_LE(layout->fragments, 4);
            std::int64_t reached = 0;
            for (const StandInBox& standIn : layout->standIns) {
                EXPECT_GE(standIn.offset, reached);
                EXPECT_GE(standIn.size, 8);
                reached = standIn.offset + standIn.size;
            }
            EXPECT_LE(reached, layout->end);
        }
    }
}

TEST(MovieBoxScan, ReadsTheDataOfAFragmentWhoseDataHeaderIsGone) {
    for (const int filling : {0x00, 0x7F, 0xFF}) {
        Movie movie = movieOfFour();
        const Place& hurt = movie.fragments[2];
        std::fill_n(movie.bytes.begin() + hurt.headerEnd, 8, static_cast<std::uint8_t>(filling));
        const auto layout = scan(movie.bytes);
        ASSERT_TRUE(layout);
        EXPECT_EQ(layout->fragments, 4);
        EXPECT_THAT(
            layout->standIns,
            ElementsAre(StandInBox{hurt.headerEnd, hurt.end - hurt.headerEnd, boxType("mdat")}));
    }
}

TEST(MovieBoxScan, ReadsBoxesWithLongSizesAndDataThatReachesToTheEnd) {
    Movie movie;
    movie.add(nthFragment(0));
    movie.bytes = movie.bytes + longBox("free", Bytes(100, 0));
    Bytes last = nthFragment(1);
    const std::size_t data = last.size() - 68;
    std::fill_n(last.begin() + static_cast<std::ptrdiff_t>(data), 4, std::uint8_t{0});
    movie.add(last);
    const auto layout = scan(movie.bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->fragments, 2);
    EXPECT_EQ(layout->end, movie.size());
}

TEST(MovieBoxScan, ReadsAMovieWithoutFragmentsWhereverItsHeaderStands) {
    const Bytes table = box("stsz", u32(0) + u32(10) + u32(3));
    const Bytes index = box("moov", track(1, table));
    const Bytes data = box("mdat", Bytes(30, 0x55));
    for (const Bytes& bytes : {index + data, data + index}) {
        const auto layout = scan(box("ftyp", u32(0)) + bytes);
        ASSERT_TRUE(layout);
        EXPECT_FALSE(layout->fragmented);
        EXPECT_EQ(layout->samples, 3);
    }
}

struct BadFragment {
    const char* name;
    Bytes bytes;
};

/// Changes a number of four bytes that follows a box's name.
Bytes patched(Bytes bytes, const std::string& type, std::size_t behindName, std::uint64_t value) {
    const auto place = std::search(bytes.begin(), bytes.end(), type.begin(), type.end());
    const Bytes replacement = u32(value);
    std::copy(
        replacement.begin(), replacement.end(),
        place + 4 + static_cast<std::ptrdiff_t>(behindName));
    return bytes;
}

TEST(MovieBoxScan, DoesNotTrustAFragmentThatContradictsItselfOrWhatCameBefore) {
    const std::vector<BadFragment> table{
        {"a track that the movie does not have", fragment({{3, 120, 3}})},
        {"time that goes back", fragment({{1, 80, 3}})},
        {"time that stands still", fragment({{1, 0, 3}})},
        {"a silence of more than six hours", fragment({{1, 120 + 6 * 3600 * 1000 + 1, 3}})},
        {"a time beyond all measure",
         fragment({{1, std::numeric_limits<std::uint64_t>::max(), 3}})},
        {"data in front of itself", fragment({{1, 120, 3, 8}})},
        {"samples that overlap", fragment({{1, 120, 3, 96}, {2, 120, 3, 96}})},
        {"more samples than data", patched(nthFragment(1), "trun", 4, 7)},
        {"more samples than memory", patched(nthFragment(1), "trun", 4, 0xFFFFFFFF)},
        {"a run with bytes too many", patched(nthFragment(1), "trun", 0, 0)},
        {"a box longer than its parent", patched(nthFragment(1), "mfhd", 8, 0x7FFFFFFF)},
        {"no sequence number", patched(nthFragment(1), "moof", 4, 0x66726565)},
        {"a header longer than any", patched(nthFragment(1), "trun", 0, 0xFFFFFF)}};
    for (const BadFragment& bad : table) {
        Movie movie;
        movie.add(nthFragment(0));
        movie.add(bad.bytes);
        const auto alone = scan(movie.bytes);
        ASSERT_TRUE(alone) << bad.name;
        EXPECT_EQ(alone->fragments, 1) << bad.name;
        EXPECT_EQ(alone->end, movie.fragments[0].end) << bad.name;
        movie.add(nthFragment(2));
        const auto followed = scan(movie.bytes);
        ASSERT_TRUE(followed) << bad.name;
        EXPECT_EQ(followed->fragments, 2) << bad.name;
        EXPECT_EQ(followed->end, movie.size()) << bad.name;
    }
}

TEST(MovieBoxScan, DropsAFragmentWhoseTimeHasLeaptAheadOfTheNext) {
    Movie movie;
    movie.add(nthFragment(0));
    movie.add(fragment({{1, 5000, 3}, {2, 120, 3}}));
    movie.add(nthFragment(2));
    movie.add(nthFragment(3));
    const auto layout = scan(movie.bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->fragments, 3);
    const Place& lost = movie.fragments[1];
    EXPECT_THAT(
        layout->standIns,
        ElementsAre(StandInBox{lost.start, lost.end - lost.start, boxType("free")}));
}

TEST(MovieBoxScan, ReadsTheHeadersOfALongMovieWithoutTakingItForDamaged) {
    Movie movie;
    // Padding makes each header as long as one with a minute of samples.
    const Bytes padding = box("free", Bytes(60'000, 0));
    for (std::uint64_t index = 0; index < 1500; ++index) {
        Bytes plain = fragment({{1, index * 120, 3}});
        const std::size_t headerSize = plain[2] * 256U + plain[3];
        const Bytes content{
            plain.begin() + 8, plain.begin() + static_cast<std::ptrdiff_t>(headerSize)};
        Bytes padded = box("moof", content + padding);
        // The data has moved away from the header's start by the padding.
        padded = patched(padded, "trun", 8, headerSize + padding.size() + 8);
        const Bytes data{plain.begin() + static_cast<std::ptrdiff_t>(headerSize), plain.end()};
        movie.bytes.insert(movie.bytes.end(), padded.begin(), padded.end());
        movie.bytes.insert(movie.bytes.end(), data.begin(), data.end());
    }
    const auto layout = scan(movie.bytes);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->end, movie.size());
}

TEST(MovieBoxScan, BelievesASilenceOfSixHours) {
    Movie movie;
    movie.add(nthFragment(0));
    movie.add(fragment({{1, 120 + 6 * 3600 * 1000, 3}}));
    EXPECT_EQ(scan(movie.bytes)->fragments, 2);
}

TEST(MovieBoxScan, TellsTheDurationThatTheHeaderClaims) {
    const auto claimed = [](const Bytes& movieHeader) {
        return scan(box("moov", movieHeader + track(1)) + nthFragment(0))->duration.count();
    };
    const Bytes shortTimes = u32(0) + u32(0) + u32(0) + u32(600) + u32(1500);
    EXPECT_DOUBLE_EQ(claimed(box("mvhd", shortTimes)), 2.5);
    const Bytes longTimes = u32(1U << 24U) + Bytes(16, 0) + u32(600) + u32(1) + u32(0);
    EXPECT_DOUBLE_EQ(claimed(box("mvhd", longTimes)), 4294967296.0 / 600);
    EXPECT_DOUBLE_EQ(claimed(box("mvhd", u32(0))), 0);
    EXPECT_DOUBLE_EQ(claimed({}), 0);
}

TEST(MovieBoxScan, RefusesWhatHasNoMovieHeader) {
    EXPECT_EQ(reasonFor({}), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(Bytes(1000, 0)), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(Bytes(1000, 0xFF)), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(box("ftyp", u32(0)) + nthFragment(0)), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(box("moov", {})), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(box("moov", box("trak", {}))), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(box("moov", track(0))), Reason::noMovieHeader);
    EXPECT_EQ(reasonFor(box("moov", track(1) + Bytes{0, 0, 0, 9})), Reason::noMovieHeader);
}

TEST(MovieBoxScan, RefusesAHeaderThatClaimsMoreSamplesThanADayHas) {
    const Bytes manyOfOneSize = box("stsz", u32(0) + u32(10) + u32(0xFFFFFFFF));
    EXPECT_EQ(reasonFor(box("moov", track(1, manyOfOneSize))), Reason::tooLarge);
    const Bytes manyInAChunk = box("stsc", u32(0) + u32(1) + u32(1) + u32(0xFFFFFFFF) + u32(1)) +
                               box("stco", u32(0) + u32(2) + u32(0) + u32(0));
    EXPECT_EQ(reasonFor(box("moov", track(1, manyInAChunk))), Reason::tooLarge);
    const Bytes sizesWithoutATable = box("stsz", u32(0) + u32(0) + u32(1000));
    EXPECT_EQ(reasonFor(box("moov", track(1, sizesWithoutATable))), Reason::noMovieHeader);
}

// Sample tables.

Bytes sizesOfOne(std::uint32_t size, std::uint32_t count) {
    return box("stsz", u32(0) + u32(size) + u32(count));
}

Bytes sizes(const std::vector<std::uint32_t>& listed) {
    Bytes content = u32(0) + u32(0) + u32(listed.size());
    for (const std::uint32_t size : listed) {
        content = content + u32(size);
    }
    return box("stsz", content);
}

Bytes perChunk(const std::vector<std::array<std::uint32_t, 2>>& runs) {
    Bytes content = u32(0) + u32(runs.size());
    for (const auto& [firstChunk, samples] : runs) {
        content = content + u32(firstChunk) + u32(samples) + u32(1);
    }
    return box("stsc", content);
}

Bytes places(const std::vector<std::uint32_t>& offsets) {
    Bytes content = u32(0) + u32(offsets.size());
    for (const std::uint32_t offset : offsets) {
        content = content + u32(offset);
    }
    return box("stco", content);
}

Bytes indexed(const Bytes& tracks) {
    return box("ftyp", u32(0)) + box("mdat", Bytes(200, 0x55)) + box("moov", tracks);
}

TEST(MovieBoxScan, RefusesAHeaderWhoseSamplesOverlap) {
    struct Overlap {
        const char* name;
        Bytes tracks;
    };
    const Bytes one = perChunk({{1, 1}});
    const Bytes two = perChunk({{1, 2}});
    const Bytes longPlaces =
        box("co64", u32(0) + u32(2) + number(std::uint64_t{1} << 40U, 8) +
                        number((std::uint64_t{1} << 40U) + 9, 8));
    const Bytes halfBytes = box("stz2", u32(0) + u32(4) + u32(3) + Bytes{0x5A, 0x10});
    const Bytes shorts = box("stz2", u32(0) + u32(16) + u32(2) + Bytes{1, 0, 0, 9});
    const Bytes bytes = box("stz2", u32(0) + u32(8) + u32(2) + Bytes{100, 9});
    const std::vector<Overlap> overlaps{
        {"the same place twice", track(1, sizesOfOne(10, 2) + one + places({20, 20}))},
        {"the last byte", track(1, sizesOfOne(10, 2) + one + places({20, 29}))},
        {"the other way round", track(1, sizesOfOne(10, 2) + one + places({29, 20}))},
        {"one within the other", track(1, sizes({50, 1}) + one + places({20, 40}))},
        {"tables in another order", track(1, places({20, 29}) + one + sizesOfOne(10, 2))},
        {"chunks of two", track(1, sizesOfOne(10, 4) + two + places({20, 39}))},
        {"far away", track(1, sizesOfOne(10, 2) + one + longPlaces)},
        {"half a byte each", track(1, halfBytes + perChunk({{1, 2}, {2, 1}}) + places({20, 34}))},
        {"a byte each", track(1, bytes + one + places({20, 119}))},
        {"two bytes each", track(1, shorts + one + places({20, 275}))},
        {"two tracks", track(1, sizesOfOne(10, 1) + one + places({20})) +
                           track(2, sizesOfOne(10, 1) + one + places({29}))},
        {"a hundred behind one of the other track",
         track(1, sizesOfOne(180, 1) + one + places({20})) +
             track(2, sizesOfOne(1, 3) + one + places({10, 199, 215}))},
    };
    for (const Overlap& overlap : overlaps) {
        EXPECT_EQ(reasonFor(indexed(overlap.tracks)), Reason::overlapping) << overlap.name;
    }
}

TEST(MovieBoxScan, TakesSamplesThatTouchButDoNotOverlap) {
    const Bytes one = perChunk({{1, 1}});
    const std::vector<Bytes> good{
        track(1, sizesOfOne(10, 2) + one + places({20, 30})),
        track(1, sizesOfOne(10, 2) + one + places({30, 20})),
        track(1, sizes({5, 6, 7}) + perChunk({{1, 2}, {2, 1}}) + places({20, 31})),
        // Nothing at a place is nowhere.
        track(1, sizes({10, 0, 10}) + one + places({20, 25, 30})),
        // More chunks than samples.
        track(1, sizesOfOne(10, 1) + one + places({20, 20, 20})),
        track(
            1, box("stz2", u32(0) + u32(4) + u32(3) + Bytes{0x5A, 0x10}) +
                   perChunk({{1, 2}, {2, 1}}) + places({20, 35})),
        track(1, sizesOfOne(10, 2) + one + places({20, 40})) +
            track(2, sizesOfOne(10, 2) + one + places({30, 50})),
    };
    for (std::size_t index = 0; index < good.size(); ++index) {
        const auto layout = scan(indexed(good[index]));
        EXPECT_TRUE(layout) << index;
    }
}

TEST(MovieBoxScan, RefusesATableThatIsThereTwice) {
    const Bytes sizes = sizesOfOne(10, 1);
    const Bytes chunks = perChunk({{1, 1}});
    const Bytes offsets = places({20});
    const Bytes farOffsets = box("co64", u32(0) + u32(1) + number(20, 8));
    const Bytes compact = box("stz2", u32(0) + u32(8) + u32(1) + Bytes{10});
    ASSERT_TRUE(scan(indexed(track(1, sizes + chunks + offsets))));
    for (const Bytes& again : {sizes, chunks, offsets, farOffsets, compact}) {
        EXPECT_EQ(
            reasonFor(indexed(track(1, sizes + chunks + offsets + again))), Reason::noMovieHeader);
    }
}

TEST(MovieBoxScan, RefusesMoreChunksThanADayHasSamples) {
    Bytes table = u32(0) + u32(mostSamplesOfAMovie + 1);
    table.resize(table.size() + (static_cast<std::size_t>(mostSamplesOfAMovie) + 1) * 4);
    EXPECT_EQ(
        reasonFor(indexed(track(1, sizesOfOne(1, 1) + perChunk({{1, 1}}) + box("stco", table)))),
        Reason::tooLarge);
}

TEST(MovieBoxScan, RefusesAnEditListThatRepeatsTheSamplesBeyondADay) {
    Bytes list = u32(0) + u32(10'000);
    list.resize(list.size() + std::size_t{10'000} * 12);
    const Bytes edits = box("edts", box("elst", list));
    const auto movie = [&](std::uint32_t samples) {
        Bytes plain = track(1, sizesOfOne(1, samples) + perChunk({{1, samples}}) + places({20}));
        return indexed(box("trak", Bytes{plain.begin() + 8, plain.end()} + edits));
    };
    EXPECT_EQ(reasonFor(movie(1000)), Reason::tooLarge);
    EXPECT_TRUE(scan(movie(100)));
}

TEST(MovieBoxScan, IsNotFooledByBoxesWithinBoxesWithinBoxes) {
    Bytes deep;
    for (std::uint64_t depth = 20'000; depth > 0; --depth) {
        const Bytes head = u32(depth * 8) + Bytes{'s', 't', 'b', 'l'};
        deep.insert(deep.end(), head.begin(), head.end());
    }
    EXPECT_EQ(reasonFor(box("moov", box("trak", deep))), Reason::noMovieHeader);
}

TEST(MovieBoxScan, GivesUpOnAFileMadeOfFragmentsThatAlmostPass) {
    // Every eight bytes another header begins that names a sequence number and a megabyte of boxes.
    const Bytes bait = u32(1U << 20U) + Bytes{'m', 'o', 'o', 'f'} + box("mfhd", u32(0) + u32(1));
    Bytes bytes = header();
    for (int count = 0; count < 60'000; ++count) {
        bytes.insert(bytes.end(), bait.begin(), bait.end());
    }
    EXPECT_EQ(reasonFor(bytes), Reason::tooDamaged);
}

TEST(MovieBoxScan, TellsAReadErrorFromTheEndOfTheFile) {
    class FailingBytes final : public MemoryBytes {
      public:
        FailingBytes(Bytes bytes, std::int64_t from) : MemoryBytes{std::move(bytes)}, from_{from} {}
        Expected<std::size_t, int>
        readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override {
            if (offset >= from_) {
                return unexpected{EIO};
            }
            return MemoryBytes::readAt(offset, buffer);
        }

      private:
        std::int64_t from_;
    };
    const Movie movie = movieOfFour();
    for (const std::int64_t from : {std::int64_t{0}, std::int64_t{20}, movie.fragments[2].start}) {
        FailingBytes source{movie.bytes, from};
        const auto layout = scanMovie(source);
        ASSERT_FALSE(layout) << from;
        EXPECT_EQ(layout.error().reason, Reason::readFailed);
        EXPECT_EQ(layout.error().errorNumber, EIO);
    }
}

} // namespace
} // namespace brindle::media
