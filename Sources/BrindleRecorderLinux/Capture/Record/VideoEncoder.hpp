// Compresses frames to H.264.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/Capture/Record/EncoderInput.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle::media {

/// Made for live pictures: every frame that goes in comes out in order, at once where the encoder
/// can do that. One thread at a time.
class VideoEncoder {
  public:
    /// How x264 is set, in its own words: of its fastest preset, with the tools that make a
    /// camera's picture better for little. The benchmark of encoding sets ffmpeg alike.
    static constexpr const char* preset = "ultrafast";
    static constexpr const char* tune = "zerolatency";
    static constexpr const char* parameters = "cabac=1:no-deblock=0:8x8dct=1:partitions=i8x8";

    /// The encoder of that name, or where none is named the one that FFmpeg prefers.
    static Expected<VideoEncoder, PlatformError>
    open(const VideoOutputSettings& settings, const std::optional<std::string>& name);

    /// Frames of the settings' size, planar 4:2:0, with rising numbers. A key frame starts anew:
    /// nothing after it refers to anything before it. The packets' times are frame numbers.
    Expected<std::vector<PacketHandle>, PlatformError>
    encode(AVFrame& frame, std::int64_t number, bool asKeyFrame);

    /// What is left inside at the end.
    Expected<std::vector<PacketHandle>, PlatformError> flush();

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }

  private:
    VideoEncoder(CodecHandle context, EncoderInput input)
        : context_{std::move(context)}, input_{std::move(input)} {}

    CodecHandle context_;
    EncoderInput input_;
};

} // namespace brindle::media
