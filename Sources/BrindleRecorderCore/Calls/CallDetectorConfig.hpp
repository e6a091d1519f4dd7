// The settings of the call detector.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <set>
#include <string>

namespace brindle {

struct CallDetectorConfig {
    /// How long a candidate that is certainly a call must be there before a call starts.
    Seconds startAfter{5.0};
    /// How long the microphone must be free of candidates before a call ends.
    Seconds stopAfter{20.0};
    /// How long any other candidate must be there: a browser without a meeting in its titles, an
    /// unknown program.
    Seconds unconfirmedStartAfter{20.0};
    /// Ids of families whose microphone use is never a call.
    std::set<std::string> disabledFamilies = CallCatalog::familiesOffAtFirst();
    /// Whether a detected call is a question to the user instead of a start.
    bool askBeforeRecording = false;

    friend bool operator==(const CallDetectorConfig&, const CallDetectorConfig&) = default;
};

} // namespace brindle
