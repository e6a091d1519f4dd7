// A QuickTime movie that a capture session is written into.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderMac/AVFoundation/AVCaptureDevices.hpp"

#include <atomic>
#include <chrono>
#include <memory>

namespace brindle {

class StartedFile;

class AVMovieOutput final : public MovieFileOutput,
                            public std::enable_shared_from_this<AVMovieOutput> {
  public:
    /// How long a file that was asked to be closed may take for it. Then it is taken for closed.
    static constexpr std::chrono::seconds closingLimit{30};

    explicit AVMovieOutput(Complaint complain);

    void setMovieFragmentInterval(Seconds interval) override;
    [[nodiscard]] bool hasConnection(MediaType mediaType) const override;
    // How much waits to be written is the system's own affair.
    void setVideoSettings(const VideoOutputSettings& settings) override;
    void setAudioSettings(const AudioOutputSettings& settings) override;
    void startRecording(const std::filesystem::path& path, FinishCallback onFinish) override;
    void stopRecording() override;
    [[nodiscard]] bool isRecording() const override;
    [[nodiscard]] Seconds recordedDuration() const override;

    [[nodiscard]] AVCaptureMovieFileOutput* native() const { return output_.get(); }

  private:
    void setSettings(MediaType mediaType, NSDictionary* settings);

    Complaint complain_;
    Retained<AVCaptureMovieFileOutput> output_;
    std::shared_ptr<StartedFile> file_; ///< the last one; capture-session queue, for writing
    std::shared_ptr<std::atomic<bool>> isRecording_;
    std::unique_ptr<MainLoop::Timer> closing_; ///< until a file that is being closed is given up
};

} // namespace brindle
