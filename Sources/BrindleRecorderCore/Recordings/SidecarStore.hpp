// Sidecars as files.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>

namespace brindle {

/// Why a sidecar could not be read: its file could not be, or it holds no sidecar.
struct SidecarError {
    std::variant<FileError, SidecarDecodingError> cause;

    [[nodiscard]] std::string description() const;
    friend bool operator==(const SidecarError&, const SidecarError&) = default;
};

/// Blocks on the caller's thread; callable from any thread.
struct SidecarStore {
    /// Far more than any sidecar needs, and little enough to read whatever calls itself one.
    static constexpr std::int64_t maxBytes = 1 << 20;

    /// Replaces the file in one step, as AtomicFile does: a reader finds the old sidecar or the new
    /// one, whole, and the new one survives a loss of power. A sidecar that would be too large to
    /// be read again is not written but fails with std::errc::file_too_large.
    static Expected<void, FileError> write(
        FileManager& fileManager, const Sidecar& sidecar, const std::filesystem::path& path,
        const TimeZone& timeZone);

    static Expected<Sidecar, SidecarError>
    read(const FileManager& fileManager, const std::filesystem::path& path);
};

} // namespace brindle
