// Encoders of pictures, tried by runs of the capture program.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/VideoEncoders.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"

#include <chrono>
#include <memory>
#include <vector>

namespace brindle {

/// A run for each trial, held to what recordings with that encoder may use: a driver that crashes
/// or hangs costs nothing but the trial.
class ChildVideoEncoders final : public VideoEncoders {
  public:
    /// Loading a driver takes its time; what takes longer would keep a call waiting.
    static constexpr std::chrono::seconds answersWithin{10};

    /// Both must outlive this.
    ChildVideoEncoders(MainLoop& mainLoop, capture::CaptureChildren& children);
    ~ChildVideoEncoders() override;
    ChildVideoEncoders(const ChildVideoEncoders&) = delete;
    ChildVideoEncoders& operator=(const ChildVideoEncoders&) = delete;

    void tryOut(const EncoderCandidate& encoder, const VideoOutputSettings& settings, Answer answer)
        override;
    void use(const EncoderCandidate& encoder) override;

  private:
    struct Trial;

    void end(Trial& trial, std::optional<EncoderRefusal> refusal);

    MainLoop& mainLoop_;
    capture::CaptureChildren& children_;
    std::vector<std::shared_ptr<Trial>> trials_; ///< those that are going on
};

} // namespace brindle
