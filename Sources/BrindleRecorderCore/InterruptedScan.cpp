#include "BrindleRecorderCore/InterruptedScan.hpp"

#include "BrindleRecorderCore/SidecarStore.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

namespace {

Expected<std::vector<std::filesystem::path>, FileError>
sidecarsByName(const RecordingsFolder& folder, const FileManager& fileManager) {
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

} // namespace

Expected<std::vector<InterruptedRecording>, FileError>
InterruptedScan::scan(const RecordingsFolder& folder, const FileManager& fileManager) {
    const auto sidecars = sidecarsByName(folder, fileManager);
    if (!sidecars) {
        return unexpected{sidecars.error()};
    }
    std::vector<InterruptedRecording> found;
    for (const std::filesystem::path& path : *sidecars) {
        const auto sidecar = SidecarStore::read(fileManager, path);
        if (!sidecar || sidecar->endedAt) {
            continue;
        }
        InterruptedRecording recording{
            .baseName = path.stem().native(), .sidecarURL = path, .movURL = std::nullopt};
        if (auto mov = folder.movURL(recording.baseName); fileManager.fileExists(mov)) {
            recording.movURL = std::move(mov);
        }
        found.push_back(std::move(recording));
    }
    return found;
}

} // namespace brindle
