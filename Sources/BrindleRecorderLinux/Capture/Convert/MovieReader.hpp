// Reads the samples of a movie that can still be read, whatever has happened to the file.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieView.hpp"
#include "BrindleRecorderLinux/Capture/Convert/SampleCheck.hpp"
#include "BrindleRecorderLinux/Capture/Convert/TrackFilter.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace brindle::media {

/// One thread at a time.
class MovieReader {
  public:
    /// `source` and `layout`, which is the source's own, must outlive the reader.
    static Expected<std::unique_ptr<MovieReader>, PlatformError>
    open(ByteSource& source, const MovieLayout& layout, MovieView::Access access);

    /// Puts the next readable sample of picture or sound into `packet`, as it stands in the file,
    /// with its times in the track's units and its key-frame mark. False at the end.
    Expected<bool, PlatformError> next(AVPacket& packet);

    /// Goes to the last key frame at or before `time`, or to the beginning if there is none. False
    /// when the library cannot. Only for a reader that may go anywhere.
    bool seek(Seconds time);

    /// How long the longest track is if everything that the movie lists can be read. Only for a
    /// reader that may go anywhere.
    [[nodiscard]] Seconds listedDuration() const;

    /// The container, with a stream for each track. Samples come from those `hasSamples` names.
    [[nodiscard]] AVFormatContext& format() { return *format_; }
    [[nodiscard]] bool hasSamples(int stream) const;
    /// How many bytes were not handed on although a sample behind them was: damaged stretches and
    /// samples, and pictures that cannot be shown without one of those.
    [[nodiscard]] std::int64_t damagedBytesPassed() const;
    /// Bytes from the beginning of the source.
    [[nodiscard]] std::int64_t reached() const { return view_.reached(); }

  private:
    struct InputCloser {
        void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
    };
    struct Track {
        SampleFormat format;
        TrackFilter::Kind kind;
        TrackFilter filter;
        std::optional<std::int64_t> lastDecodeTime; ///< whether that sample was kept or not
        std::int64_t lastPosition = -1;             ///< in the file, of that sample
    };

    MovieReader(ByteSource& source, const MovieLayout& layout, MovieView::Access access);
    Expected<void, PlatformError> openInput();
    void findTracks();
    void countMissingSamples();
    void noteKept(const AVPacket& packet);
    void noteLeftOut(const AVPacket& packet);
    bool keeps(const AVPacket& packet);
    [[nodiscard]] bool isFragmentLostBetween(std::int64_t from, std::int64_t to) const;
    void supplyDuration(AVPacket& packet);

    const MovieLayout& layout_;
    MovieView view_;
    MovieView::Access access_;
    std::int64_t missingSamples_ = 0; ///< listed, but behind the end of the file
    std::int64_t missed_ = 0;         ///< of those, the ones that have been asked for
    std::unique_ptr<AVFormatContext, InputCloser> format_;
    std::vector<std::optional<Track>> tracks_; ///< by stream; nothing for what is left out
    struct Stretch {
        std::int64_t offset = 0;
        std::int64_t size = 0;
    };
    std::int64_t furthestKept_ = -1;    ///< in the file
    std::int64_t damagedBytes_ = 0;     ///< of samples before that
    std::vector<Stretch> leftOutAhead_; ///< behind that, as far as is known
    std::int64_t zerosUpTo_ = -1;       ///< where the last damaged sample that ends in zeros did so
};

} // namespace brindle::media
