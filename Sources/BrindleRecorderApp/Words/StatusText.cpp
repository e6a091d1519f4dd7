#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>

namespace brindle {

std::string StatusText::statusLine(const SessionState& state, const Facts& facts) {
    if (state.isRecording()) {
        return fmt::format(
            "Recording {} — {}{} / {}", elapsedText(facts.elapsed.value_or(Seconds{0})),
            facts.callName ? *facts.callName + " — " : "", facts.camera, facts.microphone);
    }
    if (state.isArmed()) {
        return "Not recording this call";
    }
    return facts.waitingForAnswer ? "Call detected — record it? (see notification)"
                                  : "Idle — watching for calls";
}

std::string StatusText::elapsedText(Seconds elapsed) {
    const auto seconds = static_cast<std::int64_t>(std::max(elapsed.count(), 0.0));
    return fmt::format("{:02}:{:02}", seconds / 60, seconds % 60);
}

std::string StatusText::displayName(const CallSource& source) {
    if (source.kind == CallSource::Kind::manual) {
        return "Manual recording";
    }
    if (source.kind == CallSource::Kind::browser && source.site) {
        return fmt::format("{} ({})", source.app, *source.site);
    }
    return source.app;
}

} // namespace brindle
