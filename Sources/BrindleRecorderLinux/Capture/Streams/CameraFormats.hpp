// The picture formats that cameras offer, and which of them a recording asks for.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace brindle::pipewire {

/// One way in which a camera can deliver pictures.
struct OfferedFormat {
    media::PictureFormat::Coding coding = media::PictureFormat::Coding::raw;
    std::uint32_t rawFormat = 0; ///< a `spa_video_format`; for raw pictures
    int width = 0;
    int height = 0;
    double frameRate = 0; ///< the one nearest to what is wanted; 0 where the camera decides
    friend bool operator==(const OfferedFormat&, const OfferedFormat&) = default;
};

/// What a recording would like to get.
struct WantedPictures {
    int width = 0;
    int height = 0;
    double frameRate = 0;
};

/// The offers of one announced format, which may hold alternatives; none if we cannot read it.
std::vector<OfferedFormat> offeredFormats(const spa_pod* format, const WantedPictures& wanted);

/// The best of the offers: enough pictures a second first, then enough pixels but no more than can
/// be used, then uncompressed ones, then the camera's own order. Nothing without offers.
std::optional<OfferedFormat>
bestFormat(const std::vector<OfferedFormat>& offers, const WantedPictures& wanted);

/// Writes formats to ask for into `buffer`: first the one, if any, then everything that we can
/// read. The pods live as long as the buffer.
std::vector<const spa_pod*> cameraFormatRequest(
    const std::optional<OfferedFormat>& first, const WantedPictures& wanted,
    std::vector<std::uint8_t>& buffer);

/// The format that a stream has agreed on; nothing for one that we cannot read.
std::optional<media::PictureFormat> agreedPictureFormat(const spa_pod* format);

} // namespace brindle::pipewire
