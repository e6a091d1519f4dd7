// Copies the readable samples of a movie into an MP4 file, untouched.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Expected.hpp"
#include "BrindleRecorderLinux/Media/ByteSource.hpp"

#include <atomic>
#include <cstdint>
#include <filesystem>

namespace brindle::media {

/// How a copy is watched and ended from other threads.
struct CopyControl {
    std::atomic<bool> cancelled{false};
    std::atomic<double> progress{0}; ///< 0 to 1, never going back
    /// Set when the copy is complete: what was left out although readable samples come after it.
    std::atomic<std::int64_t> damagedBytes{0};
};

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
