#include "BrindleRecorderLinux/FFmpeg/FFmpegMediaEngine.hpp"

#include "BrindleRecorderLinux/FFmpeg/FFmpegMovieRecording.hpp"
#include "BrindleRecorderLinux/FFmpeg/FileBytes.hpp"
#include "BrindleRecorderLinux/FFmpeg/MovieDuration.hpp"
#include "BrindleRecorderLinux/FFmpeg/PassthroughCopy.hpp"

#include <utility>

namespace brindle::media {

std::shared_ptr<MovieRecording> FFmpegMediaEngine::beginRecording(
    const std::filesystem::path& path, const MovieRecording::Settings& settings,
    MovieFileOutput::FinishCallback onFinish) {
    return std::make_shared<FFmpegMovieRecording>(path, settings, std::move(onFinish));
}

Expected<void, PlatformError> FFmpegMediaEngine::copyMovie(
    const std::filesystem::path& source, const std::filesystem::path& destination,
    CopyControl& control) {
    return media::copyMovie(source, destination, control);
}

std::optional<Seconds> FFmpegMediaEngine::readableDuration(
    const std::filesystem::path& movie, const std::atomic<bool>& cancelled) {
    const auto file = FileBytes::open(movie, cancelled);
    return file ? media::readableDuration(**file) : std::nullopt;
}

} // namespace brindle::media
