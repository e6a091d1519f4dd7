#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/samplefmt.h>
}

namespace brindle::media {

namespace {

constexpr int longestSide = 16'384;
constexpr int mostChannels = 64;
constexpr int highestRate = 768'000;

} // namespace

Moment monotonicNow() {
    return std::chrono::steady_clock::now();
}

std::chrono::nanoseconds lengthOf(const CapturedSound& sound) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>{static_cast<double>(sound.count) / sound.format.sampleRate});
}

std::size_t rawPictureSize(const CapturedPicture& picture) {
    const PictureFormat& format = picture.format;
    if (format.width <= 0 || format.width > longestSide || format.height <= 0 ||
        format.height > longestSide) {
        return 0;
    }
    std::array<int, 4> tightest{};
    if (av_image_fill_linesizes(tightest.data(), format.pixelFormat, format.width) < 0) {
        return 0;
    }
    std::array<int, 4> strides{};
    for (std::size_t plane = 0; plane < strides.size(); ++plane) {
        strides.at(plane) = picture.strides.at(plane);
        if (strides.at(plane) < tightest.at(plane)) {
            return 0;
        }
    }
    std::array<std::uint8_t*, 4> planes{};
    const int size = av_image_fill_pointers(
        planes.data(), format.pixelFormat, format.height, nullptr, strides.data());
    return size > 0 ? static_cast<std::size_t>(size) : 0;
}

bool isComplete(const CapturedPicture& picture) {
    if (picture.format.coding == PictureFormat::Coding::motionJpeg) {
        return !picture.bytes.empty();
    }
    const std::size_t size = rawPictureSize(picture);
    return size > 0 && picture.bytes.size() >= size;
}

bool isComplete(const CapturedSound& sound) {
    const SoundFormat& format = sound.format;
    if (format.channels <= 0 || format.channels > mostChannels || format.sampleRate <= 0 ||
        format.sampleRate > highestRate || sound.count <= 0) {
        return false;
    }
    const int sampleSize = av_get_bytes_per_sample(format.sampleFormat);
    const auto wanted = static_cast<std::int64_t>(sampleSize) * format.channels * sound.count;
    return wanted > 0 && static_cast<std::int64_t>(sound.bytes.size()) >= wanted;
}

} // namespace brindle::media
