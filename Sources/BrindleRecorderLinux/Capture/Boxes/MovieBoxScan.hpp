// Finds out how much of a movie can be read, whatever has happened to the file: cut anywhere, zeros
// at its end, holes or foreign bytes in it.
//
// The readers of the media library trust the boxes of a movie, and one broken header makes them
// refuse all of it. So the boxes are checked here first, and the library is shown a tidied view:
// it ends where nothing more can be read, and every damaged stretch poses as one box without
// meaning. Nothing moves, since samples are found by their place in the file.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieBox.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieFragment.hpp"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace brindle::media {

/// A stretch of the file that is to be shown as one box.
struct StandInBox {
    std::int64_t offset = 0;
    std::int64_t size = 0; ///< at least 8
    BoxType type = 0;

    friend bool operator==(const StandInBox&, const StandInBox&) = default;
};

struct MovieLayout {
    /// The samples come in fragments behind the header, so the file can be read in one go.
    bool fragmented = false;
    bool isEdited = false; ///< the header has edits
    Seconds duration{0};   ///< as the header claims
    std::int64_t end = 0;  ///< the view's
    /// In order, not overlapping: `free` for damaged stretches, which fragments may have been lost
    /// with, and `mdat` for sound data whose own header is damaged.
    std::vector<StandInBox> standIns;
    std::int64_t fragments = 0; ///< whose headers are sound
    std::int64_t samples = 0;   ///< that the header or the sound fragments name
    /// The last sample of each track in the sound fragments: the only one whose length does not
    /// follow from the next one's time.
    std::vector<FragmentSample> lastSamples;
};

struct MovieScanError {
    enum class Reason {
        readFailed,    ///< see `errorNumber`
        noMovieHeader, ///< no movie, or one whose header is damaged
        tooLarge,      ///< more samples than are believed, see `mostSamplesOfAMovie`
        overlapping,   ///< the header names the same bytes more than once
        tooDamaged     ///< the search for sound fragments would take for ever
    };

    Reason reason = Reason::noMovieHeader;
    int errorNumber = 0; ///< an `errno`
};

/// Is told the samples of every sound fragment, in the order of their places in the file. The data
/// of the last ones may be missing.
using FragmentVisitor = std::function<void(const std::vector<FragmentSample>&)>;

/// Reads the headers, not the media data, except in damaged stretches, which are searched for the
/// next sound fragment. Takes time proportional to the size of the file at most and memory for one
/// fragment's header at most, whatever the file claims.
Expected<MovieLayout, MovieScanError>
scanMovie(ByteSource& source, const FragmentVisitor& visit = {});

} // namespace brindle::media
