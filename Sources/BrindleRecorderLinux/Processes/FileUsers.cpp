#include "BrindleRecorderLinux/Processes/FileUsers.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

namespace brindle {

namespace {

namespace fs = std::filesystem;

/// Nothing for entries that are no processes.
std::optional<std::int32_t> processNumber(const fs::path& folder) {
    const std::string name = folder.filename().string();
    std::int32_t pid = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    return error == std::errc{} && end == name.data() + name.size() ? std::optional{pid}
                                                                    : std::nullopt;
}

bool hasOpen(const fs::path& process, const fs::path& file) {
    std::error_code gone; // a process can end, or a descriptor be closed, at any moment
    for (fs::directory_iterator entry{process / "fd", gone}, end; !gone && entry != end;
         entry.increment(gone)) {
        std::error_code closed;
        if (fs::read_symlink(entry->path(), closed) == file && !closed) {
            return true;
        }
    }
    return false;
}

bool hasMapped(const fs::path& process, const fs::path& file) {
    std::ifstream maps{process / "maps"};
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with(' ' + file.string())) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<FileUser>
FileUsers::of(const std::filesystem::path& file, const std::filesystem::path& procFolder) {
    std::vector<FileUser> users;
    std::error_code unreadable;
    for (fs::directory_iterator entry{procFolder, unreadable}, end; !unreadable && entry != end;
         entry.increment(unreadable)) {
        const auto pid = processNumber(entry->path());
        if (pid && hasOpen(entry->path(), file)) {
            users.push_back({.pid = *pid, .isMapped = hasMapped(entry->path(), file)});
        }
    }
    std::ranges::sort(users, {}, &FileUser::pid);
    return users;
}

} // namespace brindle
