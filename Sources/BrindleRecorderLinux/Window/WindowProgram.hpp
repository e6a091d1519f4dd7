// Keeps the program with the windows running for one of its roles, for as long as it is wanted.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderLinux/Processes/StartedPrograms.hpp"
#include "BrindleRecorderLinux/Window/WindowProtocol.hpp"

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// Main thread only. The program may end at any moment, because its screen does or by a fault of
/// its own, and is started again: at once a second later, then after longer and longer, and no more
/// after some failures in a row until there has been another screen. Where there is no screen it is
/// not started. One that ends with success has done what it was started for, or found nothing to do
/// here, and is started again when somebody says once more that it is wanted.
class WindowProgram {
  public:
    struct Means {
        MainLoop& mainLoop;
        StartedPrograms& programs;
        std::filesystem::path program;
        std::string iconName; ///< on the bus
        /// Whether there is a screen to show something on. Must not wait for it.
        std::function<bool()> thereIsAScreen;
        std::function<void(std::string_view line)> log;
    };

    static constexpr int mostFailures = 5; ///< in a row
    static constexpr std::chrono::seconds firstDelay{1};
    static constexpr std::chrono::seconds lookForAScreenEvery{5};
    /// Whoever has lived that long has not failed.
    static constexpr std::chrono::seconds longEnough{30};

    /// All that is referred to must outlive this.
    WindowProgram(WindowRole role, Means means);
    /// Ends the program.
    ~WindowProgram();
    WindowProgram(const WindowProgram&) = delete;
    WindowProgram& operator=(const WindowProgram&) = delete;

    void setWanted(bool isWanted);
    /// Starts it anew, also where one runs; not again when that one ends.
    void runOnce();

    /// What the running one was given to prove itself by; empty while none runs.
    [[nodiscard]] const std::string& token() const { return token_; }
    [[nodiscard]] std::optional<pid_t> pid() const { return pid_; }

    /// Called when the running one has ended or was ended.
    std::function<void()> onEnd;

  private:
    void startIfPossible();
    [[nodiscard]] bool start();
    void end();
    void hasEnded(int status);
    void tryAgain();
    void wait(std::chrono::seconds delay);

    const WindowRole role_;
    const Means means_;
    bool isWanted_ = false;
    int failures_ = 0;
    std::string token_;
    std::optional<pid_t> pid_;
    std::unique_ptr<MainLoop::Timer> nextTry_;
    std::unique_ptr<MainLoop::Timer> success_;
};

} // namespace brindle
