#include "BrindleRecorderApp/Words/StatusText.hpp"

#include "BrindleRecorderApp/Words/RecordingTexts.hpp"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>

namespace brindle {

std::string StatusText::statusLine(const SessionState& state, const Facts& facts) {
    if (state.isRecording()) {
        const std::string elapsed = elapsedText(facts.elapsed.value_or(Seconds{0}));
        const auto time = fmt::arg("time", elapsed);
        const auto camera = fmt::arg("camera", facts.camera);
        const auto microphone = fmt::arg("microphone", facts.microphone);
        return facts.callName
                   ? say("Recording {time} — {call} — {camera} / {microphone}", time,
                         fmt::arg("call", *facts.callName), camera, microphone)
                   : say("Recording {time} — {camera} / {microphone}", time, camera, microphone);
    }
    if (state.isArmed()) {
        return say("Not recording this call");
    }
    return facts.waitingForAnswer ? say("Call detected — record it? (see notification)")
                                  : say("Idle — watching for calls");
}

std::string StatusText::cameraInSidecar(const std::string& name) {
    return name == RecordingNotes::noDevice ? sayOf("camera", "none") : name;
}

std::string StatusText::microphoneInSidecar(const std::string& name) {
    return name == RecordingNotes::noDevice ? sayOf("microphone", "none") : name;
}

std::string StatusText::elapsedText(Seconds elapsed) {
    const auto seconds = static_cast<std::int64_t>(std::max(elapsed.count(), 0.0));
    return fmt::format("{:02}:{:02}", seconds / 60, seconds % 60);
}

std::string StatusText::displayName(const CallSource& source) {
    if (source.kind == CallSource::Kind::manual) {
        return say("Manual recording");
    }
    if (source.kind == CallSource::Kind::browser && source.site) {
        return fmt::format("{} ({})", source.app, *source.site);
    }
    return source.app;
}

} // namespace brindle
