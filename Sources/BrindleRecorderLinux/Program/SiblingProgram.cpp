#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"

#include <system_error>

namespace brindle {

std::filesystem::path SiblingProgram::path(const char* name) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error);
    return own.parent_path() / name;
}

} // namespace brindle
