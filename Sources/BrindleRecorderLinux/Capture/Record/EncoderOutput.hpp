// The give and take with one of FFmpeg's encoders.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <vector>

namespace brindle::media {

/// Gives the encoder a frame, or nullptr at the end, and takes every packet that it has ready.
Expected<std::vector<PacketHandle>, PlatformError>
encodeFrame(AVCodecContext& encoder, const AVFrame* frame);

} // namespace brindle::media
