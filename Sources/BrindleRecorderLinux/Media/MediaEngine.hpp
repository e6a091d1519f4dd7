// What the program asks of the library that encodes, writes and reads movies.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Media/CopyControl.hpp"
#include "BrindleRecorderLinux/Media/MovieRecording.hpp"

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>

namespace brindle::media {

/// Operations may be called from any thread, several at once. They throw std::bad_alloc.
class MediaEngine {
  public:
    virtual ~MediaEngine() = default;

    /// Begins a movie in a new file; every failure, of the beginning too, comes through `onFinish`,
    /// which is called exactly once, on any thread.
    [[nodiscard]] virtual std::shared_ptr<MovieRecording> beginRecording(
        const std::filesystem::path& path, const MovieRecording::Settings& settings,
        MovieFileOutput::FinishCallback onFinish) = 0;

    /// Copies the readable samples of a movie, untouched, into a new MP4 file, and returns when it
    /// is safe on the disk. A cancelled copy fails with ECANCELED.
    virtual Expected<void, PlatformError> copyMovie(
        const std::filesystem::path& source, const std::filesystem::path& destination,
        CopyControl& control) = 0;

    /// How long the readable part of a movie plays; nothing when no sample can be read or the
    /// question was cancelled.
    [[nodiscard]] virtual std::optional<Seconds>
    readableDuration(const std::filesystem::path& movie, const std::atomic<bool>& cancelled) = 0;
};

} // namespace brindle::media
