#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"

#include "BrindleRecorderCore/Base/ByteCount.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"

#include <fmt/format.h>
#include <utility>

namespace brindle {

RecordingFiles::RecordingFiles(
    const AppEnvironment& environment, RecordingsFolder folder, EventLog log)
    : environment_{environment}, folder_{std::move(folder)}, log_{log} {
    makeFolder();
    measure();
}

void RecordingFiles::makeFolder() {
    static_cast<void>(folder_.createIfNeeded(environment_.fileManager));
}

DiskSpaceVerdict RecordingFiles::diskSpace() const {
    return DiskSpacePolicy::verdictForVolumeContaining(environment_.fileManager, folder_.root);
}

std::string RecordingFiles::uniqueBaseName() const {
    return RecordingNaming::uniqueBaseName(
        environment_.dateProvider.now(), folder_.root, environment_.currentTimeZone(),
        environment_.fileManager);
}

void RecordingFiles::writeSidecar(const std::string& baseName, const Sidecar& sidecar) {
    const auto written = SidecarStore::write(
        environment_.fileManager, sidecar, folder_.sidecarURL(baseName),
        environment_.currentTimeZone());
    if (!written) {
        log_.diagnostic(
            fmt::format("sidecar not written: {} {}", baseName, written.error().description()));
    }
}

void RecordingFiles::measure() {
    sizeText_.set(ByteCount::format(folder_.totalSizeBytes(environment_.fileManager)));
}

} // namespace brindle
