// The words of the notifications that stand beside recordings: that the program runs, the question
// whether to record, and that it does.
#pragma once

#include <string>

namespace brindle {

/// Pure functions and constants; any thread.
struct NoticeTexts {
    static constexpr const char* askTitle = "Record this call?";
    static constexpr const char* record = "Record";
    static constexpr const char* skip = "Skip";
    /// `source` as people call it.
    static std::string askBody(const std::string& source) {
        return source + " is using the microphone.";
    }

    static constexpr const char* missingTrayTitle = "Brindle Recorder is running";
    static constexpr const char* missingTrayBody =
        "This desktop shows no icon for it. Launch it again to see what it is doing, and to steer "
        "it.";

    static constexpr const char* recordingTitle = "Brindle Recorder is recording";
    /// `call` as people call it.
    static std::string recordingBody(const std::string& call) {
        return call + ". To see more of it, launch Brindle Recorder again.";
    }

    static constexpr const char* soundServerTitle = "Brindle Recorder";
    static constexpr const char* soundServerBody =
        "Sound on this desktop does not go through PipeWire, so calls cannot be noticed.";
};

} // namespace brindle
