// The seam to what compresses pictures, on desktops that may have several of it, or none.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderCore/Recordings/EncoderSelection.hpp"

#include <functional>
#include <optional>
#include <string>

namespace brindle {

/// Main thread only.
class VideoEncoders {
  public:
    /// Nothing when the encoder has made a picture of a movie; else, in words, why it has not.
    using Answer = std::function<void(std::optional<std::string> whyNot)>;

    virtual ~VideoEncoders() = default;

    /// Has the encoder compress one picture, as a recording with those settings would. Answers
    /// once, on the main thread, never before it returns, and within seconds, whatever a driver
    /// does; nobody who has gone in the meantime.
    virtual void
    tryOut(const EncoderCandidate& encoder, const VideoOutputSettings& settings, Answer answer) = 0;

    /// What recordings use that begin from now on. Until then the platform takes what it prefers.
    virtual void use(const EncoderCandidate& encoder) = 0;
};

} // namespace brindle
