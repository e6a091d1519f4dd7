// A movie in the making with FFmpeg's encoders.
#pragma once

#include "BrindleRecorderLinux/Media/MovieRecording.hpp"

#include <filesystem>
#include <memory>
#include <thread>

namespace brindle::media {

/// Encodes on one thread and writes on another, so that neither a busy disk nor a busy processor
/// ever holds up the devices.
class FFmpegMovieRecording final : public MovieRecording {
  public:
    /// Begins to write; every failure, of the beginning too, comes through `onFinish`, which is
    /// called exactly once, on any thread.
    FFmpegMovieRecording(
        std::filesystem::path path, Settings settings, MovieFileOutput::FinishCallback onFinish);
    /// Ends the recording if nobody has.
    ~FFmpegMovieRecording() override;
    FFmpegMovieRecording(const FFmpegMovieRecording&) = delete;
    FFmpegMovieRecording& operator=(const FFmpegMovieRecording&) = delete;

    void addPicture(CapturedPicture picture) override;
    void addSound(CapturedSound sound) override;
    void finish() override;
    [[nodiscard]] bool isActive() const override;
    [[nodiscard]] Seconds recordedDuration() const override;
    [[nodiscard]] std::int64_t droppedPictures() const override;

  private:
    class Job;
    std::shared_ptr<Job> job_;
    std::thread writerThread_;
    std::thread encoderThread_;
};

} // namespace brindle::media
