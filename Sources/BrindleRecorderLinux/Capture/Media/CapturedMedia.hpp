// Pictures and sound as a device delivered them, with the moment that they belong to.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libavutil/samplefmt.h>
}

namespace brindle::media {

/// On the system's monotonic clock, the one clock that sound and picture share.
using Moment = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// The moment now.
Moment monotonicNow();
/// What the kernel and the sound server mean by so many nanoseconds.
constexpr Moment momentAt(std::int64_t nanoseconds) {
    return Moment{std::chrono::nanoseconds{nanoseconds}};
}

struct PictureFormat {
    enum class Coding { raw, motionJpeg };

    Coding coding = Coding::raw;
    int width = 0;  ///< pixels
    int height = 0; ///< pixels
    int pixelAspectNumerator = 1;
    int pixelAspectDenominator = 1;

    // For raw pictures only.
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
    AVColorSpace colorSpace = AVCOL_SPC_UNSPECIFIED;
    bool fullRange = false;     ///< levels 0 to 255 instead of 16 to 235
    bool swappedChroma = false; ///< the third plane comes before the second

    friend bool operator==(const PictureFormat&, const PictureFormat&) = default;
};

struct CapturedPicture {
    PictureFormat format;
    /// Bytes from one line to the next of each plane; for raw pictures.
    std::array<int, AV_NUM_DATA_POINTERS> strides{};
    /// The planes one after the other, or the compressed picture.
    std::vector<std::uint8_t> bytes;
    Moment time{};
    std::int64_t lostBefore = 0; ///< how many were left out between the one before and this one
};

struct SoundFormat {
    AVSampleFormat sampleFormat = AV_SAMPLE_FMT_NONE; ///< interleaved or planar
    int sampleRate = 0;                               ///< hertz
    int channels = 0;

    friend bool operator==(const SoundFormat&, const SoundFormat&) = default;
};

struct CapturedSound {
    SoundFormat format;
    int count = 0; ///< samples of each channel
    /// Interleaved, or the channels one after the other when the format is planar.
    std::vector<std::uint8_t> bytes;
    Moment time{}; ///< of the first sample
    /// What, by the device's own count or because it was left out, is missing between the block
    /// before and this one.
    std::chrono::nanoseconds lostBefore{0};
};

/// How long the sound lasts; its rate must be known.
std::chrono::nanoseconds lengthOf(const CapturedSound& sound);

/// The bytes that the planes of a raw picture take, or nothing when the format makes no sense.
std::size_t rawPictureSize(const CapturedPicture& picture);

/// Whether format and bytes agree, so that nothing reads beyond them.
bool isComplete(const CapturedPicture& picture);
bool isComplete(const CapturedSound& sound);

} // namespace brindle::media
