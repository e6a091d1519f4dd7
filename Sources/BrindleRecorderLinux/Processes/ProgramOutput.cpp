#include "BrindleRecorderLinux/Processes/ProgramOutput.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not in every system's headers

namespace brindle {

namespace {

constexpr std::chrono::seconds patience{10};
constexpr std::size_t mostBytes = 16384;

/// Nothing when it cannot be started.
std::optional<pid_t> start(std::vector<std::string>& words, int output) {
    std::vector<char*> arguments;
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    sigset_t none;
    sigemptyset(&none);
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // Our main loop keeps some for itself.
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = -1;
    const int error =
        posix_spawnp(&pid, arguments.front(), &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional{pid} : std::nullopt;
}

/// Until its end; nothing when that does not come in time.
std::optional<std::string> readAll(int descriptor) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string text;
    std::array<char, 4096> part{};
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{.fd = descriptor, .events = POLLIN, .revents = 0};
        if (left.count() <= 0 || uninterrupted([&] {
                                     return poll(&readable, 1, static_cast<int>(left.count()));
                                 }) == 0) {
            return std::nullopt;
        }
        const auto length =
            uninterrupted([&] { return read(descriptor, part.data(), part.size()); });
        if (length <= 0) {
            return text;
        }
        if (text.size() < mostBytes) {
            text.append(part.data(), static_cast<std::size_t>(length));
        }
    }
}

} // namespace

std::optional<std::string> outputOf(std::vector<std::string> words) {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    const FileDescriptor reading{ends[0]};
    FileDescriptor writing{ends[1]};
    const auto pid = start(words, writing.number());
    if (!pid) {
        return std::nullopt;
    }
    writing = FileDescriptor{-1}; // the end of the program is then the end of what it writes
    auto text = readAll(reading.number());
    if (!text) {
        kill(*pid, SIGKILL);
    }
    int status = 0;
    const pid_t ended = uninterrupted([&] { return waitpid(*pid, &status, 0); });
    return ended == *pid && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : std::nullopt;
}

} // namespace brindle
