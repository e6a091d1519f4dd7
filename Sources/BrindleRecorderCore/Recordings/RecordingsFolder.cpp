#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"

#include "BrindleRecorderCore/Base/CheckedArithmetic.hpp"
#include "BrindleRecorderCore/Base/HomeDirectory.hpp"

#include <algorithm>
#include <array>
#include <cassert>
#include <fmt/format.h>
#include <optional>
#include <set>
#include <string>

namespace brindle {

namespace {

constexpr std::string_view movExtension = "mov";
constexpr std::string_view mp4Extension = "mp4";
constexpr std::string_view sidecarExtension = "json";
constexpr std::array extensions{movExtension, mp4Extension, sidecarExtension};

std::filesystem::path
url(const std::filesystem::path& folder, std::string_view baseName, std::string_view extension) {
    assert(baseName.find('/') == std::string_view::npos);
    return folder / fmt::format("{}.{}", baseName, extension);
}

bool isFree(
    std::string_view baseName, const std::filesystem::path& folder,
    const FileManager& fileManager) {
    return std::none_of(extensions.begin(), extensions.end(), [&](std::string_view extension) {
        return fileManager.fileExists(url(folder, baseName, extension));
    });
}

/// Of all recordings that a listing of the folder shows; none when there is no listing.
std::set<std::string>
baseNamesIn(const std::filesystem::path& folder, const FileManager& fileManager) {
    std::set<std::string> names;
    if (const auto entries = fileManager.contentsOfDirectory(folder)) {
        for (const DirectoryEntry& entry : *entries) {
            names.insert(entry.path.stem().string());
        }
    }
    return names;
}

} // namespace

std::filesystem::path RecordingsFolder::defaultRoot() {
    return homeDirectory() / "Movies" / "Brindle";
}

Expected<void, FileError> RecordingsFolder::createIfNeeded(FileManager& fileManager) const {
    return fileManager.createDirectory(root);
}

std::filesystem::path RecordingsFolder::movURL(std::string_view baseName) const {
    return url(root, baseName, movExtension);
}

std::filesystem::path RecordingsFolder::mp4URL(std::string_view baseName) const {
    return url(root, baseName, mp4Extension);
}

std::filesystem::path RecordingsFolder::sidecarURL(std::string_view baseName) const {
    return url(root, baseName, sidecarExtension);
}

std::int64_t RecordingsFolder::totalSizeBytes(const FileManager& fileManager) const {
    const auto entries = fileManager.contentsOfDirectory(root);
    std::int64_t total = 0;
    if (entries) {
        for (const DirectoryEntry& entry : *entries) {
            total = sumOrAbort(total, entry.fileSize.value_or(0));
        }
    }
    return total;
}

std::string RecordingNaming::baseName(Date date, const TimeZone& timeZone) {
    const LocalTime local = timeZone.localTimeAt(date);
    return fmt::format(
        "{:04}-{:02}-{:02}_{:02}{:02}", local.year, local.month, local.day, local.hour,
        local.minute);
}

std::string RecordingNaming::uniqueBaseName(
    Date date, const std::filesystem::path& folder, const TimeZone& timeZone,
    const FileManager& fileManager) {
    const std::string base = baseName(date, timeZone);
    std::string candidate = base;
    // A disk on which every look fails has no name that is known to be free. After so many the
    // listing tells such a disk from one that is full of recordings.
    constexpr std::int64_t mostBelieved = 10'000;
    std::optional<std::set<std::string>> listed;
    const auto isTaken = [&](std::int64_t tried) {
        if (isFree(candidate, folder, fileManager)) {
            return false;
        }
        if (tried < mostBelieved) {
            return true;
        }
        if (!listed) {
            listed = baseNamesIn(folder, fileManager);
        }
        return listed->contains(candidate);
    };
    for (std::int64_t number = 1; isTaken(number);) {
        ++number;
        candidate = fmt::format("{}-{}", base, number);
    }
    return candidate;
}

} // namespace brindle
