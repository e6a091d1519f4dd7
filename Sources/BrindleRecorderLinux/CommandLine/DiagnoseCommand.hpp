// The command that says what a maintainer needs to know of this machine, and nothing private.
#pragma once

#include <cstdio>
#include <filesystem>

namespace brindle {

class FileManager;
class EventLoop;

/// Opens no device and records nothing.
struct DiagnoseCommand {
    EventLoop& mainLoop;
    FileManager& files;
    std::filesystem::path captureProgram;
    std::FILE* output = stdout;

    /// Runs the loop until the sound server has told what is there, or that there is none. What
    /// cannot be found out is said to be unknown.
    void run() const;
};

} // namespace brindle
