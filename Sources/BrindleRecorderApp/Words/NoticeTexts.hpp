// The words of the notifications that stand beside recordings: that the program runs, the question
// whether to record, and that it does.
#pragma once

#include "BrindleRecorderCore/Base/Language.hpp"

#include <string>

namespace brindle {

/// In the user's language. Pure functions; any thread.
struct NoticeTexts {
    static std::string askTitle() { return say("Record this call?"); }
    // Translators: a button below the question "Record this call?", and a line of the menu.
    static std::string record() { return say("Record"); }
    // Translators: the other button there.
    static std::string skip() { return say("Skip"); }
    /// `source` as people call it.
    static std::string askBody(const std::string& source) {
        return say("{program} is using the microphone.", fmt::arg("program", source));
    }

    static std::string missingTrayTitle() { return say("Brindle Recorder is running"); }
    static std::string missingTrayBody() {
        return say("This desktop shows no icon for it. Launch it again to see what it is doing, "
                   "and to steer it.");
    }

    static std::string recordingTitle() { return say("Brindle Recorder is recording"); }
    /// `call` as people call it.
    static std::string recordingBody(const std::string& call) {
        return say(
            // Translators: {call} is the program that the call is made with.
            "{call}. To see more of it, launch Brindle Recorder again.", fmt::arg("call", call));
    }

    static constexpr const char* soundServerTitle = "Brindle Recorder";
    static std::string soundServerBody() {
        return say("Sound on this desktop does not go through PipeWire, so calls cannot be "
                   "noticed.");
    }
};

} // namespace brindle
