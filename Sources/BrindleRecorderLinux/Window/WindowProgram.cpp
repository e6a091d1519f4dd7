#include "BrindleRecorderLinux/Window/WindowProgram.hpp"

#include "BrindleRecorderApp/Recording/Uuid.hpp"

#include <fmt/format.h>

#include <sys/wait.h>

#include <utility>

namespace brindle {

namespace {

std::string describeEnd(int status) {
    return WIFSIGNALED(status) ? fmt::format("signal {}", WTERMSIG(status))
                               : fmt::format("status {}", WEXITSTATUS(status));
}

} // namespace

WindowProgram::WindowProgram(WindowRole role, Means means)
    : role_{role}, means_{std::move(means)} {}

WindowProgram::~WindowProgram() {
    onEnd = nullptr;
    end();
}

void WindowProgram::setWanted(bool isWanted) {
    if (isWanted_ == isWanted && (!isWanted || pid_ || nextTry_)) {
        return;
    }
    isWanted_ = isWanted;
    failures_ = 0;
    nextTry_.reset();
    if (isWanted_) {
        startIfPossible();
    } else {
        end();
    }
}

void WindowProgram::runOnce() {
    end();
    if (means_.thereIsAScreen()) {
        static_cast<void>(start());
    }
}

void WindowProgram::startIfPossible() {
    nextTry_.reset();
    if (!means_.thereIsAScreen()) {
        failures_ = 0; // the next screen may be better
        wait(lookForAScreenEvery);
    } else if (failures_ >= mostFailures) {
        wait(lookForAScreenEvery); // for this screen to go
    } else if (!start()) {
        tryAgain();
    }
}

bool WindowProgram::start() {
    token_ = randomUuid();
    pid_ = means_.programs.start(
        {means_.program.string(), WindowProtocol::nameOf(role_), means_.iconName},
        [this](int status) { hasEnded(status); }, {{WindowProtocol::tokenVariable, token_}});
    if (!pid_) {
        token_.clear();
        return false;
    }
    success_ = means_.mainLoop.after(longEnough, [this] { failures_ = 0; });
    return true;
}

void WindowProgram::end() {
    if (!pid_) {
        return;
    }
    // It holds nothing that could be lost.
    means_.programs.end(*pid_);
    pid_.reset();
    token_.clear();
    success_.reset();
    if (onEnd) {
        onEnd();
    }
}

void WindowProgram::hasEnded(int status) {
    pid_.reset();
    token_.clear();
    success_.reset();
    if (onEnd) {
        onEnd();
    }
    if (isWanted_ && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
        means_.log(fmt::format(
            "window: {} has ended ({})", WindowProtocol::nameOf(role_), describeEnd(status)));
        tryAgain();
    }
}

void WindowProgram::tryAgain() {
    if (++failures_ == mostFailures) {
        means_.log(fmt::format(
            "window: {} does not stay; given up until there is another screen",
            WindowProtocol::nameOf(role_)));
    }
    wait(firstDelay * (1 << (failures_ - 1)));
}

void WindowProgram::wait(std::chrono::seconds delay) {
    nextTry_ = means_.mainLoop.after(delay, [this] { startIfPossible(); });
}

} // namespace brindle
