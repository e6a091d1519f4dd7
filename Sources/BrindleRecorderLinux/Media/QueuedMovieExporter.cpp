#include "BrindleRecorderLinux/Media/QueuedMovieExporter.hpp"

#include "BrindleRecorderLinux/Media/MediaEngine.hpp"
#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"
#include "BrindleRecorderLinux/Media/QueuedExportSession.hpp"

#include <new>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

std::optional<Seconds> durationOf(
    const std::filesystem::path& movie, media::MediaEngineModule& module,
    const std::atomic<bool>& cancelled) {
    try {
        const auto engine = module.engine();
        return engine ? (*engine)->readableDuration(movie, cancelled) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

} // namespace

QueuedMovieExporter::QueuedMovieExporter(MainLoop& mainLoop, media::MediaEngineModule& module)
    : mainLoop_{mainLoop}, module_{module}, worker_{
                                                std::make_shared<SerialQueue>("movie-exporter")} {}

QueuedMovieExporter::~QueuedMovieExporter() {
    *closing_ = true;
}

std::shared_ptr<ExportSession>
QueuedMovieExporter::makePassthroughExport(const std::filesystem::path& source) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(source, error)) {
        return nullptr;
    }
    return std::make_shared<QueuedExportSession>(mainLoop_, module_, worker_, source);
}

void QueuedMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    worker_->async([&mainLoop = mainLoop_, &module = module_, closing = closing_, movie,
                    answer = std::move(answer)]() mutable {
        const auto duration = durationOf(movie, module, *closing);
        mainLoop.post([answer = std::move(answer), duration] { answer(duration); });
    });
}

} // namespace brindle
