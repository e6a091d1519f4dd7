#include "BrindleRecorderLinux/CommandLine/SteerCommand.hpp"

#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"

#include <algorithm>
#include <string>
#include <string_view>

namespace brindle {

namespace {

using Kind = ControlCommand::Kind;

const char* methodFor(Kind kind) {
    const auto wanted = kind == Kind::answerSkip ? Kind::answerRecord : kind;
    const auto methods = ControlDescription::methods();
    const auto found =
        std::ranges::find_if(methods, [&](const auto& method) { return method.kind == wanted; });
    return found->name; // each has one
}

void ask(RunningCopy& program, Kind kind) {
    static_cast<void>(
        program.call(ControlDescription::path, ControlDescription::interface, methodFor(kind), ""));
}

} // namespace

ExitStatus SteerCommand::run(Kind kind) const {
    RunningCopy program{errors};
    if (kind != Kind::answerRecord && kind != Kind::answerSkip && kind != Kind::openFolder) {
        ask(program, kind);
        return program.status();
    }
    const auto status = program.properties();
    if (!status) {
        return program.status();
    }
    const auto value = [&](std::string_view name) {
        const auto found = status->find(name);
        return found != status->end() ? found->second : std::string{};
    };
    if (kind == Kind::openFolder) {
        printLine(output, value("Folder"));
        ask(program, kind);
        return program.status();
    }
    const auto question = value("Question");
    if (question.empty()) {
        printLine(errors, "brindle-recorder: there is no question to answer");
        return ExitStatus::couldNotRun;
    }
    static_cast<void>(program.call(
        ControlDescription::path, ControlDescription::interface, methodFor(kind), "sb",
        question.c_str(), kind == Kind::answerRecord ? 1 : 0));
    return program.status();
}

} // namespace brindle
