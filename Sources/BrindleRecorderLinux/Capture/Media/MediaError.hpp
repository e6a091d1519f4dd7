// The errors of FFmpeg as values of the seam.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"

namespace brindle::media {

/// For a code that FFmpeg returned. One that stands for a system error becomes that error.
PlatformError mediaError(int code);

using capture::recordingError;
using capture::systemError;

} // namespace brindle::media
