// Finds out which encoder works here, by trying.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Platform/VideoEncoders.hpp"
#include "BrindleRecorderCore/Recordings/EncoderSelection.hpp"

#include <optional>
#include <span>
#include <vector>

namespace brindle {

/// What came of one encoder's trial.
struct EncoderTrial {
    EncoderCandidate encoder;
    std::optional<EncoderRefusal> refusal; ///< absent where it works
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
        bool isUndecided = false;         ///< none is chosen, and yet recordings may find one
        std::vector<EncoderTrial> trials; ///< in the order in which they were made
        friend bool operator==(const Outcome&, const Outcome&) = default;
    };

    /// Tries one after the other, in their order. Where one on the processor gives no answer, as on
    /// a machine that has too much to do, nothing is concluded and nothing worse is taken in its
    /// place; hardware that gives none does not work. The encoders must outlive the search.
    static Task<Outcome>
    run(VideoEncoders& encoders, Extent extent,
        std::span<const EncoderCandidate> candidates = EncoderSelection::candidates);
};

} // namespace brindle
