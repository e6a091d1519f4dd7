// A small log on disk that the user can send when a recording went wrong: one line per event, two
// files at most.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Executor.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace brindle {

/// `log` may be called from any thread. Lines of one thread stay in order; no line is ever torn.
/// A file of more than `maxBytes` is renamed to end in ".1", replacing an earlier one, before the
/// next line is written; a folder of that name is set aside. Where that cannot be done, the file
/// starts anew at twice the size. Whatever fails on the disk costs lines and nothing else.
class DiagnosticLog {
  public:
    static constexpr std::string_view queueLabel = "com.tamsworth.brindlerecorder.diagnostic-log";

    /// Touches no files. The file manager must outlive the log. The queue is a thread of the log's
    /// own unless another is given; whichever it is, only this log may use it.
    DiagnosticLog(
        const std::filesystem::path& directory, std::string_view fileName, std::int64_t maxBytes,
        FileManager& fileManager, std::unique_ptr<Executor> queue = nullptr);

    /// The application's log: "recorder.log" of at most 5,000,000 bytes and a line, in the folder
    /// "Library/Logs/Brindle Recorder" of the user's home. Created by the first call; what is still
    /// queued when the program exits is written.
    static DiagnosticLog& shared();

    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }
    [[nodiscard]] std::int64_t maxBytes() const { return maxBytes_; }

    /// Queues a line and returns at once. `at` is the current time. Never fails and never throws.
    void log(std::string_view message, Date at) noexcept;

    /// Returns when every line that was logged before is in the file. Any thread but the log's own
    /// queue.
    void flush();

    /// A line: the time in that zone to the millisecond, a space, the message, a line feed. Line
    /// feeds of the message become spaces, so that no message can pose as two entries. All else
    /// stays as it is: entries end at line feeds alone, and what a terminal makes of other control
    /// characters is up to whoever takes text from outside into a message.
    static std::string format(std::string_view message, Date at, const TimeZone& timeZone);

  private:
    void append(const std::string& line);
    bool makeRoom();
    bool rotate();
    bool setAside(const std::filesystem::path& folder);

    std::filesystem::path fileURL_;
    std::int64_t maxBytes_;
    FileManager& fileManager_;
    std::unique_ptr<Executor> queue_; // last, so that it is drained before the rest goes
};

} // namespace brindle
