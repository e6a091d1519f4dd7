// Whether a volume has room for another recording, and how the user is told when it has not.
#pragma once

#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brindle {

struct DiskSpaceVerdict {
    enum class Kind {
        ok,    ///< enough space
        warn,  ///< little space: record, but tell the user
        refuse ///< too little space: do not record
    };

    Kind kind;
    std::int64_t freeBytes;

    static constexpr DiskSpaceVerdict ok(std::int64_t freeBytes) { return {Kind::ok, freeBytes}; }
    static constexpr DiskSpaceVerdict warn(std::int64_t freeBytes) {
        return {Kind::warn, freeBytes};
    }
    static constexpr DiskSpaceVerdict refuse(std::int64_t freeBytes) {
        return {Kind::refuse, freeBytes};
    }

    [[nodiscard]] constexpr bool allowsRecording() const { return kind != Kind::refuse; }
    /// What the user is told; nothing when there is enough space.
    [[nodiscard]] std::optional<std::string> message() const;

    friend bool operator==(const DiskSpaceVerdict&, const DiskSpaceVerdict&) = default;
};

/// Stateless; any thread. The functions that take a file manager block on it for a moment.
struct DiskSpacePolicy {
    // Decimal gigabytes, like those that the message counts in.
    static constexpr std::int64_t warnThresholdBytes = 5'000'000'000;
    static constexpr std::int64_t refuseThresholdBytes = 1'000'000'000;

    /// A volume with exactly a threshold's bytes has reached it.
    static DiskSpaceVerdict verdict(std::int64_t freeBytes);

    /// The free bytes of the volume that holds `path`, which must exist; 0 when the volume does not
    /// say. Fails as the file system does.
    static Expected<std::int64_t, FileError>
    freeBytes(const FileManager& fileManager, const std::filesystem::path& path);

    /// Never fails: a volume whose free space cannot be found out counts as full.
    static DiskSpaceVerdict
    verdictForVolumeContaining(const FileManager& fileManager, const std::filesystem::path& path);
};

} // namespace brindle
