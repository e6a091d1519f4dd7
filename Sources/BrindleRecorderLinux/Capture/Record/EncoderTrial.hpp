// Whether an encoder works here: one picture says it.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

#include <string>

namespace brindle::media {

/// Has the encoder of that name compress one picture, as a movie with those settings would. Fails
/// with what FFmpeg says of it. Blocks for as long as a driver takes; meanwhile the whole process's
/// messages of FFmpeg come here.
Expected<void, PlatformError>
tryEncoder(const std::string& name, const VideoOutputSettings& settings);

} // namespace brindle::media
