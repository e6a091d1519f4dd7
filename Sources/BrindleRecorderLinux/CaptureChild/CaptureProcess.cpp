#include "BrindleRecorderLinux/CaptureChild/CaptureProcess.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not in every system's headers

namespace brindle::capture {

namespace {

PlatformError cannotStart(int errorNumber) {
    PlatformError error = systemError(errorNumber);
    error.description = "the capture program cannot be started: " + error.description;
    return error;
}

/// What becomes of descriptors and signals between one program and the next.
class Preparation {
  public:
    Preparation() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
    }
    ~Preparation() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    /// 0 or an errno.
    int prepare(int socket) {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        for (const int result :
             {posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
              posix_spawn_file_actions_adddup2(&actions_, STDERR_FILENO, STDOUT_FILENO),
              posix_spawn_file_actions_adddup2(&actions_, socket, recordersSocket),
              posix_spawnattr_setsigmask(&attributes_, &none),
              posix_spawnattr_setsigdefault(&attributes_, &all),
              posix_spawnattr_setpgroup(&attributes_, 0),
              posix_spawnattr_setflags(
                  &attributes_,
                  POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP)}) {
            if (result != 0) {
                return result;
            }
        }
        return 0;
    }

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

} // namespace

Expected<CaptureProcess::Started, PlatformError>
CaptureProcess::start(int program, const std::string& name, Leave leave) {
    auto ends = MessageSocket::makePair();
    if (!ends) {
        return unexpected{cannotStart(ends.error().value())};
    }
    auto& [ours, theirs] = *ends;
    // Above its place in the other program: a descriptor that is copied onto itself stays closed
    // there.
    const FileDescriptor elsewhere{fcntl(theirs.number(), F_DUPFD_CLOEXEC, recordersSocket + 1)};
    Preparation preparation;
    if (elsewhere.number() < 0) {
        return unexpected{cannotStart(errno)};
    }
    if (const int error = preparation.prepare(elsewhere.number()); error != 0) {
        return unexpected{cannotStart(error)};
    }
    std::string title = name;
    std::string graphics = withGraphics;
    std::array<char*, 3> arguments{
        title.data(), leave == Leave::graphics ? graphics.data() : nullptr, nullptr};
    // What was opened, whatever stands under its name by now.
    const std::string file = fmt::format("/proc/self/fd/{}", program);
    pid_t pid = -1;
    if (const int error = posix_spawn(
            &pid, file.c_str(), preparation.actions(), preparation.attributes(), arguments.data(),
            environ);
        error != 0) {
        return unexpected{cannotStart(error)};
    }
    // The library's own call for this cannot be linked from C++ where its version is 2.36.
    FileDescriptor process{static_cast<int>(syscall(SYS_pidfd_open, pid, 0))};
    if (process.number() < 0) {
        const int error = errno;
        ::kill(pid, SIGKILL);
        uninterrupted([pid] { return waitpid(pid, nullptr, 0); });
        return unexpected{cannotStart(error)};
    }
    return Started{.process = CaptureProcess{std::move(process)}, .socket = std::move(ours)};
}

void CaptureProcess::kill() const {
    static_cast<void>(syscall(SYS_pidfd_send_signal, descriptor_.number(), SIGKILL, nullptr, 0));
}

std::string CaptureProcess::waitForEnd() const {
    siginfo_t end{};
    if (uninterrupted([&] {
            return waitid(P_PIDFD, static_cast<id_t>(descriptor_.number()), &end, WEXITED);
        }) != 0) {
        return "it is gone";
    }
    return end.si_code == CLD_EXITED ? fmt::format("it ended with status {}", end.si_status)
                                     : fmt::format("it was ended by signal {}", end.si_status);
}

} // namespace brindle::capture
