#include "BrindleRecorderCore/Recordings/MenuBarIconState.hpp"

#include "BrindleRecorderCore/Base/Language.hpp"

namespace brindle {

MenuBarIconState MenuBarIconStateMapper::state(
    bool recording, const std::optional<std::string>& recordingError, bool setupProblem) {
    if (recording) {
        return MenuBarIconState::recording();
    }
    if (recordingError) {
        return MenuBarIconState::error(*recordingError);
    }
    if (setupProblem) {
        return MenuBarIconState::error(say("Setup needs attention (see Permissions and Setup)"));
    }
    return MenuBarIconState::idle();
}

std::string
MenuBarIconStateMapper::statusLine(const MenuBarIconState& state, const std::string& idleLine) {
    if (const auto* message = state.errorMessage()) {
        return say("Error: {message}", fmt::arg("message", *message));
    }
    return idleLine;
}

} // namespace brindle
