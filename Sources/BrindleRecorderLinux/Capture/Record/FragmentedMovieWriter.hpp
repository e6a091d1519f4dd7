// Writes a QuickTime movie in fragments, each of which is on the disk before the next one begins.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/EncodedPacket.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace brindle::media {

/// Operations block on the disk; one thread at a time, but for `abandon`. After an error nothing
/// more can be written; the file then ends with its last complete fragment.
class FragmentedMovieWriter {
  public:
    /// Writes the header into the new file, so that it is a movie from the first moment on. The
    /// tracks are those of the encoders, in this order.
    static Expected<std::unique_ptr<FragmentedMovieWriter>, PlatformError>
    create(capture::OutputFile file, const std::vector<const AVCodecContext*>& encoders);

    ~FragmentedMovieWriter();
    FragmentedMovieWriter(const FragmentedMovieWriter&) = delete;
    FragmentedMovieWriter& operator=(const FragmentedMovieWriter&) = delete;

    /// Takes packets in order per track. Those of different tracks are sorted by time, for which a
    /// packet waits until the other tracks have caught up, or have fallen behind too far.
    Expected<void, PlatformError> write(EncodedPacket packet);

    /// Writes what is left, the index, and syncs it all. The last operation.
    Expected<void, PlatformError> finish();

    /// Where the media ends that has gone into the movie so far, complete fragments or not.
    [[nodiscard]] std::chrono::nanoseconds mediaEnd() const { return mediaEnd_; }

    /// Whether somebody has removed the file: nobody would ever see what is written to it.
    [[nodiscard]] bool isRemoved() const { return file_.isRemoved(); }

    /// From now on nothing is written to the file any more. Any thread.
    void abandon() { abandoned_ = true; }

  private:
    explicit FragmentedMovieWriter(capture::OutputFile file) : file_{std::move(file)} {}

    Expected<void, PlatformError> open(const std::vector<const AVCodecContext*>& encoders);
    Expected<void, PlatformError> writeOpening();
    Expected<void, PlatformError> writeSorted(bool atTheEnd);
    [[nodiscard]] const std::deque<EncodedPacket>* nextTrack(bool atTheEnd) const;
    Expected<void, PlatformError> mux(EncodedPacket packet);
    Expected<void, PlatformError> endFragment();
    Expected<void, PlatformError> settle(int result);
    void cutOffDamage();

#if LIBAVFORMAT_VERSION_MAJOR >= 61
    static int writeBytes(void* opaque, const std::uint8_t* bytes, int count);
#else
    static int writeBytes(void* opaque, std::uint8_t* bytes, int count);
#endif
    static std::int64_t seekFile(void* opaque, std::int64_t offset, int origin);

    capture::OutputFile file_;
    std::vector<std::uint8_t> opening_; ///< collected until it is written in one piece
    bool collectsOpening_ = true;
    IoHandle io_;
    FormatHandle format_;
    std::vector<AVRational> units_; ///< of the encoders' times
    std::vector<std::deque<EncodedPacket>> waiting_;
    std::chrono::nanoseconds mediaEnd_{0};
    std::int64_t intactSize_ = 0; ///< the header and all complete fragments
    bool anythingInFragment_ = false;
    bool failed_ = false;
    std::atomic<bool> abandoned_ = false;
};

} // namespace brindle::media
