// The recordings folder, as those who record into it use it.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <string>

namespace brindle {

/// Main thread only.
class RecordingFiles {
  public:
    /// Creates the folder where it is missing, and measures it.
    RecordingFiles(const AppEnvironment& environment, RecordingsFolder folder, EventLog log);
    RecordingFiles(const RecordingFiles&) = delete;
    RecordingFiles& operator=(const RecordingFiles&) = delete;

    [[nodiscard]] const RecordingsFolder& folder() const { return folder_; }

    /// Creates the folder where it is missing. Whatever is wrong with it shows when it is used.
    void makeFolder();
    /// Whether there is room for a recording.
    [[nodiscard]] DiskSpaceVerdict diskSpace() const;
    /// The base name for a recording that begins now; nothing in the folder has it.
    [[nodiscard]] std::string uniqueBaseName() const;

    /// One that cannot be written is noted in the log: the recording goes on all the same.
    void writeSidecar(const std::string& baseName, const Sidecar& sidecar);

    /// How large the folder was when it was measured last, in words.
    [[nodiscard]] const Published<std::string>& sizeText() const { return sizeText_; }
    void measure();

  private:
    AppEnvironment environment_;
    RecordingsFolder folder_;
    EventLog log_;
    Published<std::string> sizeText_{std::string{}}; // measured at once
};

} // namespace brindle
