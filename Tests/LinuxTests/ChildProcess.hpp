// A program that a test runs beside itself.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <map>
#include <string>
#include <vector>

namespace brindle {

class ChildProcess {
  public:
    struct Setting {
        std::map<std::string, std::string> environment{}; ///< added to our own
        bool hasInput = false; ///< `tell` works; otherwise its input is empty
        bool isQuiet = true;   ///< what it prints is dropped
    };

    /// `command` is the program, by path or as found on the search path, and its arguments, the
    /// first being the name that it is started by.
    ChildProcess(const std::string& program, const std::vector<std::string>& command);
    ChildProcess(
        const std::string& program, const std::vector<std::string>& command, Setting setting);
    /// Asks it to end, waits, and ends it for good if it does not.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    void signal(int number) const { kill(pid_, number); }
    void tell(const std::string& line) const;

  private:
    pid_t pid_ = -1;
    int input_ = -1;
};

/// Runs a command to its end; its exit status, or -1 if it did not end by itself.
int runToEnd(const std::vector<std::string>& command, ChildProcess::Setting setting = {});

} // namespace brindle
