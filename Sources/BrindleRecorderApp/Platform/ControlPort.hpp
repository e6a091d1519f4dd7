// The seam to whoever looks at the program and steers it from outside of its menu: terminals and
// scripts.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace brindle {

/// What the program is doing, for others to read.
struct ProgramStatus {
    enum class State {
        idle,     ///< nobody is in a call
        asking,   ///< the user is asked whether to record a call
        armed,    ///< a call goes on that is not recorded
        recording ///< a recording is wanted, and runs or is about to
    };

    State state = State::idle;
    std::string line;                ///< as the menu says it
    std::optional<std::string> call; ///< as people call it
    std::string camera;              ///< that the next recording would use, or that there is none
    std::string microphone;          ///< likewise
    std::optional<std::string> warning;  ///< about the current or the last recording
    std::optional<std::string> problem;  ///< for which the icon is in trouble
    std::optional<std::string> question; ///< names the call that the user is asked about
    std::filesystem::path folder;        ///< with the recordings

    friend bool operator==(const ProgramStatus&, const ProgramStatus&) = default;
};

/// What can be asked of the program.
struct ControlCommand {
    enum class Kind { show, record, stop, discard, answerRecord, answerSkip, openFolder, quit };

    Kind kind = Kind::record;
    /// With an answer: the question that it is for.
    std::string question = {};

    friend bool operator==(const ControlCommand&, const ControlCommand&) = default;
};

/// Main thread only; the handler is called on the main thread, from the main loop.
class ControlPort {
  public:
    virtual ~ControlPort() = default;

    /// Whoever looks sees this from now on, and whoever follows is told.
    virtual void showStatus(const ProgramStatus& status) = 0;
    /// Called with what somebody asks for; says whether that can be done now.
    virtual void setCommandHandler(std::function<bool(const ControlCommand&)> handler) = 0;
};

} // namespace brindle
