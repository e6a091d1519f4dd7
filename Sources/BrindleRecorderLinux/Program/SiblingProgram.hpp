// The files that make up this program: brindle-recorder, which needs no window toolkit,
// brindle-recorder-desktop, which shows the user interface, and brindle-recorder-capture, which
// records and converts. They are installed side by side.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace brindle {

struct SiblingProgram {
    static constexpr const char* commandLine = "brindle-recorder";
    static constexpr const char* desktop = "brindle-recorder-desktop";
    static constexpr const char* capture = "brindle-recorder-capture";

    /// Where the file of that name lies, whether or not it is there.
    static std::filesystem::path path(const char* name);

    /// Goes on as that program, with these arguments after its name. Returns only when it cannot,
    /// with the system's words for why. While this thread is the only one.
    static std::string become(const char* name, const std::vector<std::string>& arguments);
};

} // namespace brindle
