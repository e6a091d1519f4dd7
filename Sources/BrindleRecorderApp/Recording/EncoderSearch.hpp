// Finds out which encoder works here, by trying.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderCore/Recordings/EncoderSelection.hpp"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brindle {

class VideoEncoders;

/// What came of one encoder's trial.
struct EncoderTrial {
    EncoderCandidate encoder;
    std::optional<std::string> whyNot; ///< absent where it works
    friend bool operator==(const EncoderTrial&, const EncoderTrial&) = default;
};

/// Pure, but for `run`, which is of the main thread.
struct EncoderSearch {
    enum class Extent {
        untilOneIsChosen, ///< touches nothing that comes after it
        withTheUnchosen   ///< also those that are never chosen by themselves
    };
    struct Outcome {
        std::optional<EncoderCandidate> chosen;
        std::vector<EncoderTrial> trials; ///< in the order in which they were made
        friend bool operator==(const Outcome&, const Outcome&) = default;
    };

    /// Tries one after the other, in their order. The encoders must outlive the search.
    static Task<Outcome>
    run(VideoEncoders& encoders, Extent extent,
        std::span<const EncoderCandidate> candidates = EncoderSelection::candidates);
};

} // namespace brindle
