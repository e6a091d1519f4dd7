// Turns a finished .mov into an .mp4, samples untouched, and removes the .mov only once the .mp4 is
// known to be whole and safe on the disk.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only; the copying itself runs elsewhere. Must outlive its conversions.
class Remuxer {
  public:
    /// Ends when a conversion that has time may go on.
    using GiveWay = std::function<Task<void>()>;

    /// All must outlive the remuxer.
    Remuxer(
        MovieExporter& exporter, MainLoop& mainLoop, const DateProvider& dateProvider,
        FileManager& fileManager, DiagnosticLog& diagnosticLog, SystemLog& systemLog);
    Remuxer(const Remuxer&) = delete;
    Remuxer& operator=(const Remuxer&) = delete;

    /// Converts `source` (.mov) into `destination` (.mp4), which lie in the same folder; whatever
    /// is at the destination is replaced. Once it has succeeded the source is gone,
    /// unless damage inside it was left out: then it stays, and the log says how much.
    /// Fails with `remuxFailed` only, and then the source is still there. A destination that turned
    /// out shorter than its source stays beside it; of an export that failed nothing stays.
    /// What was `found` is read through before it is believed.
    /// `giveWay`, where there is one, is awaited before each piece of the work, which the exporter
    /// does one after the other for everybody: the export, and each measurement.
    Task<Expected<void, RecorderError>> remuxToMP4(
        std::filesystem::path source, std::filesystem::path destination, MovieOrigin origin,
        GiveWay giveWay = {});

    /// Ends the conversions that are being copied now: each fails with "Export was cancelled.".
    void cancel();

    /// How far the oldest running conversion is, 0 to 1; absent while none has run for a second.
    [[nodiscard]] const Published<std::optional<double>>& progress() const { return progress_; }

  private:
    class Conversion;

    Task<void> exportWithProgress(std::shared_ptr<ExportSession> session, std::string sourceName);
    Task<Expected<void, RecorderError>> verify(
        std::filesystem::path source, std::filesystem::path destination, std::int64_t leftOut,
        GiveWay giveWay);
    Task<std::optional<Seconds>> duration(std::filesystem::path movie, GiveWay giveWay);
    [[nodiscard]] RecorderError exportFailure(
        const ExportSession& session, const std::filesystem::path& source,
        const std::filesystem::path& output) const;
    Expected<void, RecorderError> replaceSource(
        const std::filesystem::path& source, const std::filesystem::path& temporary,
        const std::filesystem::path& destination, std::int64_t leftOut);
    Expected<void, FileError>
    giveFinalName(const std::filesystem::path& temporary, const std::filesystem::path& destination);
    [[nodiscard]] std::string fileState(const std::filesystem::path& path) const;
    void publishProgress();

    MovieExporter& exporter_;
    MainLoop& mainLoop_;
    FileManager& fileManager_;
    EventLog log_;
    std::vector<Conversion*> running_; // oldest first
    Published<std::optional<double>> progress_;
};

} // namespace brindle
