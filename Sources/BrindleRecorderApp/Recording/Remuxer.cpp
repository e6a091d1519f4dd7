#include "BrindleRecorderApp/Recording/Remuxer.hpp"

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Diagnostics.hpp"
#include "BrindleRecorderApp/Words/FailureTexts.hpp"
#include "BrindleRecorderCore/Recordings/RemuxVerification.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace brindle {

namespace {

using Level = EventLog::Level;

constexpr Seconds durationTolerance{1};
constexpr std::chrono::seconds progressInterval{1};
constexpr int progressLinesEvery = 10; // readings of the progress

/// A hidden name beside the destination, so that nobody takes a file in the making for a movie.
std::filesystem::path temporaryFor(const std::filesystem::path& destination) {
    auto name = destination.filename();
    return destination.parent_path() / ("." + name.string() + ".partial");
}

tl::unexpected<RecorderError> failed(std::string text) {
    return unexpected(RecorderError::remuxFailed(std::move(text)));
}

std::string listOf(const std::vector<MovieFileType>& types) {
    std::string text;
    for (const auto type : types) {
        text += text.empty() ? "" : ", ";
        text += type == MovieFileType::mpeg4 ? "mp4" : "mov";
    }
    return "[" + text + "]";
}

double secondsOrUnknown(std::optional<Seconds> duration) {
    constexpr double unknown = -1;
    return duration ? duration->count() : unknown;
}

/// Whole seconds, the fraction cut off.
std::string wholeSeconds(std::optional<Seconds> duration) {
    const double seconds = duration && std::isfinite(duration->count()) ? duration->count() : 0;
    return fmt::format("{:.0f}", std::trunc(seconds));
}

} // namespace

/// One export while it runs, and the regular look at how far it is.
class Remuxer::Conversion {
  public:
    Conversion(Remuxer& remuxer, std::shared_ptr<ExportSession> session, std::string sourceName)
        : remuxer_{remuxer}, session_{std::move(session)}, sourceName_{std::move(sourceName)} {
        remuxer_.running_.push_back(this);
        lookLater();
    }
    ~Conversion() {
        std::erase(remuxer_.running_, this);
        remuxer_.publishProgress();
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    [[nodiscard]] const std::shared_ptr<ExportSession>& session() const { return session_; }
    [[nodiscard]] std::optional<double> progress() const { return progress_; }

  private:
    void lookLater() {
        timer_ = remuxer_.mainLoop_.after(progressInterval, [this] {
            look();
            lookLater();
        });
    }

    void look() {
        progress_ = std::clamp(session_->progress(), 0.0, 1.0);
        if (++looks_ % progressLinesEvery == 0) {
            remuxer_.log_.both(
                Level::info,
                fmt::format("remux progress: {} {:.0f}%", sourceName_, 100 * *progress_));
        }
        remuxer_.publishProgress();
    }

    Remuxer& remuxer_;
    std::shared_ptr<ExportSession> session_;
    std::string sourceName_;
    std::unique_ptr<MainLoop::Timer> timer_;
    std::optional<double> progress_;
    int looks_ = 0;
};

Remuxer::Remuxer(
    MovieExporter& exporter, MainLoop& mainLoop, const DateProvider& dateProvider,
    FileManager& fileManager, DiagnosticLog& diagnosticLog, SystemLog& systemLog)
    : exporter_{exporter}, mainLoop_{mainLoop},
      fileManager_{fileManager}, log_{diagnosticLog, systemLog, dateProvider} {}

Task<Expected<void, RecorderError>> Remuxer::remuxToMP4(
    std::filesystem::path source, std::filesystem::path destination, MovieOrigin origin,
    GiveWay giveWay) {
    if (giveWay) {
        co_await giveWay();
    }
    const std::string sourceName = source.filename().string();
    log_.both(
        Level::info, fmt::format(
                         "remux start: {} {} -> {}", sourceName, fileState(source),
                         destination.filename().string()));

    // Of a conversion that was cut off; whatever becomes of this one, nobody comes back for it.
    const auto temporary = temporaryFor(destination);
    fileManager_.removeFileForGood(temporary);
    const auto session = exporter_.makePassthroughExport(source, origin);
    if (!session) {
        log_.both(
            Level::error,
            fmt::format(
                "remux failed: {} could not create a passthrough export session", sourceName));
        co_return failed(FailureTexts::noExportSession);
    }
    const auto supported = session->supportedFileTypes();
    if (std::ranges::find(supported, MovieFileType::mpeg4) == supported.end()) {
        log_.both(
            Level::error, fmt::format(
                              "remux failed: {} passthrough export cannot write MP4; supported={}",
                              sourceName, listOf(supported)));
        co_return failed(FailureTexts::cannotWriteMP4);
    }

    // Where there is nothing to convert, what is at the destination may be all that is left.
    if (Diagnostics::fileSize(fileManager_, source).value_or(0) > 0) {
        fileManager_.removeFile(destination);
    }
    session->setOutput(temporary, MovieFileType::mpeg4);
    co_await exportWithProgress(session, sourceName);

    if (session->status() != ExportSession::Status::completed) {
        const auto failure = exportFailure(*session, source, temporary);
        // All it could hold is still in the source, and hidden it would only fill the disk.
        fileManager_.removeFileForGood(temporary);
        co_return unexpected(failure);
    }
    const std::int64_t leftOut = session->damagedBytesLeftOut();
    co_return co_await verify(source, destination, leftOut, std::move(giveWay));
}

Task<void>
Remuxer::exportWithProgress(std::shared_ptr<ExportSession> session, std::string sourceName) {
    const Conversion conversion{*this, session, std::move(sourceName)};
    const Continuation<Done> exported;
    session->exportAsynchronously([exported] { exported.resume({}); });
    co_await exported;
}

RecorderError Remuxer::exportFailure(
    const ExportSession& session, const std::filesystem::path& source,
    const std::filesystem::path& output) const {
    const std::string name = source.filename().string();
    if (session.status() == ExportSession::Status::cancelled) {
        log_.both(Level::info, fmt::format("remux cancelled: {} {}", name, fileState(source)));
        return RecorderError::remuxFailed(FailureTexts::exportCancelled);
    }
    const int status = static_cast<int>(session.status());
    const auto error = session.error();
    log_.diagnostic(fmt::format(
        "remux failed: {} status={} {}", name, status,
        error ? Diagnostics::describe(*error) : "no error"));
    const auto states = fmt::format("source {}; output {}", fileState(source), fileState(output));
    if (!error) {
        log_.system(
            Level::error,
            fmt::format("remux failed: {} status={} with no error; {}", name, status, states));
        return RecorderError::remuxFailed(FailureTexts::unknownExportFailure(status));
    }
    const auto underlying = Diagnostics::underlyingOrNone(*error);
    const auto dependencies = error->userInfo.find("failedDependencies");
    log_.system(
        Level::error,
        fmt::format(
            "remux error: domain={} code={} underlying={} {} failedDependencies={} description={}",
            error->domain, error->code, underlying.domain, underlying.code,
            dependencies == error->userInfo.end() ? "none" : dependencies->second,
            error->description));
    log_.system(
        Level::error,
        fmt::format("remux error userInfo: {}", Diagnostics::describeUserInfo(*error)));
    log_.system(Level::error, fmt::format("remux failed: {} status={}; {}", name, status, states));
    return RecorderError::remuxFailed(error->description);
}

Task<Expected<void, RecorderError>> Remuxer::verify(
    std::filesystem::path source, std::filesystem::path destination, std::int64_t leftOut,
    GiveWay giveWay) {
    const auto temporary = temporaryFor(destination);
    const auto sourceDuration = co_await duration(source, giveWay);
    const auto outputDuration = co_await duration(temporary, giveWay);
    const double sourceSeconds = secondsOrUnknown(sourceDuration);
    const double outputSeconds = secondsOrUnknown(outputDuration);
    const std::string sourceName = source.filename().string();
    log_.both(
        Level::info, fmt::format(
                         "remux done: {} {}s -> {} {}s {}", sourceName, sourceSeconds,
                         destination.filename().string(), outputSeconds, fileState(temporary)));
    if (RemuxVerification::outputIsComplete(sourceDuration, outputDuration, durationTolerance)) {
        co_return replaceSource(source, temporary, destination, leftOut);
    }
    log_.both(
        Level::error, fmt::format(
                          "remux incomplete: {} source={:f}s output={:f}s; keeping .mov",
                          sourceName, sourceSeconds, outputSeconds));
    if (const auto named = giveFinalName(temporary, destination); !named) {
        log_.both(
            Level::error, fmt::format(
                              "remux incomplete: {} the output stays at {}: {}", sourceName,
                              temporary.filename().string(), named.error().description()));
    }
    co_return failed(fmt::format(
        "MP4 is shorter than the source ({} s of {} s)", wholeSeconds(outputDuration),
        wholeSeconds(sourceDuration)));
}

Expected<void, RecorderError> Remuxer::replaceSource(
    const std::filesystem::path& source, const std::filesystem::path& temporary,
    const std::filesystem::path& destination, std::int64_t leftOut) {
    const std::string sourceName = source.filename().string();
    if (const auto named = giveFinalName(temporary, destination); !named) {
        const auto reason = named.error().description();
        log_.both(
            Level::error,
            fmt::format("remux failed: {} could not put the MP4 in place; {}", sourceName, reason));
        fileManager_.removeFileForGood(temporary);
        return failed(FailureTexts::notPutInPlace(reason));
    }
    if (leftOut > 0) {
        // Somebody else may be able to read more of it.
        log_.both(
            Level::error,
            fmt::format(
                "remux completed: {} {}; keeping {}: {} bytes of damage inside it "
                "were left out",
                destination.filename().string(), fileState(destination), sourceName, leftOut));
        return {};
    }
    log_.both(
        Level::info, fmt::format(
                         "remux completed: {} {}; deleting {}", destination.filename().string(),
                         fileState(destination), sourceName));
    if (const auto removed = fileManager_.removeFileForGood(source); !removed) {
        log_.both(
            Level::error, fmt::format(
                              "remux completed: {} could not be deleted; {}", sourceName,
                              removed.error().description()));
    }
    return {};
}

/// Renames the output, and sees to it that the name survives a loss of power.
Expected<void, FileError> Remuxer::giveFinalName(
    const std::filesystem::path& temporary, const std::filesystem::path& destination) {
    if (auto moved = fileManager_.moveFile(temporary, destination); !moved) {
        return moved;
    }
    return fileManager_.syncDirectory(destination.parent_path());
}

Task<std::optional<Seconds>> Remuxer::duration(std::filesystem::path movie, GiveWay giveWay) {
    if (giveWay) {
        co_await giveWay();
    }
    const Continuation<std::optional<Seconds>> answered;
    exporter_.loadDuration(
        movie, [answered](std::optional<Seconds> duration) { answered.resume(duration); });
    co_return co_await answered;
}

void Remuxer::cancel() {
    // A session may end at once, and its conversion with it.
    std::vector<std::shared_ptr<ExportSession>> sessions;
    for (const auto* conversion : running_) {
        sessions.push_back(conversion->session());
    }
    for (const auto& session : sessions) {
        session->cancel();
    }
}

std::string Remuxer::fileState(const std::filesystem::path& path) const {
    return Diagnostics::fileState(fileManager_, path);
}

void Remuxer::publishProgress() {
    progress_.set(running_.empty() ? std::nullopt : running_.front()->progress());
}

} // namespace brindle
