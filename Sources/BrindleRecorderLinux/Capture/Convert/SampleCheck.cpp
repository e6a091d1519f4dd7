#include "BrindleRecorderLinux/Capture/Convert/SampleCheck.hpp"

#include <algorithm>
#include <bit>

namespace brindle::media {

namespace {

/// The smallest block that a disk or a file system loses.
constexpr std::int64_t blockSize = 512;

bool isZero(std::span<const std::uint8_t> bytes) {
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

/// How much of the sample lies before the first border between blocks.
std::size_t bytesBeforeBorder(std::int64_t fileOffset) {
    return static_cast<std::size_t>((blockSize - fileOffset % blockSize) % blockSize);
}

/// Whether a block that starts within the sample starts with that many zeros.
bool hasZeroedBlock(
    std::span<const std::uint8_t> sample, std::int64_t fileOffset, std::size_t zeros) {
    for (std::size_t place = bytesBeforeBorder(fileOffset); place + zeros <= sample.size();
         place += static_cast<std::size_t>(blockSize)) {
        if (isZero(sample.subspan(place, zeros))) {
            return true;
        }
    }
    return false;
}

/// Whether a lost block that began in the sample before reaches into this one.
bool beginsInZeroedBlock(std::span<const std::uint8_t> sample, std::int64_t fileOffset) {
    const std::size_t before = std::min(bytesBeforeBorder(fileOffset), sample.size());
    return before > 0 && isZero(sample.first(before));
}

/// A NAL unit holds no three zero bytes in a row and does not end in one (ISO/IEC 14496-10, 7.4.1),
/// so four in a row stand nowhere in a sample: not even where the next unit's length begins, which
/// is never zero.
bool isH264(std::span<const std::uint8_t> sample, std::size_t lengthSize, SamplePlace place) {
    std::span<const std::uint8_t> rest = sample;
    while (!rest.empty()) {
        if (rest.size() < lengthSize) {
            return false;
        }
        std::size_t length = 0;
        for (const std::uint8_t byte : rest.first(lengthSize)) {
            length = length << 8U | byte;
        }
        rest = rest.subspan(lengthSize);
        if (length == 0 || length > rest.size()) {
            return false;
        }
        constexpr std::uint8_t forbiddenZeroBit = 0x80;
        if ((rest.front() & forbiddenZeroBit) != 0 || rest[length - 1] == 0) {
            return false;
        }
        rest = rest.subspan(length);
    }
    return !hasZeroedBlock(sample, place.offset, 4);
}

/// Whether the last bits that are set are the end mark, three of them in a row.
bool endsWithEndMark(std::span<const std::uint8_t> lastTwo) {
    const auto tail = static_cast<unsigned>(lastTwo[0] << 8U | lastTwo[1]);
    const auto filling = static_cast<unsigned>(std::countr_zero(tail));
    constexpr unsigned longestFilling = 7;
    constexpr unsigned endMark = 7;
    return tail != 0 && filling <= longestFilling && (tail >> filling & endMark) == endMark;
}

/// A raw data block (ISO/IEC 14496-3, 4.4.2.1) begins with an element that is not the end mark, and
/// ends with the end mark, filled up to the byte with zeros. Zeros alone cannot begin one: an empty
/// channel takes 29 bits, and another element or the end mark must follow. Nor can 1024 zero bits
/// stand within one, where no channel has more values than that and the shortest code stands for
/// two.
bool isAac(std::span<const std::uint8_t> sample, SamplePlace place) {
    constexpr std::uint8_t endMark = 0xE0;
    if (sample.size() < 2 || (sample.front() & endMark) == endMark ||
        !endsWithEndMark(sample.last(2))) {
        return false;
    }
    return !isZero(sample.first(std::min<std::size_t>(sample.size(), 8))) &&
           !hasZeroedBlock(sample, place.offset, 128) &&
           !(place.followsZeros && beginsInZeroedBlock(sample, place.offset));
}

} // namespace

SampleFormat h264Format(std::span<const std::uint8_t> configuration) {
    constexpr std::size_t lengthSizeOffset = 4;
    SampleFormat format{.coding = SampleCoding::h264};
    if (configuration.size() > lengthSizeOffset) {
        format.nalLengthSize = (configuration[lengthSizeOffset] & 3U) + 1U;
    }
    return format;
}

bool mayBeIntact(
    const SampleFormat& format, std::span<const std::uint8_t> sample, SamplePlace place) {
    switch (format.coding) {
    case SampleCoding::h264:
        return !sample.empty() && isH264(sample, format.nalLengthSize, place);
    case SampleCoding::aac:
        return isAac(sample, place);
    case SampleCoding::other:
        break;
    }
    return !sample.empty();
}

} // namespace brindle::media
