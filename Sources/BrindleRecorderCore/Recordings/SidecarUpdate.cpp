#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include <utility>

namespace brindle {

Sidecar SidecarUpdate::finished(Sidecar sidecar, Date endedAt) {
    sidecar.endedAt = endedAt;
    return sidecar;
}

Sidecar SidecarUpdate::interrupted(Sidecar sidecar, Date endedAt, bool remuxSucceeded) {
    sidecar.endedAt = endedAt;
    sidecar.interrupted = true;
    return noting(
        std::move(sidecar),
        remuxSucceeded
            ? "Recording was interrupted; the .mov was remuxed to .mp4 on next launch."
            : "Recording was interrupted; remux to .mp4 failed, the .mov was left in place.");
}

Sidecar SidecarUpdate::noting(Sidecar sidecar, std::string note) {
    sidecar.notes.push_back(std::move(note));
    return sidecar;
}

} // namespace brindle
