// The command that converts a recording by hand.
#pragma once

#include <cstdio>
#include <filesystem>

namespace brindle {

class FileManager;
class EventLoop;

namespace capture {
class CaptureChildren;
}

struct ConvertCommand {
    EventLoop& mainLoop;
    FileManager& files;
    capture::CaptureChildren& children;
    std::filesystem::path movie;
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Runs the loop until the movie is converted, and prints where the result is; quitting the
    /// loop cancels. A terminal sees a progress bar on `errors`. False, with a line on `errors`
    /// that says what became of the movie, when it could not be converted.
    [[nodiscard]] bool run() const;
};

} // namespace brindle
