#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"

#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

Expected<std::vector<std::filesystem::path>, FileError>
InterruptedScan::sidecars(const RecordingsFolder& folder, const FileManager& fileManager) {
    const auto entries = fileManager.contentsOfDirectory(folder.root);
    if (!entries) {
        return unexpected{entries.error()};
    }
    std::vector<std::filesystem::path> sidecars;
    for (const DirectoryEntry& entry : *entries) {
        if (entry.path.extension() == ".json") {
            sidecars.push_back(entry.path);
        }
    }
    std::ranges::stable_sort(
        sidecars, {}, [](const auto& path) { return path.filename().native(); });
    return sidecars;
}

std::optional<InterruptedRecording> InterruptedScan::examine(
    const RecordingsFolder& folder, const FileManager& fileManager,
    const std::filesystem::path& sidecarURL) {
    const auto sidecar = SidecarStore::read(fileManager, sidecarURL);
    if (!sidecar || sidecar->endedAt) {
        return std::nullopt;
    }
    InterruptedRecording recording{
        .baseName = sidecarURL.stem().native(), .sidecarURL = sidecarURL, .movURL = std::nullopt};
    if (auto mov = folder.movURL(recording.baseName); fileManager.fileExists(mov)) {
        recording.movURL = std::move(mov);
    }
    return recording;
}

Expected<std::vector<InterruptedRecording>, FileError>
InterruptedScan::scan(const RecordingsFolder& folder, const FileManager& fileManager) {
    const auto paths = sidecars(folder, fileManager);
    if (!paths) {
        return unexpected{paths.error()};
    }
    std::vector<InterruptedRecording> found;
    for (const std::filesystem::path& path : *paths) {
        if (auto recording = examine(folder, fileManager, path)) {
            found.push_back(*std::move(recording));
        }
    }
    return found;
}

} // namespace brindle
