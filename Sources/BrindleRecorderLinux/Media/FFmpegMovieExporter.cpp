#include "BrindleRecorderLinux/Media/FFmpegMovieExporter.hpp"

#include "BrindleRecorderLinux/Media/FFmpegExportSession.hpp"
#include "BrindleRecorderLinux/Media/FileBytes.hpp"
#include "BrindleRecorderLinux/Media/MovieDuration.hpp"

#include <new>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

std::optional<Seconds>
durationOf(const std::filesystem::path& movie, const std::atomic<bool>& cancelled) {
    try {
        const auto file = media::FileBytes::open(movie, cancelled);
        return file ? media::readableDuration(**file) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace

FFmpegMovieExporter::FFmpegMovieExporter(MainLoop& mainLoop)
    : mainLoop_{mainLoop}, worker_{std::make_shared<SerialQueue>("movie-exporter")} {}

FFmpegMovieExporter::~FFmpegMovieExporter() {
    *closing_ = true;
}

std::shared_ptr<ExportSession>
FFmpegMovieExporter::makePassthroughExport(const std::filesystem::path& source) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(source, error)) {
        return nullptr;
    }
    return std::make_shared<FFmpegExportSession>(mainLoop_, worker_, source);
}

void FFmpegMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    worker_->async(
        [&mainLoop = mainLoop_, closing = closing_, movie, answer = std::move(answer)]() mutable {
            const auto duration = durationOf(movie, *closing);
            mainLoop.post([answer = std::move(answer), duration] { answer(duration); });
        });
}

} // namespace brindle
