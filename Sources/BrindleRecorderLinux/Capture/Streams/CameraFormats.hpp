// The picture formats that cameras offer, and which of them a recording asks for.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct spa_pod;

namespace brindle::pipewire {

/// Pictures a second, as the very fraction that a camera tells: servers compare the two numbers,
/// not their quotient.
struct PictureRate {
    std::uint32_t numerator = 0; ///< 0 where the camera decides
    std::uint32_t denominator = 1;
    [[nodiscard]] double aSecond() const {
        return denominator > 0 ? static_cast<double>(numerator) / denominator : 0;
    }
    friend bool operator==(const PictureRate&, const PictureRate&) = default;
};

/// One way in which a camera can deliver pictures.
struct OfferedFormat {
    media::PictureFormat::Coding coding = media::PictureFormat::Coding::raw;
    std::uint32_t rawFormat = 0; ///< a `spa_video_format`; for raw pictures
    int width = 0;
    int height = 0;
    PictureRate rate = {}; ///< the one nearest to what is wanted
    friend bool operator==(const OfferedFormat&, const OfferedFormat&) = default;
};

/// What a recording would like to get.
struct WantedPictures {
    int width = 0;
    int height = 0;
    int frameRate = 0;
};

/// The offers of one announced format, which may hold alternatives; none if we cannot read it.
std::vector<OfferedFormat> offeredFormats(const spa_pod* format, const WantedPictures& wanted);

/// The offers with the best first: enough pictures a second, then enough pixels but no more than
/// can be used, then uncompressed ones, then the camera's own order.
std::vector<OfferedFormat>
bestFirst(std::vector<OfferedFormat> offers, const WantedPictures& wanted);

/// Writes formats to ask for into `buffer`: the first of the offers, in their order, each with one
/// format, one size and one rate, so that nobody else chooses. After them whatever we can read,
/// fluent before slow: a camera that runs for another program stays in the format that it has. The
/// pods live as long as the buffer.
std::vector<const spa_pod*> cameraFormatRequest(
    const std::vector<OfferedFormat>& offers, const WantedPictures& wanted,
    std::vector<std::uint8_t>& buffer);

/// What a camera and a stream have agreed on.
struct AgreedPictures {
    media::PictureFormat format;
    std::string name; ///< of the format, such as "YUY2" or "MJPEG"
    PictureRate rate;
};

/// Nothing for a format that we cannot read.
std::optional<AgreedPictures> agreedPictures(const spa_pod* format);

} // namespace brindle::pipewire
