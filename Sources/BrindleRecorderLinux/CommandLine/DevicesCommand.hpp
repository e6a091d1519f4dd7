// The command that lists cameras and microphones, as the program sees them.
#pragma once

#include <cstdio>

namespace brindle {

class FileManager;
class EventLoop;

namespace capture {
class CaptureChildren;
}

/// Opens no device, and starts no capture program.
struct DevicesCommand {
    EventLoop& mainLoop;
    FileManager& files;
    capture::CaptureChildren& children;
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Runs the loop until the server has told what is there, and prints it. False, with a line on
    /// `errors`, when no server answers.
    [[nodiscard]] bool run() const;
};

} // namespace brindle
