#include "BrindleRecorderLinux/Files/UserFolders.hpp"

#include <cstdlib>
#include <optional>
#include <pwd.h>
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

} // namespace brindle
