#include "BrindleRecorderLinux/Processes/ProcReader.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr std::size_t longestFile = 16 * 1024;
constexpr std::size_t mostArguments = 64;

/// At most `longestFile` bytes; files of /proc tell no size. Only regular files: a process can put
/// anything into its own root folder, and opening a pipe would wait for its other end.
std::optional<std::string> beginningOf(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (file < 0) {
        return std::nullopt;
    }
    std::string contents(longestFile, '\0');
    std::size_t length = 0;
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        ssize_t more = 0;
        while (length < contents.size() &&
               (more = read(file, contents.data() + length, contents.size() - length)) > 0) {
            length += static_cast<std::size_t>(more);
        }
    }
    close(file);
    contents.resize(length);
    return contents;
}

/// "pid (command) state parent group session …"; the command may hold blanks and parentheses.
bool readStatus(const std::string& line, std::int32_t pid, ProcessEvidence& evidence) {
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open) {
        return false;
    }
    evidence.command = line.substr(open + 1, close - open - 1);

    std::int32_t fields[3] = {};
    const char* at = line.data() + close + 1;
    const char* const end = line.data() + line.size();
    const auto skipTo = [&](bool blank) {
        while (at != end && (*at == ' ') == blank) {
            ++at;
        }
    };
    skipTo(/*blank=*/true);
    skipTo(/*blank=*/false); // the state
    for (std::int32_t& field : fields) {
        skipTo(/*blank=*/true);
        const auto [after, error] = std::from_chars(at, end, field);
        if (error != std::errc{}) {
            return false;
        }
        at = after;
    }
    evidence.parent = fields[0];
    evidence.leadsSession = fields[2] == pid;
    return true;
}

std::vector<std::string> argumentsIn(std::string_view commandLine) {
    std::vector<std::string> arguments;
    while (!commandLine.empty() && arguments.size() < mostArguments) {
        const std::size_t end = commandLine.find('\0');
        arguments.emplace_back(commandLine.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        commandLine.remove_prefix(end + 1);
    }
    return arguments;
}

/// The path in the unified hierarchy's line, "0::/user.slice/…".
std::string_view unifiedControlGroup(std::string_view text) {
    constexpr std::string_view mark = "0::";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.starts_with(mark)) {
            return line.substr(mark.size());
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return {};
}

} // namespace

ProcReader::ProcReader(std::filesystem::path procFolder) : procFolder_{std::move(procFolder)} {}

std::filesystem::path ProcReader::folder(std::int32_t pid) const {
    return procFolder_ / std::to_string(pid);
}

std::optional<std::filesystem::path> ProcReader::executable(std::int32_t pid) const {
    if (pid <= 0) {
        return std::nullopt;
    }
    std::error_code error;
    const auto target = std::filesystem::read_symlink(folder(pid) / "exe", error);
    if (error || target.empty()) {
        return std::nullopt;
    }
    return std::filesystem::path{withoutDeletedMark(target.native())};
}

std::optional<ProcessEvidence> ProcReader::evidence(std::int32_t pid) const {
    if (pid <= 0) {
        return std::nullopt;
    }
    ProcessEvidence evidence;
    const auto status = beginningOf(folder(pid) / "stat");
    if (!status || !readStatus(*status, pid, evidence)) {
        return std::nullopt;
    }
    evidence.executable = executable(pid).value_or(std::filesystem::path{});
    if (const auto commandLine = beginningOf(folder(pid) / "cmdline")) {
        evidence.arguments = argumentsIn(*commandLine);
    }
    evidence.snapName = snapNameInPath(evidence.executable);
    if (const auto groups = beginningOf(folder(pid) / "cgroup")) {
        auto scope = scopeInControlGroup(unifiedControlGroup(*groups));
        evidence.desktopID = std::move(scope.desktopID);
        if (!evidence.snapName) {
            evidence.snapName = std::move(scope.snapName);
        }
    }
    if (const auto flatpak = beginningOf(folder(pid) / "root" / ".flatpak-info")) {
        evidence.sandboxID = applicationIDInFlatpakInfo(*flatpak);
    }
    return evidence;
}

} // namespace brindle
