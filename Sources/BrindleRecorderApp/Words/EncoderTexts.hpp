// What is said of the encoders of pictures.
#pragma once

#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"

#include <string>
#include <vector>

namespace brindle {

/// Pure functions and constants; any thread.
struct EncoderTexts {
    static constexpr const char* noneWorks =
        "No video encoder works on this system, so calls are recorded without a picture.";

    /// One line for each trial, and one that says so when none is chosen or nothing is decided.
    static std::vector<std::string> lines(const EncoderSearch::Outcome& outcome);
};

} // namespace brindle
