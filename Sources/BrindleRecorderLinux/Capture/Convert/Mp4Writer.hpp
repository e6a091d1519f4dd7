// Writes samples into an MP4 file.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieIndexSize.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"
#include "BrindleRecorderLinux/Capture/Media/OutputStream.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace brindle::media {

/// One thread at a time.
class Mp4Writer {
  public:
    /// Begins the file, which is new, with a track for each of the streams, whose samples are going
    /// to come as their container hands them out, and with the movie's tags. `roomForIndex` bytes
    /// are left at the front for the index; 0 puts it at the end. `source`, where there is one, is
    /// the open file that holds the packets' content at the places that they name: it is copied
    /// from there.
    static Expected<std::unique_ptr<Mp4Writer>, PlatformError> create(
        capture::OutputFile file, std::span<const AVStream* const> streams, const MovieTags& tags,
        std::int64_t roomForIndex, std::optional<int> source);

    /// Takes the packet's content; its times are in the units of the stream that it comes from.
    /// Fails where the media library writes anything else: what it believes of a stream whose
    /// description is damaged can make it cut the stream's samples to pieces.
    Expected<void, PlatformError> write(AVPacket& packet);

    /// Writes the index and returns when everything is safe on the disk.
    Expected<void, PlatformError> finish();

  private:
    struct Track {
        int sourceStream;
        AVRational sourceTimeBase;
    };

    Mp4Writer(capture::OutputFile file, std::int64_t roomForIndex, std::optional<int> source)
        : file_{std::make_unique<OutputStream>(std::move(file))},
          roomForIndex_{roomForIndex}, source_{source} {}
    Expected<void, PlatformError>
    begin(std::span<const AVStream* const> streams, const MovieTags& tags);
    [[nodiscard]] PlatformError errorFor(int result) const;
    Expected<void, PlatformError> fillRoomForIndex();

    std::unique_ptr<OutputStream> file_;
    std::int64_t roomForIndex_;
    std::optional<int> source_;
    std::int64_t configurationBytes_ = 0;
    std::int64_t mediaEnd_ = 0; ///< in the file, of what has been written of samples
    FormatHandle format_;
    std::vector<Track> tracks_;
    MovieIndexSize index_;
};

} // namespace brindle::media
