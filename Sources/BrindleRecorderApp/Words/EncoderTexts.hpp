// What is said of the encoders of pictures.
#pragma once

#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

#include <string>
#include <vector>

namespace brindle {

/// Pure functions; any thread.
struct EncoderTexts {
    static std::string noneWorks(const Language& language) {
        return language.say(
            "No video encoder works on this system, so calls are recorded without a picture.");
    }

    /// For terminals and the log, in English. One line for each trial, and one that says so when
    /// none is chosen or nothing is decided.
    static std::vector<std::string> lines(const EncoderSearch::Outcome& outcome);
};

} // namespace brindle
