// Compresses frames to H.264.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <cstdint>
#include <vector>

namespace brindle::media {

/// Made for live pictures: every frame that goes in comes out at once, in order. One thread at a
/// time.
class VideoEncoder {
  public:
    /// How x264 is set, in its own words: of its fastest preset, with the tools that make a
    /// camera's picture better for little. The benchmark of encoding sets ffmpeg alike.
    static constexpr const char* preset = "ultrafast";
    static constexpr const char* tune = "zerolatency";
    static constexpr const char* parameters = "cabac=1:no-deblock=0:8x8dct=1:partitions=i8x8";

    static Expected<VideoEncoder, PlatformError> open(const VideoOutputSettings& settings);

    /// Frames of the settings' size, planar 4:2:0, with rising numbers. A key frame starts anew:
    /// nothing after it refers to anything before it. The packets' times are frame numbers.
    Expected<std::vector<PacketHandle>, PlatformError>
    encode(AVFrame& frame, std::int64_t number, bool asKeyFrame);

    /// What is left inside at the end.
    Expected<std::vector<PacketHandle>, PlatformError> flush();

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }

  private:
    explicit VideoEncoder(CodecHandle context) : context_{std::move(context)} {}

    CodecHandle context_;
};

} // namespace brindle::media
