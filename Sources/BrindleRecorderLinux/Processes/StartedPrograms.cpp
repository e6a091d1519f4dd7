#include "BrindleRecorderLinux/Processes/StartedPrograms.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fmt/format.h>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

/// How the new process begins: ours blocks and ignores signals that others live by.
class Beginning {
  public:
    Beginning() {
        sigset_t none;
        sigset_t ordinary;
        sigemptyset(&none);
        sigemptyset(&ordinary);
        sigaddset(&ordinary, SIGPIPE);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &ordinary);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawn_file_actions_init(&files_);
        posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ~Beginning() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }
    [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }

  private:
    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t files_{};
};

/// As the system's calls want it; valid as long as the words.
std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> ownEnvironmentWith(const StartedPrograms::Environment& more) {
    std::vector<std::string> result;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text{*variable};
        if (!more.contains(std::string{text.substr(0, text.find('='))})) {
            result.emplace_back(text);
        }
    }
    for (const auto& [name, value] : more) {
        result.push_back(fmt::format("{}={}", name, value));
    }
    return result;
}

} // namespace

StartedPrograms::StartedPrograms(EventLoop& loop)
    : ends_{loop, [this](std::int32_t pid) {
                take(pid);
            }} {}

std::optional<pid_t> StartedPrograms::start(
    std::vector<std::string> words, Ended ended, const Environment& environment) {
    const Beginning beginning;
    auto variables = ownEnvironmentWith(environment);
    pid_t pid = 0;
    if (posix_spawnp(
            &pid, words.front().c_str(), beginning.files(), beginning.attributes(),
            pointersTo(words).data(), pointersTo(variables).data()) != 0) {
        return std::nullopt;
    }
    running_.emplace(pid, std::move(ended));
    // A kernel that cannot tell of the end leaves it to the end of this process to clear up.
    static_cast<void>(ends_.watch(pid));
    return pid;
}

void StartedPrograms::end(pid_t pid) {
    if (const auto running = running_.find(pid); running != running_.end()) {
        running->second = nullptr;
        kill(pid, SIGKILL);
    }
}

void StartedPrograms::take(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    if (const auto over = running_.extract(pid); !over.empty() && over.mapped()) {
        over.mapped()(status);
    }
}

} // namespace brindle
