#include "BrindleRecorderCore/Base/HomeDirectory.hpp"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace brindle {

std::filesystem::path homeDirectory() {
    if (const char* variable = std::getenv("HOME"); variable != nullptr && *variable == '/') {
        return variable;
    }
    constexpr std::size_t longestRecord = 64 * 1024;
    std::vector<char> buffer(longestRecord);
    passwd record{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &record, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr && *found->pw_dir == '/') {
        return found->pw_dir;
    }
    return "/";
}

} // namespace brindle
