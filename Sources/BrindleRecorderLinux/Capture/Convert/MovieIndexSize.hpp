// Reckons how long the index of an MP4 file can become, so that room for it can be left at the
// front of the file before the first sample is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace brindle::media {

/// Is told the samples in the order in which they are written.
class MovieIndexSize {
  public:
    struct Sample {
        std::size_t track = 0;
        std::uint32_t size = 0;      ///< bytes
        std::int64_t decodeTime = 0; ///< in any unit that the track keeps to
        std::int64_t compositionOffset = 0;
        bool isSync = false;
    };

    void add(const Sample& sample);

    /// Bytes that the `moov` box cannot exceed. `configurationBytes` is the length of the tracks'
    /// decoder configurations together.
    [[nodiscard]] std::int64_t upperBound(std::int64_t configurationBytes) const;

  private:
    /// Counts how often a value differs from the one before it.
    class Runs {
      public:
        void add(std::int64_t value) {
            if (last_ != value) {
                ++count_;
                last_ = value;
            }
        }
        [[nodiscard]] std::int64_t count() const { return count_; }

      private:
        std::int64_t count_ = 0;
        std::optional<std::int64_t> last_;
    };

    struct Track {
        std::int64_t samples = 0;
        std::int64_t syncSamples = 0;
        std::int64_t chunks = 0;
        std::int64_t samplesInChunk = 0;
        std::int64_t bytesInChunk = 0;
        std::optional<std::int64_t> lastDecodeTime;
        Runs durations;
        Runs compositionOffsets;
        Runs chunkLengths; ///< of the chunks that have ended
    };

    std::vector<Track> tracks_;
    std::optional<std::size_t> lastTrack_;
    std::int64_t mediaBytes_ = 0;
};

} // namespace brindle::media
