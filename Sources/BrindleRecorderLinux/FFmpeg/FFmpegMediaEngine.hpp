// The media engine on FFmpeg's libraries.
#pragma once

#include "BrindleRecorderLinux/Media/MediaEngine.hpp"

namespace brindle::media {

class FFmpegMediaEngine final : public MediaEngine {
  public:
    [[nodiscard]] std::shared_ptr<MovieRecording> beginRecording(
        const std::filesystem::path& path, const MovieRecording::Settings& settings,
        MovieFileOutput::FinishCallback onFinish) override;
    Expected<void, PlatformError> copyMovie(
        const std::filesystem::path& source, const std::filesystem::path& destination,
        CopyControl& control) override;
    [[nodiscard]] std::optional<Seconds> readableDuration(
        const std::filesystem::path& movie, const std::atomic<bool>& cancelled) override;
};

} // namespace brindle::media
