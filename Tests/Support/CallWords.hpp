// Phases and events of the call detector in words, so that tests read as sentences and fail with
// something readable.
#pragma once

#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

/// "idle", "suppressed", "asking <label>", "recording <label>" or "manual recording <label>"; with
/// the site behind it where the source has one.
std::string inWords(const CallDetector::Phase& phase);

/// "start <label>", "ask <label>" or "stop <label>".
std::string inWords(const CallDetectorEvent& event);

/// The event, or "nothing".
std::string inWords(const std::optional<CallDetectorEvent>& event);

/// The events with ", " between them, or "nothing".
std::string inWords(const std::vector<CallDetectorEvent>& events);

} // namespace brindle::test
