#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"

#include "BrindleRecorderCore/Base/HomeDirectory.hpp"
#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <algorithm>
#include <exception>
#include <fmt/format.h>
#include <utility>

namespace brindle {

DiagnosticLog::DiagnosticLog(
    const std::filesystem::path& directory, std::string_view fileName, std::int64_t maxBytes,
    FileManager& fileManager, std::unique_ptr<Executor> queue)
    : fileURL_{directory / fileName}, maxBytes_{maxBytes},
      fileManager_{fileManager}, queue_{std::move(queue)} {
    if (!queue_) {
        queue_ = std::make_unique<SerialQueue>(std::string{queueLabel});
    }
}

DiagnosticLog& DiagnosticLog::shared() {
    static PosixFileManager fileManager;
    static DiagnosticLog log{
        homeDirectory() / "Library" / "Logs" / "Brindle Recorder", "recorder.log", 5'000'000,
        fileManager};
    return log;
}

void DiagnosticLog::log(std::string_view message, Date at) noexcept {
    try {
        queue_->async([this, line = format(message, at, TimeZone::current())] { append(line); });
    } catch (const std::exception&) {
        // No memory, or a time-zone database that breaks off: the line is lost, the caller is not.
    }
}

void DiagnosticLog::flush() {
    queue_->sync([] {});
}

std::string DiagnosticLog::format(std::string_view message, Date at, const TimeZone& timeZone) {
    std::string line =
        InternetDateTime::format(at, timeZone, InternetDateTime::Fraction::milliseconds);
    line += ' ';
    const auto messageStart = static_cast<std::ptrdiff_t>(line.size());
    line += message;
    std::replace(line.begin() + messageStart, line.end(), '\n', ' ');
    line += '\n';
    return line;
}

void DiagnosticLog::append(const std::string& line) {
    // Every failure is passed over: where the log cannot be written there is nowhere to say so.
    fileManager_.createDirectory(fileURL_.parent_path());
    if (makeRoom()) {
        fileManager_.appendToFile(fileURL_, line);
    }
}

/// False when the file is as large as both may be together and cannot even be removed.
bool DiagnosticLog::makeRoom() {
    const std::int64_t size = fileManager_.fileSize(fileURL_).value_or(0);
    if (size <= maxBytes_ || rotate() || size <= 2 * maxBytes_) {
        return true;
    }
    return fileManager_.removeFile(fileURL_).has_value();
}

bool DiagnosticLog::rotate() {
    std::filesystem::path copy = fileURL_;
    copy += ".1";
    const auto moved = fileManager_.moveFile(fileURL_, copy);
    if (moved || moved.error().code != std::errc::is_a_directory) {
        return moved.has_value();
    }
    return setAside(copy) && fileManager_.moveFile(fileURL_, copy);
}

/// A folder is nothing that this log has made, so it is not removed.
bool DiagnosticLog::setAside(const std::filesystem::path& folder) {
    constexpr int mostTried = 100;
    for (int number = 1; number <= mostTried; ++number) {
        std::filesystem::path aside = folder;
        aside += fmt::format(".aside-{}", number);
        if (!fileManager_.fileExists(aside)) {
            return fileManager_.moveFile(folder, aside).has_value();
        }
    }
    return false;
}

} // namespace brindle
