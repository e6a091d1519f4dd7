// Other programs that this one starts.
#pragma once

#include "BrindleRecorderLinux/Processes/ProcessEnds.hpp"

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class EventLoop;

/// Belongs to the main thread. What it started goes on when it goes.
class StartedPrograms {
  public:
    /// `status` as the system's wait call tells it.
    using Ended = std::function<void(int status)>;
    /// Variables that the program finds besides our own.
    using Environment = std::map<std::string, std::string>;

    /// The loop must outlive this.
    explicit StartedPrograms(EventLoop& loop);
    StartedPrograms(const StartedPrograms&) = delete;
    StartedPrograms& operator=(const StartedPrograms&) = delete;

    /// The first of the words is the program, by its path or as a shell finds it. It hears the
    /// signals that our main loop keeps for itself, and its input is empty. `ended` is called by
    /// the loop. Nothing when the program cannot be started.
    std::optional<pid_t>
    start(std::vector<std::string> words, Ended ended, const Environment& environment = {});

    /// Ends a program that was started here, at once and whatever it does. Its end is not told.
    void end(pid_t pid);

  private:
    void take(pid_t pid);

    std::map<pid_t, Ended> running_;
    ProcessEnds ends_;
};

} // namespace brindle
