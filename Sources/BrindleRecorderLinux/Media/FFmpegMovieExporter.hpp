// Converts movies and measures them with FFmpeg's container library.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderCore/SerialQueue.hpp"

#include <atomic>
#include <memory>

namespace brindle {

/// Works on one thread of its own, one movie after the other. Movies that are cut, holed or
/// otherwise damaged are converted, and measured, as far as they can be read.
class FFmpegMovieExporter final : public MovieExporter {
  public:
    /// The main loop must outlive the exporter and its sessions.
    explicit FFmpegMovieExporter(MainLoop& mainLoop);
    /// Ends running measurements, which then answer that nothing can be read. Sessions live on.
    ~FFmpegMovieExporter() override;
    FFmpegMovieExporter(const FFmpegMovieExporter&) = delete;
    FFmpegMovieExporter& operator=(const FFmpegMovieExporter&) = delete;

    /// Nothing when the source is no regular file. A session that is destroyed while it runs is
    /// cancelled first: nothing is written any more, and its completion is not called.
    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    MainLoop& mainLoop_;
    std::shared_ptr<std::atomic<bool>> closing_ = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<SerialQueue> worker_;
};

} // namespace brindle
