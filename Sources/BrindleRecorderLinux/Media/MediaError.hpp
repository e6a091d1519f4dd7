// The errors of FFmpeg and of the system's files as values of the seam.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"

#include <string>

namespace brindle::media {

/// For a code that FFmpeg returned. One that stands for a system error becomes that error.
PlatformError mediaError(int code);

/// For an `errno`.
PlatformError systemError(int errorNumber);

/// For what we find out ourselves.
PlatformError recordingError(std::string description);

} // namespace brindle::media
