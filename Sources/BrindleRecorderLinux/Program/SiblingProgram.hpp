// The files that make up this program: brindle-recorder, brindle-recorder-window, which shows what
// needs a window toolkit, and brindle-recorder-capture, which records and converts. The first alone
// is for people to start.
#pragma once

#include <filesystem>

namespace brindle {

struct SiblingProgram {
    static constexpr const char* commandLine = "brindle-recorder";
    static constexpr const char* windows = "brindle-recorder-window";
    static constexpr const char* capture = "brindle-recorder-capture";

    /// Where the file of that name lies: beside this program, as where it was built, else in the
    /// folder that is meant for it where this program is installed, whether or not it is there.
    static std::filesystem::path path(const char* name);
};

} // namespace brindle
