// The command that lists cameras, microphones and what would compress pictures, as the program sees
// them.
#pragma once

#include <cstdio>

namespace brindle {

class FileManager;
class EventLoop;

namespace capture {
class CaptureChildren;
}

/// Opens no device; of the capture program it has encoders tried.
struct DevicesCommand {
    EventLoop& mainLoop;
    FileManager& files;
    capture::CaptureChildren& children;
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Runs the loop until the server has told what is there and the encoders have been tried, and
    /// prints it. False, with a line on
    /// `errors`, when no server answers.
    [[nodiscard]] bool run() const;

  private:
    /// False when it was interrupted.
    [[nodiscard]] bool printEncoders() const;
};

} // namespace brindle
