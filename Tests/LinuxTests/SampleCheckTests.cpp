#include "BrindleRecorderLinux/Capture/Convert/SampleCheck.hpp"
#include "BrindleRecorderLinux/Capture/Convert/TrackFilter.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace brindle::media {
namespace {

using Bytes = std::vector<std::uint8_t>;

const SampleFormat h264{.coding = SampleCoding::h264, .nalLengthSize = 4};
const SampleFormat aac{.coding = SampleCoding::aac};

/// One NAL unit with its length in front, of so many bytes of content.
Bytes picture(std::size_t content) {
    Bytes bytes{0, 0, static_cast<std::uint8_t>(content >> 8U), static_cast<std::uint8_t>(content)};
    bytes.resize(4 + content, 0x65);
    return bytes;
}

/// A block of sound that ends with the end mark.
Bytes sound(std::size_t size) {
    Bytes bytes(size, 0x21);
    bytes.back() = 0x38;
    return bytes;
}

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes zeroed(Bytes bytes, std::size_t from, std::size_t count) {
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(from), count, std::uint8_t{0});
    return bytes;
}

TEST(SampleCheck, BelievesPicturesWhoseUnitsFillThemExactly) {
    EXPECT_TRUE(mayBeIntact(h264, picture(1), {}));
    EXPECT_TRUE(mayBeIntact(h264, joined(picture(3), picture(5000)), {}));
    EXPECT_FALSE(mayBeIntact(h264, {}, {}));
    EXPECT_FALSE(mayBeIntact(h264, Bytes{0, 0, 1}, {}));
    EXPECT_FALSE(mayBeIntact(h264, Bytes{0, 0, 0, 2, 0x65}, {})) << "longer than the sample";
    EXPECT_FALSE(mayBeIntact(h264, joined(picture(3), Bytes{0x65}), {})) << "a byte too many";
    EXPECT_FALSE(mayBeIntact(h264, Bytes{0, 0, 0, 0}, {})) << "an empty unit";
    EXPECT_FALSE(mayBeIntact(h264, Bytes{0, 0, 0, 1, 0x80}, {})) << "the forbidden bit";
    EXPECT_FALSE(mayBeIntact(h264, Bytes{0, 0, 0, 2, 0x65, 0}, {})) << "a unit that ends in zero";
}

TEST(SampleCheck, FindsALostBlockInTheMiddleOfALongPicture) {
    const std::int64_t offset = 100;
    const std::size_t border = 1024 - 100;
    EXPECT_FALSE(mayBeIntact(h264, zeroed(picture(5000), border, 512), {offset}));
    EXPECT_FALSE(mayBeIntact(h264, zeroed(picture(5000), border, 4), {offset}));
    // Three zeros occur where a length begins.
    EXPECT_TRUE(mayBeIntact(h264, zeroed(picture(5000), border, 3), {offset}));
}

TEST(SampleCheck, ReadsTheLengthOfLengthsFromTheConfiguration) {
    EXPECT_EQ(h264Format(Bytes{1, 66, 0, 30, 0xFF, 0xE1}).nalLengthSize, 4U);
    EXPECT_EQ(h264Format(Bytes{1, 66, 0, 30, 0xFD, 0xE1}).nalLengthSize, 2U);
    EXPECT_EQ(h264Format(Bytes{}).nalLengthSize, 4U);
    EXPECT_TRUE(mayBeIntact(h264Format(Bytes{1, 66, 0, 30, 0xFC}), Bytes{1, 0x65}, {}));
}

TEST(SampleCheck, BelievesSoundThatEndsWithTheEndMark) {
    EXPECT_TRUE(mayBeIntact(aac, sound(200), {}));
    for (const int last : {0x07, 0x0E, 0x1C, 0x38, 0x70, 0xE0}) {
        EXPECT_TRUE(mayBeIntact(aac, Bytes{0x21, 0x10, static_cast<std::uint8_t>(last)}, {}))
            << last;
    }
    EXPECT_TRUE(mayBeIntact(aac, Bytes{0x21, 0x03, 0x80}, {})) << "across two bytes";
    EXPECT_FALSE(mayBeIntact(aac, Bytes{0x21, 0x10, 0x08}, {})) << "no end mark";
    EXPECT_FALSE(mayBeIntact(aac, Bytes{0x21, 0x07, 0x00}, {})) << "more filling than a byte takes";
    EXPECT_FALSE(mayBeIntact(aac, Bytes{0xE0, 0x10, 0x07}, {})) << "begins with its end";
    EXPECT_FALSE(mayBeIntact(aac, Bytes{0x07}, {}));
    EXPECT_FALSE(mayBeIntact(aac, {}, {}));
}

TEST(SampleCheck, FindsALostBlockAtEitherEndOfASoundAndWithinIt) {
    EXPECT_FALSE(mayBeIntact(aac, zeroed(sound(200), 100, 100), {}));
    EXPECT_FALSE(mayBeIntact(aac, zeroed(sound(200), 0, 8), {}));
    EXPECT_FALSE(mayBeIntact(aac, zeroed(sound(2000), 512, 512), {}));
    // Two zeros in front are nothing unusual, unless a lost block ends there.
    EXPECT_TRUE(mayBeIntact(aac, zeroed(sound(200), 0, 2), {510, false}));
    EXPECT_FALSE(mayBeIntact(aac, zeroed(sound(200), 0, 2), {510, true}));
    EXPECT_TRUE(mayBeIntact(aac, sound(200), {510, true}));
}

TEST(SampleCheck, BelievesOtherCodingsThatHoldAnything) {
    EXPECT_TRUE(mayBeIntact({}, Bytes{0}, {}));
    EXPECT_FALSE(mayBeIntact({}, {}, {}));
}

TEST(TrackFilter, ShowsNoPictureThatBuildsUponALostOne) {
    TrackFilter filter{TrackFilter::Kind::pictures};
    EXPECT_FALSE(filter.keeps(true, false, 0)) << "nothing to build upon yet";
    EXPECT_TRUE(filter.keeps(true, true, 1));
    EXPECT_TRUE(filter.keeps(true, false, 2));
    EXPECT_FALSE(filter.keeps(false, false, 3));
    EXPECT_FALSE(filter.keeps(true, false, 4));
    EXPECT_FALSE(filter.keeps(false, true, 5)) << "a damaged key frame is none";
    EXPECT_FALSE(filter.keeps(true, false, 6));
    EXPECT_TRUE(filter.keeps(true, true, 7));
    filter.skipGap();
    EXPECT_FALSE(filter.keeps(true, false, 8));
    EXPECT_TRUE(filter.keeps(true, true, 9));
}

TEST(TrackFilter, LosesOnlyTheDamagedBlocksOfSound) {
    TrackFilter filter{TrackFilter::Kind::sound};
    EXPECT_TRUE(filter.keeps(true, false, 0));
    EXPECT_FALSE(filter.keeps(false, false, 1));
    EXPECT_TRUE(filter.keeps(true, false, 2));
    filter.skipGap();
    EXPECT_TRUE(filter.keeps(true, false, 3));
}

TEST(TrackFilter, TakesTimeThatStandsStillForDamage) {
    TrackFilter filter{TrackFilter::Kind::sound};
    EXPECT_TRUE(filter.keeps(true, true, 5));
    EXPECT_FALSE(filter.keeps(true, true, 5));
    EXPECT_FALSE(filter.keeps(true, true, 4));
    EXPECT_TRUE(filter.keeps(true, true, 6));
}

} // namespace
} // namespace brindle::media
