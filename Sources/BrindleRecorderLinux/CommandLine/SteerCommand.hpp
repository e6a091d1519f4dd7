// The commands with which a terminal steers the running copy.
#pragma once

#include "BrindleRecorderApp/Platform/ControlPort.hpp"
#include "BrindleRecorderLinux/CommandLine/ExitStatus.hpp"

#include <cstdio>

namespace brindle {

struct SteerCommand {
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Asks the running copy for that; an answer goes to the question that is open. The folder's
    /// name is printed, for desktops that show none. What is refused, or finds nobody, is told on
    /// `errors`.
    [[nodiscard]] ExitStatus run(ControlCommand::Kind kind) const;
};

} // namespace brindle
