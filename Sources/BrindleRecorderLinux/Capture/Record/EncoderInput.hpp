// Frames in the form in which an encoder takes them.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

namespace brindle::media {

/// One thread at a time.
class EncoderInput {
  public:
    enum class Form {
        planar,      ///< as frames come: in memory, three planes of 4:2:0
        interleaved, ///< in memory, the colours in one plane (NV12)
        surface      ///< in the graphics hardware's memory, by VA-API
    };

    /// Sets the form in an encoder that has its size and is not open yet.
    static Expected<EncoderInput, PlatformError> prepare(Form form, AVCodecContext& encoder);

    /// The planar frame in the encoder's form: itself, or a copy with its time and kind.
    Expected<FrameHandle, PlatformError> take(const AVFrame& frame) const;

  private:
    EncoderInput(Form form, BufferHandle surfaces) : form_{form}, surfaces_{std::move(surfaces)} {}

    Form form_;
    BufferHandle surfaces_; ///< where new ones come from; null for the other forms
};

} // namespace brindle::media
