#include "Support/CallWords.hpp"

#include <variant>

namespace brindle::test {

namespace {

std::string siteOf(const CallSource& source) {
    return source.site ? " " + *source.site : "";
}

} // namespace

std::string inWords(const CallDetector::Phase& phase) {
    if (const auto* asking = phase.asAsking()) {
        return "asking " + asking->label + siteOf(asking->source);
    }
    if (const auto* recording = phase.asRecording()) {
        return (recording->isManual ? "manual recording " : "recording ") + recording->label +
               siteOf(recording->source);
    }
    return phase.isIdle() ? "idle" : "suppressed";
}

std::string inWords(const CallDetectorEvent& event) {
    if (const auto* start = std::get_if<CallDetectorEvent::Start>(&event.value)) {
        return "start " + start->label;
    }
    if (const auto* ask = std::get_if<CallDetectorEvent::Ask>(&event.value)) {
        return "ask " + ask->label;
    }
    return "stop " + std::get<CallDetectorEvent::Stop>(event.value).label;
}

std::string inWords(const std::optional<CallDetectorEvent>& event) {
    return event ? inWords(*event) : "nothing";
}

std::string inWords(const std::vector<CallDetectorEvent>& events) {
    std::string words;
    for (const CallDetectorEvent& event : events) {
        words += (words.empty() ? "" : ", ") + inWords(event);
    }
    return words.empty() ? "nothing" : words;
}

} // namespace brindle::test
