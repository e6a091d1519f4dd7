// Converts movies and measures them off the main thread.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <atomic>
#include <memory>

namespace brindle {

namespace media {
class MediaEngineModule;
}

/// Works on one thread of its own, one movie after the other. Movies that are cut, holed or
/// otherwise damaged are converted, and measured, as far as they can be read.
class QueuedMovieExporter final : public MovieExporter {
  public:
    /// The main loop and the module must outlive the exporter and its sessions. The module is
    /// loaded by the first movie.
    QueuedMovieExporter(MainLoop& mainLoop, media::MediaEngineModule& module);
    /// Ends running measurements, which then answer that nothing can be read. Sessions live on.
    ~QueuedMovieExporter() override;
    QueuedMovieExporter(const QueuedMovieExporter&) = delete;
    QueuedMovieExporter& operator=(const QueuedMovieExporter&) = delete;

    /// Nothing when the source is no regular file. A session that is destroyed while it runs is
    /// cancelled first: nothing is written any more, and its completion is not called.
    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    MainLoop& mainLoop_;
    media::MediaEngineModule& module_;
    std::shared_ptr<std::atomic<bool>> closing_ = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<SerialQueue> worker_;
};

} // namespace brindle
