#include "LinuxTests/ChildProcess.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace brindle {

namespace {

[[noreturn]] void becomeProgram(
    const std::string& program, const std::vector<std::string>& command,
    const ChildProcess::Setting& setting, int input) {
    // Nothing is left behind when the tests are killed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = open("/dev/null", O_RDWR);
    dup2(setting.hasInput ? input : nothing, STDIN_FILENO);
    if (setting.isQuiet) {
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
    }
    for (const auto& [name, value] : setting.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(program.c_str(), arguments.data());
    _exit(127);
}

pid_t start(
    const std::string& program, const std::vector<std::string>& command,
    const ChildProcess::Setting& setting, int input) {
    const pid_t pid = fork();
    if (pid == 0) {
        becomeProgram(program, command, setting, input);
    }
    if (pid < 0) {
        throw std::runtime_error{"no process for " + program};
    }
    return pid;
}

} // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& command)
    : ChildProcess{program, command, Setting{}} {}

ChildProcess::ChildProcess(
    const std::string& program, const std::vector<std::string>& command, Setting setting) {
    int ends[2] = {-1, -1};
    if (setting.hasInput && pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error{"no pipe for " + program};
    }
    pid_ = start(program, command, setting, ends[0]);
    input_ = ends[1];
    if (ends[0] >= 0) {
        close(ends[0]);
    }
}

ChildProcess::~ChildProcess() {
    if (input_ >= 0) {
        close(input_);
    }
    using namespace std::chrono_literals;
    kill(pid_, SIGCONT);
    kill(pid_, SIGTERM);
    for (auto waited = 0ms; waited < 20s; waited += 5ms) {
        if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
            return;
        }
        std::this_thread::sleep_for(5ms);
    }
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void ChildProcess::tell(const std::string& line) const {
    const std::string text = line + '\n';
    if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error{"the child does not listen"};
    }
}

int runToEnd(const std::vector<std::string>& command, ChildProcess::Setting setting) {
    const pid_t pid = start(command.front(), command, setting, -1);
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace brindle
