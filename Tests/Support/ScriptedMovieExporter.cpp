#include "Support/ScriptedMovieExporter.hpp"

#include <utility>

namespace brindle::test {

class ScriptedExportSession final : public ExportSession,
                                    public std::enable_shared_from_this<ScriptedExportSession> {
  public:
    ScriptedExportSession(ScriptedMovieExporter& exporter, std::filesystem::path source)
        : exporter_{exporter}, source_{std::move(source)} {}

    void setProgress(double progress) { progress_ = progress; }

    void end(Status status, std::optional<PlatformError> error) {
        if (!completion_) {
            return;
        }
        status_ = status;
        error_ = std::move(error);
        if (status == Status::completed) {
            const auto& script = exporter_.script_;
            if (!script.sharesTheSource) {
                exporter_.fileManager_.putFile(output_, "whole movie");
            }
            exporter_.durations_[output_] = exporter_.durationOf(source_);
            if (script.outputDuration) {
                exporter_.durations_[output_] = script.outputDuration;
            }
            if (script.outputIsUnreadable) {
                exporter_.durations_[output_] = std::nullopt;
            }
        }
        exporter_.mainLoop_.post(
            [session = weak_from_this(), completion = std::exchange(completion_, nullptr)] {
                if (session.lock()) {
                    completion();
                }
            });
    }

    [[nodiscard]] std::vector<MovieFileType> supportedFileTypes() const override {
        return exporter_.script_.supportedFileTypes;
    }
    void setOutput(const std::filesystem::path& path, MovieFileType fileType) override {
        exporter_.journal_.add(
            std::string{"output "} + (fileType == MovieFileType::mpeg4 ? "mp4 " : "mov ") +
            path.filename().string());
        output_ = path;
        exporter_.output_ = path;
    }
    void exportAsynchronously(std::function<void()> completion) override {
        exporter_.journal_.add(
            exporter_.fileManager_.contents(output_) ? "export over a file" : "export");
        status_ = Status::exporting;
        completion_ = std::move(completion);
        if (exporter_.script_.sharesTheSource) {
            exporter_.fileManager_.linkFile(source_, output_);
        } else {
            exporter_.fileManager_.putFile(output_, "part");
        }
        if (exporter_.script_.finishAtOnce) {
            exporter_.mainLoop_.post([weak = weak_from_this()] {
                if (const auto session = weak.lock()) {
                    const auto& script = session->exporter_.script_;
                    session->end(script.status, script.error);
                }
            });
        }
    }
    void cancel() override {
        exporter_.journal_.add("cancel");
        end(Status::cancelled, std::nullopt);
    }
    [[nodiscard]] Status status() const override { return status_; }
    [[nodiscard]] std::optional<PlatformError> error() const override { return error_; }
    [[nodiscard]] std::int64_t damagedBytesLeftOut() const override {
        return status_ == Status::exporting ? 0 : exporter_.script_.damagedBytesLeftOut;
    }
    [[nodiscard]] double progress() const override { return progress_; }

  private:
    ScriptedMovieExporter& exporter_;
    std::filesystem::path source_;
    std::filesystem::path output_;
    std::function<void()> completion_;
    Status status_ = Status::unknown;
    std::optional<PlatformError> error_;
    double progress_ = 0;
};

ScriptedMovieExporter::ScriptedMovieExporter(MainLoop& mainLoop, InMemoryFileManager& fileManager)
    : mainLoop_{mainLoop}, fileManager_{fileManager} {}

void ScriptedMovieExporter::setProgress(double progress) {
    last_.lock()->setProgress(progress);
}

void ScriptedMovieExporter::finish() {
    if (const auto session = last_.lock()) {
        session->end(script_.status, script_.error);
    }
}

std::shared_ptr<ExportSession> ScriptedMovieExporter::makePassthroughExport(
    const std::filesystem::path& source, MovieOrigin origin) {
    journal_.add(
        std::string{"make export "} + (origin == MovieOrigin::found ? "of found " : "") +
        source.filename().string());
    if (!script_.canBeMade) {
        return nullptr;
    }
    auto session = std::make_shared<ScriptedExportSession>(*this, source);
    last_ = session;
    return session;
}

void ScriptedMovieExporter::loadDuration(
    const std::filesystem::path& movie, std::function<void(std::optional<Seconds>)> answer) {
    journal_.add("duration " + movie.filename().string());
    mainLoop_.post(
        [answer = std::move(answer), duration = durationOf(movie)] { answer(duration); });
}

std::optional<Seconds> ScriptedMovieExporter::durationOf(const std::filesystem::path& movie) const {
    const auto found = durations_.find(movie);
    return found == durations_.end() ? usualDuration_ : found->second;
}

} // namespace brindle::test
