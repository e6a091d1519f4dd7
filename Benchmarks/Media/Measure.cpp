// Runs a command and prints what it took: wall seconds, processor seconds, peak memory in
// megabytes. Usage: measure COMMAND [ARGUMENT]...      Exits with the command's status.
#include <chrono>
#include <cstdio>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        std::fputs("Usage: measure COMMAND [ARGUMENT]...\n", stderr);
        return 2;
    }
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[1], arguments + 1);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) < 0) {
        std::perror("measure");
        return 1;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
    constexpr double kilobytesPerMegabyte = 1000;
    std::printf(
        "%.3f %.3f %.1f\n", wall.count(), secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
        static_cast<double>(usage.ru_maxrss) * 1.024 / kilobytesPerMegabyte);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
