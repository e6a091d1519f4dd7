// Converts movies and measures them in programs of their own.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"

#include <memory>
#include <vector>

namespace brindle {

namespace capture {
class MovieChild;
}

/// Movies that are cut, holed or otherwise damaged are converted, and measured, as far as they can
/// be read. One program for each movie: what it takes of memory is given back, and what it dies of
/// is an error of that one.
class ChildMovieExporter final : public MovieExporter {
  public:
    /// All must outlive the exporter and its sessions.
    ChildMovieExporter(
        MainLoop& mainLoop, SystemLog& systemLog, capture::CaptureChildren& children);
    /// Ends running measurements, which then answer that nothing can be read. Sessions live on.
    ~ChildMovieExporter() override;
    ChildMovieExporter(const ChildMovieExporter&) = delete;
    ChildMovieExporter& operator=(const ChildMovieExporter&) = delete;

    /// Nothing when the source is no regular file. A session that is destroyed while it runs is
    /// cancelled first: nothing is written any more, and its completion is not called.
    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) override;
    /// A file that has not been changed since it was measured, under whatever name, is not measured
    /// again: a movie that was converted where it stands has two.
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    struct Measurement;
    struct Measured;

    MainLoop& mainLoop_;
    SystemLog& systemLog_;
    capture::CaptureChildren& children_;
    std::vector<std::shared_ptr<Measurement>> measurements_;
    std::shared_ptr<std::optional<Measured>> lastMeasured_;
};

} // namespace brindle
