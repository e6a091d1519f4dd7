#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"

#include <fmt/format.h>

namespace brindle {

std::optional<std::string> DiskSpaceVerdict::message() const {
    if (kind == Kind::ok) {
        return std::nullopt;
    }
    return fmt::format(
        "Only {:.1f} GB free — {}.", static_cast<double>(freeBytes) / 1e9,
        kind == Kind::warn ? "recording anyway" : "not recording this call");
}

DiskSpaceVerdict DiskSpacePolicy::verdict(std::int64_t freeBytes) {
    if (freeBytes < refuseThresholdBytes) {
        return DiskSpaceVerdict::refuse(freeBytes);
    }
    if (freeBytes < warnThresholdBytes) {
        return DiskSpaceVerdict::warn(freeBytes);
    }
    return DiskSpaceVerdict::ok(freeBytes);
}

Expected<std::int64_t, FileError>
DiskSpacePolicy::freeBytes(const FileManager& fileManager, const std::filesystem::path& path) {
    return fileManager.availableCapacity(path).map(
        [](std::optional<std::int64_t> capacity) { return capacity.value_or(0); });
}

DiskSpaceVerdict DiskSpacePolicy::verdictForVolumeContaining(
    const FileManager& fileManager, const std::filesystem::path& path) {
    return verdict(freeBytes(fileManager, path).value_or(0));
}

} // namespace brindle
