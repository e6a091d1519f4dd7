// A media library whose conversions go as a test tells them, over a disk in memory.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "Support/CallJournal.hpp"
#include "Support/InMemoryFileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

class ScriptedExportSession;

class ScriptedMovieExporter final : public MovieExporter {
  public:
    /// How every later export goes.
    struct Script {
        bool canBeMade = true;
        std::vector<MovieFileType> supportedFileTypes = {
            MovieFileType::quickTime, MovieFileType::mpeg4};
        ExportSession::Status status = ExportSession::Status::completed;
        std::optional<PlatformError> error = {};
        /// How long the output is; without it, as long as its source.
        std::optional<Seconds> outputDuration = {};
        bool outputIsUnreadable = false;
        std::int64_t damagedBytesLeftOut = 0;
        /// The output is the source's own file under a second name.
        bool sharesTheSource = false;
        /// Ends by itself, as soon as the main loop runs; otherwise `finish` ends it.
        bool finishAtOnce = true;
    };

    ScriptedMovieExporter(MainLoop& mainLoop, InMemoryFileManager& fileManager);

    // --- Setting the scene ---

    [[nodiscard]] Script& script() { return script_; }
    /// How long a movie that has none of its own says it is.
    void setUsualDuration(std::optional<Seconds> duration) { usualDuration_ = duration; }
    void setDuration(const std::filesystem::path& movie, std::optional<Seconds> duration) {
        durations_[movie] = duration;
    }
    void setProgress(double progress);
    /// Ends the export made last, if it still lives, as the script says now.
    void finish();

    // --- Looking on ---

    [[nodiscard]] std::vector<std::string> calls() const { return journal_.calls(); }
    /// Where the export made last writes to.
    [[nodiscard]] const std::filesystem::path& output() const { return output_; }

    [[nodiscard]] std::shared_ptr<ExportSession>
    makePassthroughExport(const std::filesystem::path& source, MovieOrigin origin) override;
    void loadDuration(
        const std::filesystem::path& movie,
        std::function<void(std::optional<Seconds>)> answer) override;

  private:
    friend class ScriptedExportSession;

    [[nodiscard]] std::optional<Seconds> durationOf(const std::filesystem::path& movie) const;

    MainLoop& mainLoop_;
    InMemoryFileManager& fileManager_;
    Script script_;
    std::optional<Seconds> usualDuration_ = Seconds{60};
    std::map<std::filesystem::path, std::optional<Seconds>> durations_;
    std::weak_ptr<ScriptedExportSession> last_;
    std::filesystem::path output_;
    CallJournal journal_;
};

} // namespace brindle::test
