#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace brindle {

std::filesystem::path SiblingProgram::path(const char* name) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error);
    return own.parent_path() / name;
}

std::string SiblingProgram::become(const char* name, const std::vector<std::string>& arguments) {
    const auto program = path(name);
    // The system's call takes its arguments as changeable, and leaves them alone.
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    ::execv(program.c_str(), pointers.data());
    return std::generic_category().message(errno);
}

} // namespace brindle
