// Finds the recordings that never came to their end, because the program or the machine went down.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A recording whose sidecar has no end time.
struct InterruptedRecording {
    std::string baseName;
    std::filesystem::path sidecarURL;
    std::optional<std::filesystem::path> movURL; ///< absent when the capture file is not there

    friend bool operator==(const InterruptedRecording&, const InterruptedRecording&) = default;
};

struct InterruptedScan {
    /// The interrupted recordings of the folder in order of their sidecars' file names, bytes
    /// compared: oldest first, but for those that began in one and the same minute. What cannot be
    /// read as a sidecar is passed over. Fails only when the folder cannot be listed. Changes
    /// nothing on disk. Blocks on the caller's thread; any thread.
    static Expected<std::vector<InterruptedRecording>, FileError>
    scan(const RecordingsFolder& folder, const FileManager& fileManager);

    // The same in steps, for whoever may not be kept that long.

    /// The folder's sidecars, whatever they say, in that order.
    static Expected<std::vector<std::filesystem::path>, FileError>
    sidecars(const RecordingsFolder& folder, const FileManager& fileManager);
    /// What the scan would say of that one; nothing when it passes it over.
    static std::optional<InterruptedRecording> examine(
        const RecordingsFolder& folder, const FileManager& fileManager,
        const std::filesystem::path& sidecarURL);
};

} // namespace brindle
