// Copies the readable samples of a movie into an MP4 file, untouched.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/FFmpeg/ByteSource.hpp"
#include "BrindleRecorderLinux/Media/CopyControl.hpp"

#include <filesystem>

namespace brindle::media {

/// Copies in one pass and returns when the result is safe on the disk. The destination must not
/// exist; it is created only once a readable sample has been found, and left as it is when the copy
/// fails. A cancelled copy fails with ECANCELED.
///
/// Every sample, its times and its key-frame mark stay as they were, the tracks' offset against one
/// another included. The index stands at the front of the file wherever its length could be
/// reckoned beforehand.
Expected<void, PlatformError> copyMovie(
    const std::filesystem::path& source, const std::filesystem::path& destination,
    CopyControl& control);

/// The same from bytes that have been opened.
Expected<void, PlatformError>
copyMovie(ByteSource& source, const std::filesystem::path& destination, CopyControl& control);

} // namespace brindle::media
