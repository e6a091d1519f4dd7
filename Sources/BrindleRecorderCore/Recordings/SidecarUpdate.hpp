// How a sidecar changes in the course of its recording.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"

#include <string>

namespace brindle {

/// Pure functions; each returns a changed copy. Callable from any thread.
struct SidecarUpdate {
    /// The recording has ended; whether it was interrupted stays as it was.
    static Sidecar finished(Sidecar sidecar, Date endedAt);

    /// The recording had been cut off, and has now been seen to: sets its end, marks it and notes
    /// whether its movie could be converted.
    static Sidecar interrupted(Sidecar sidecar, Date endedAt, bool remuxSucceeded);

    /// Adds a remark after all others.
    static Sidecar noting(Sidecar sidecar, std::string note);
};

} // namespace brindle
