// What every conversion of movies promises.
#pragma once

#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "Contract/Contract.hpp"

#include <atomic>
#include <filesystem>

namespace brindle::test {

/// A media library with a disk.
class MovieExporterSubject : public Subject {
  public:
    [[nodiscard]] virtual MovieExporter& exporter() = 0;
    /// A movie that lasts that long.
    [[nodiscard]] virtual std::filesystem::path movie() = 0;
    [[nodiscard]] virtual Seconds duration() const = 0;
    /// A file of which nothing can be read.
    [[nodiscard]] virtual std::filesystem::path unreadable() = 0;
    /// Something of which no export can be made.
    [[nodiscard]] virtual std::filesystem::path unexportable() = 0;
    /// Where a movie can be written to, and where none can.
    [[nodiscard]] virtual std::filesystem::path writable() = 0;
    [[nodiscard]] virtual std::filesystem::path unwritable() = 0;
    [[nodiscard]] virtual bool isThere(const std::filesystem::path& path) = 0;
    /// Exports that begin from now on last until `proceed` is called, or for so long that a test
    /// can do what it wants meanwhile.
    virtual void takeTime() = 0;
    virtual void proceed() = 0;
};

class MovieExporterContract : public Contract<MovieExporterSubject> {
  protected:
    [[nodiscard]] std::shared_ptr<ExportSession>
    begin(const std::filesystem::path& source, const std::filesystem::path& output);
    /// What `loadDuration` answers.
    [[nodiscard]] std::optional<Seconds> durationOf(const std::filesystem::path& movie);

    int completions_ = 0;
    bool isElsewhere_ = false; ///< whether any was told on another thread than the main one
};

} // namespace brindle::test
