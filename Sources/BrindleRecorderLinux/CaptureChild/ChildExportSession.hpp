// One conversion of a movie to MP4, in a program of its own.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"

#include <memory>

namespace brindle {

namespace capture {
class MovieChild;
}

class ChildExportSession final : public ExportSession {
  public:
    /// All outlive the session. The system's log is told when the movie is copied, and why.
    ChildExportSession(
        MainLoop& mainLoop, SystemLog& systemLog, capture::CaptureChildren& children,
        std::filesystem::path source, MovieOrigin origin);
    /// Cancels a running export and waits for it to end.
    ~ChildExportSession() override;
    ChildExportSession(const ChildExportSession&) = delete;
    ChildExportSession& operator=(const ChildExportSession&) = delete;

    [[nodiscard]] std::vector<MovieFileType> supportedFileTypes() const override;
    void setOutput(const std::filesystem::path& path, MovieFileType fileType) override;
    void exportAsynchronously(std::function<void()> completion) override;
    void cancel() override;
    [[nodiscard]] Status status() const override;
    [[nodiscard]] std::optional<PlatformError> error() const override;
    [[nodiscard]] std::int64_t damagedBytesLeftOut() const override;
    /// Told twice a second.
    [[nodiscard]] double progress() const override;

  private:
    struct State;

    MainLoop& mainLoop_;
    SystemLog& systemLog_;
    capture::CaptureChildren& children_;
    std::filesystem::path source_;
    MovieOrigin origin_;
    std::filesystem::path destination_;
    MovieFileType fileType_ = MovieFileType::mpeg4;
    std::shared_ptr<State> state_;
};

} // namespace brindle
