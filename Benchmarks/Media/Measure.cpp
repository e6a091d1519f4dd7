// Runs a command and prints what it took: wall seconds, processor seconds, peak memory in
// megabytes, megabytes written and, of the disk, the megabytes that the folder took more at the
// most than before. Those of the programs that it started count with it. The command's output is
// not shown. Usage: measure FOLDER COMMAND [ARGUMENT]...      Exits with the command's status.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <set>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double megabyte = 1e6;
constexpr int blockOfStat = 512;

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Bytes of the disk; a file of two names counts once.
std::int64_t taken(const std::filesystem::path& folder) {
    std::int64_t bytes = 0;
    std::set<ino_t> counted;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator{folder, ignored}) {
        struct stat status {};
        if (stat(entry.path().c_str(), &status) == 0 && counted.insert(status.st_ino).second) {
            bytes += std::int64_t{status.st_blocks} * blockOfStat;
        }
    }
    return bytes;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 3) {
        std::fputs("Usage: measure FOLDER COMMAND [ARGUMENT]...\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    const std::int64_t before = taken(folder);
    std::atomic<bool> isOver = false;
    std::int64_t most = before;
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execvp(arguments[2], arguments + 2);
        _exit(127);
    }
    std::thread look{[&] {
        constexpr std::chrono::milliseconds betweenLooks{5};
        while (!isOver) {
            most = std::max(most, taken(folder));
            std::this_thread::sleep_for(betweenLooks);
        }
    }};
    int status = 0;
    rusage usage{};
    const bool hasRun = child >= 0 && wait4(child, &status, 0, &usage) >= 0;
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
    isOver = true;
    look.join();
    if (!hasRun) {
        std::perror("measure");
        return 1;
    }
    most = std::max(most, taken(folder));
    std::printf(
        "%.3f %.3f %.1f %.1f %.1f\n", wall.count(),
        secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
        static_cast<double>(usage.ru_maxrss) * 1024 / megabyte,
        static_cast<double>(usage.ru_oublock) * blockOfStat / megabyte,
        static_cast<double>(most - before) / megabyte);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
