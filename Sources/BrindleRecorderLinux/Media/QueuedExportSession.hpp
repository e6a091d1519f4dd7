// One conversion of a movie to MP4.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <future>
#include <memory>

namespace brindle {

namespace media {
class MediaEngineModule;
}

class QueuedExportSession final : public ExportSession {
  public:
    /// Main loop and module outlive the session, which does its work on `worker`.
    QueuedExportSession(
        MainLoop& mainLoop, media::MediaEngineModule& module, std::shared_ptr<SerialQueue> worker,
        std::filesystem::path source);
    /// Cancels a running export and waits for it to end.
    ~QueuedExportSession() override;
    QueuedExportSession(const QueuedExportSession&) = delete;
    QueuedExportSession& operator=(const QueuedExportSession&) = delete;

    [[nodiscard]] std::vector<MovieFileType> supportedFileTypes() const override;
    void setOutput(const std::filesystem::path& path, MovieFileType fileType) override;
    void exportAsynchronously(std::function<void()> completion) override;
    void cancel() override;
    [[nodiscard]] Status status() const override;
    [[nodiscard]] std::optional<PlatformError> error() const override;
    [[nodiscard]] std::int64_t damagedBytesLeftOut() const override;
    [[nodiscard]] double progress() const override;

  private:
    struct State;

    MainLoop& mainLoop_;
    media::MediaEngineModule& module_;
    std::shared_ptr<SerialQueue> worker_;
    std::filesystem::path source_;
    std::filesystem::path destination_;
    MovieFileType fileType_ = MovieFileType::mpeg4;
    std::shared_ptr<State> state_;
    std::future<void> ended_; ///< valid once the export has been started
};

} // namespace brindle
