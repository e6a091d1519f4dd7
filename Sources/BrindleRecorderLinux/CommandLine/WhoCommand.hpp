// The command that says who uses the microphone, as the program sees it.
#pragma once

#include <cstdio>

namespace brindle {

class FileManager;
class EventLoop;

/// Records nothing.
struct WhoCommand {
    EventLoop& mainLoop;
    FileManager& files;
    bool once = false; ///< answer and return; otherwise follow the changes until the loop is quit
    std::FILE* output = stdout;
    std::FILE* errors = stderr;

    /// Runs the loop and prints one line for each user of the microphone. Following the changes, a
    /// blank line stands between an answer and the next. False, with a line on `errors`, when it
    /// was to answer once and no sound server could tell.
    [[nodiscard]] bool run() const;
};

} // namespace brindle
