#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"

#include <string_view>
#include <system_error>

namespace brindle {

namespace {

/// From the folder of the program that people start to that of the others.
constexpr std::string_view folderOfHelpers = BRINDLE_HELPERS;

} // namespace

std::filesystem::path SiblingProgram::path(const char* name) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const bool isTheOneForPeople = std::string_view{name} == commandLine;
    if (isTheOneForPeople || std::filesystem::exists(own / name, error)) {
        return own / name;
    }
    return (own / folderOfHelpers / name).lexically_normal();
}

} // namespace brindle
