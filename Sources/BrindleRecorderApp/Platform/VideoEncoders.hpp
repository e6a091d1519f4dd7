// The seam to what compresses pictures, on desktops that may have several of it, or none.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderCore/Recordings/EncoderSelection.hpp"

#include <functional>
#include <optional>
#include <string>

namespace brindle {

/// Why an encoder has made no picture.
struct EncoderRefusal {
    std::string why; ///< in words
    /// The encoder itself has refused; otherwise nothing has answered, be it for want of time.
    bool isCertain = true;
    friend bool operator==(const EncoderRefusal&, const EncoderRefusal&) = default;
};

/// Main thread only.
class VideoEncoders {
  public:
    /// Nothing when the encoder has made a picture of a movie.
    using Answer = std::function<void(std::optional<EncoderRefusal> refusal)>;

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
