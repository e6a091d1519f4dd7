// Turns whatever a camera delivers into the frames that the encoder takes.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/Capture/Record/PictureFit.hpp"

#include <optional>

namespace brindle::media {

/// Decodes, scales and pads with black to one size; pictures keep their shape. Formats may change
/// from one picture to the next. One thread at a time.
class PictureConverter {
  public:
    /// Both sides even.
    PictureConverter(int width, int height) : width_{width}, height_{height} {}

    /// The frame (planar 4:2:0, BT.709, limited range), which stays what it is until the next
    /// conversion; nullptr when the picture is damaged or of a format that we do not know.
    AVFrame* convert(const CapturedPicture& picture);

  private:
    struct Source {
        PictureShape shape;
        AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
        AVColorSpace colorSpace = AVCOL_SPC_UNSPECIFIED;
        bool fullRange = false;
        std::array<const std::uint8_t*, 4> planes{};
        std::array<int, 4> strides{};
    };

    static std::optional<Source> rawSource(const CapturedPicture& picture);
    std::optional<Source> decodedSource(const CapturedPicture& picture);
    AVFrame* scale(const Source& source);
    bool prepareFrame(const PictureRectangle& fit);

    int width_;
    int height_;
    CodecHandle decoder_;
    FrameHandle decoded_;
    ScalerHandle scaler_;
    FrameHandle frame_;
    PictureRectangle fit_;
};

} // namespace brindle::media
