// The media engine in a module of its own, loaded when it is first needed.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <atomic>
#include <filesystem>
#include <mutex>

namespace brindle::media {

class MediaEngine;

/// A program that waits for calls does without the media library and the many libraries that come
/// with it. Once loaded they stay.
class MediaEngineModule {
  public:
    /// Opens the file but does not load it, so that what is loaded later is what was there at the
    /// program's start: an update that replaces the file in the meantime does no harm.
    explicit MediaEngineModule(std::filesystem::path file);

    /// False when the file could not be opened or the last attempt to load it failed. Any thread.
    [[nodiscard]] bool isUsable() const { return opened_.has_value() && !failed_; }

    /// The engine, never null; loads it where that is still to be done, which may take a second.
    /// The error says why the module or a library of it cannot be loaded; the next call tries
    /// again. Any thread.
    [[nodiscard]] Expected<MediaEngine*, PlatformError> engine();

  private:
    [[nodiscard]] Expected<MediaEngine*, PlatformError> load() const;

    const std::filesystem::path file_;
    const Expected<FileDescriptor, std::error_code> opened_;
    std::atomic<bool> failed_ = false;
    std::mutex mutex_; ///< guards `engine_`
    MediaEngine* engine_ = nullptr;
};

} // namespace brindle::media
