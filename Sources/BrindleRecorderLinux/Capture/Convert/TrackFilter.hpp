// Decides sample by sample what of a damaged track is worth keeping.
#pragma once

#include <cstdint>
#include <optional>

namespace brindle::media {

/// A picture is built upon the ones before it, so after a lost one everything up to the next key
/// frame would be shown broken: that is left out, and the picture before the gap stays on the
/// screen instead. A block of sound stands for itself.
class TrackFilter {
  public:
    enum class Kind { pictures, sound };

    explicit TrackFilter(Kind kind) : kind_{kind} {}

    /// To be asked about every sample in turn. Times are in any one unit. A sample whose decode
    /// time does not lie after the one kept before counts as damaged: no movie can hold it.
    bool keeps(bool intact, bool isKeyFrame, std::int64_t decodeTime) {
        if (!intact || (lastKept_ && decodeTime <= *lastKept_)) {
            skipGap();
            return false;
        }
        if (waitsForKeyFrame_ && !isKeyFrame) {
            return false;
        }
        waitsForKeyFrame_ = false;
        lastKept_ = decodeTime;
        return true;
    }

    /// Samples of the track are missing here.
    void skipGap() { waitsForKeyFrame_ = kind_ == Kind::pictures; }

  private:
    Kind kind_;
    bool waitsForKeyFrame_ = kind_ == Kind::pictures;
    std::optional<std::int64_t> lastKept_;
};

} // namespace brindle::media
