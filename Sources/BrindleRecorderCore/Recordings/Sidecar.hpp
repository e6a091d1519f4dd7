// The record that lies beside every recording and says what was recorded, and how it went.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Calls/CallSource.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A value; the fields are in the order in which they are written. A sidecar without `endedAt`
/// marks a recording that is running, or that never came to its end.
struct Sidecar {
    std::string roomCode;             ///< the label of the call
    Date startedAt;                   ///< stored to the second
    std::optional<Date> endedAt;      ///< stored to the second
    std::string videoDevice;          ///< the camera's name, "none" without a camera
    std::string audioDevice;          ///< the microphone's name, "none" without a microphone
    bool fallbackUsed = false;        ///< another device than the wanted one had to do
    bool interrupted = false;         ///< the recording did not end as it should
    std::vector<std::string> notes;   ///< remarks for people, oldest first
    std::optional<CallSource> source; ///< what the call was attributed to
    std::optional<std::string> callName;

    friend bool operator==(const Sidecar&, const Sidecar&) = default;
};

} // namespace brindle
