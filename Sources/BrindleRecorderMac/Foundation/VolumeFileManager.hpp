// The file system of macOS.
#pragma once

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

namespace brindle {

/// As on every POSIX system, but free space is what the system would make available for something
/// that the user wants, purgeable files included.
class VolumeFileManager final : public PosixFileManager {
  public:
    [[nodiscard]] Expected<std::optional<std::int64_t>, FileError>
    availableCapacity(const std::filesystem::path& path) const override;
};

} // namespace brindle
