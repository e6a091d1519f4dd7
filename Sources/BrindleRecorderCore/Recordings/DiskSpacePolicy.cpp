#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"

#include "BrindleRecorderCore/Base/ByteCount.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

std::string oneDecimal(double number) {
    std::string text = fmt::format("{:.1f}", number);
    return text.replace(text.find('.'), 1, ByteCount::decimalSign(Language::ofTheUser()));
}

} // namespace

std::optional<std::string> DiskSpaceVerdict::message() const {
    if (kind == Kind::ok) {
        return std::nullopt;
    }
    const std::string number = oneDecimal(static_cast<double>(freeBytes) / 1e9);
    const auto gigabytes = fmt::arg("gigabytes", number);
    return kind == Kind::warn
               ? say("Only {gigabytes} GB free — recording anyway.", gigabytes)
               : say("Only {gigabytes} GB free — not recording this call.", gigabytes);
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
