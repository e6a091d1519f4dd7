// The command that says what the running copy is doing.
#pragma once

#include "BrindleRecorderLinux/CommandLine/ExitStatus.hpp"

#include <cstdio>

namespace brindle {

class EventLoop;

struct StatusCommand {
    EventLoop& mainLoop;
    bool json = false;  ///< one object of JSON in a line, as docs/status.schema.json describes it
    bool watch = false; ///< follow the changes until the loop is quit, also where nothing runs yet
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Prints the status; watching, each that differs from the one before.
    [[nodiscard]] ExitStatus run() const;
};

} // namespace brindle
