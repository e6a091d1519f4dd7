// Where recordings live and what their files are called. A recording is up to three files of one
// base name: the captured movie, the converted movie, and the sidecar that describes them.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace brindle {

/// A value. Any thread; what takes a file manager blocks on it.
struct RecordingsFolder {
    std::filesystem::path root; ///< absolute

    /// "Movies/Brindle" in the user's home folder.
    static std::filesystem::path defaultRoot();

    /// Creates the folder with those above it; one that is there already is no error. Fails as the
    /// file manager does.
    [[nodiscard]] Expected<void, FileError> createIfNeeded(FileManager& fileManager) const;

    /// The files of a recording, directly inside the folder. `baseName` is one path component.
    [[nodiscard]] std::filesystem::path movURL(std::string_view baseName) const;
    [[nodiscard]] std::filesystem::path mp4URL(std::string_view baseName) const;
    [[nodiscard]] std::filesystem::path sidecarURL(std::string_view baseName) const;

    /// The bytes of the files directly inside the folder, hidden ones left out; 0 when the folder
    /// is missing or cannot be read. Ends the program when 64 bits do not hold the sum.
    [[nodiscard]] std::int64_t totalSizeBytes(const FileManager& fileManager) const;

    friend bool operator==(const RecordingsFolder&, const RecordingsFolder&) = default;
};

/// Base names of recordings: the date and the minute at which they began, as the user's clock
/// showed it ("2025-03-14_0930").
struct RecordingNaming {
    static std::string baseName(Date date, const TimeZone& timeZone);

    /// The base name, or with "-2", "-3" and so on the first that no file of a recording in the
    /// folder has yet. Cannot fail: in a folder that may not be read every name is free. While the
    /// disk fails to say what is there, no name counts as free, and from the 10,000th on the first
    /// is taken that is not in the folder's listing either.
    static std::string uniqueBaseName(
        Date date, const std::filesystem::path& folder, const TimeZone& timeZone,
        const FileManager& fileManager);
};

} // namespace brindle
