#include "BrindleRecorderLinux/Files/UserFolders.hpp"

#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace brindle {

namespace {

std::optional<std::filesystem::path> absolutePath(const char* text) {
    if (text == nullptr || *text != '/') {
        return std::nullopt;
    }
    return text;
}

} // namespace

std::filesystem::path UserFolders::home() {
    if (const auto home = absolutePath(std::getenv("HOME"))) {
        return *home;
    }
    const passwd* user = ::getpwuid(::getuid());
    return absolutePath(user != nullptr ? user->pw_dir : nullptr).value_or("/");
}

std::filesystem::path UserFolders::configuration() {
    return absolutePath(std::getenv("XDG_CONFIG_HOME")).value_or(home() / ".config");
}

std::filesystem::path UserFolders::state() {
    return absolutePath(std::getenv("XDG_STATE_HOME")).value_or(home() / ".local" / "state");
}

std::vector<std::filesystem::path> UserFolders::data() {
    std::vector<std::filesystem::path> folders{
        absolutePath(std::getenv("XDG_DATA_HOME")).value_or(home() / ".local" / "share")};
    const char* const given = std::getenv("XDG_DATA_DIRS");
    std::istringstream others{
        given != nullptr && *given != '\0' ? given : "/usr/local/share:/usr/share"};
    for (std::string folder; std::getline(others, folder, ':');) {
        if (const auto absolute = absolutePath(folder.c_str())) {
            folders.push_back(*absolute);
        }
    }
    return folders;
}

} // namespace brindle
