// The seam to the media library's conversion of a movie into another container, samples untouched.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

enum class MovieFileType { quickTime, mpeg4 };

/// What is known of a movie that is to be exported.
enum class MovieOrigin {
    justRecorded, ///< by this run of the program: its bytes are what was written
    found         ///< its bytes may have been lost, each of them
};

/// One passthrough export of one movie: every readable sample of every track, bit for bit. The
/// output may be the source's own file under a second name. Whatever becomes of the export, the
/// source stays a movie with all that it held, for this exporter and for players.
class ExportSession {
  public:
    enum class Status : int {
        unknown = 0,
        waiting = 1,
        exporting = 2,
        completed = 3,
        failed = 4,
        cancelled = 5
    };

    virtual ~ExportSession() = default;

    [[nodiscard]] virtual std::vector<MovieFileType> supportedFileTypes() const = 0;
    /// Where to write, and what. The file must not exist yet.
    virtual void setOutput(const std::filesystem::path& path, MovieFileType fileType) = 0;
    /// Exports off the main thread, syncs the output to the disk and then calls `completion` on the
    /// main thread, unless the session is gone; never from within. Main thread only; once.
    virtual void exportAsynchronously(std::function<void()> completion) = 0;
    /// Ends a running export soon, with the status `cancelled`. Any thread.
    virtual void cancel() = 0;

    // Main thread.
    [[nodiscard]] virtual Status status() const = 0;
    [[nodiscard]] virtual std::optional<PlatformError> error() const = 0;
    /// How much of the source the output lacks although readable samples come after it; 0 while
    /// the export runs. What is missing at the source's end does not count.
    [[nodiscard]] virtual std::int64_t damagedBytesLeftOut() const = 0;
    /// 0 to 1. Any thread.
    [[nodiscard]] virtual double progress() const = 0;
};

/// Main thread only.
class MovieExporter {
  public:
    virtual ~MovieExporter() = default;

    /// Nothing when the source cannot be exported at all.
    [[nodiscard]] virtual std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) = 0;
    /// Finds out how long the movie's readable samples last, off the main thread, and answers on
    /// the main thread; absent when nothing of it can be read.
    virtual void loadDuration(
        const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) = 0;
};

} // namespace brindle
