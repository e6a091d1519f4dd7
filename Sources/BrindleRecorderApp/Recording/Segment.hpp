// One movie of a call. A call has several when capture fails in its middle, or the machine sleeps.
#pragma once

#include "BrindleRecorderApp/Recording/RecordingSession.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace brindle {

/// What is being recorded, from a successful start until a stop or a failure.
struct Segment {
    RecordingRequest request; ///< that it was begun for
    /// Tells it from every other, also from one that was discarded and had the same name.
    std::uint64_t number = 0;
    std::string baseName;
    Sidecar sidecar;                          ///< as it was written last
    std::optional<std::string> cameraID{};    ///< of the camera in use
    bool lacksCamera = false;                 ///< it would have one if one could be opened
    std::set<std::string> refusedCameraIDs{}; ///< that could not be opened although they are free
};

} // namespace brindle
