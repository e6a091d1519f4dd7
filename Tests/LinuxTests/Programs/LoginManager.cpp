// A login manager for scenes of the built program, on the session's own bus. It announces what it
// reads, a line each ("sleep", "wake", "shutdown"), and prints "locked" when somebody takes a lock
// and "released" when the lock is let go.
#include "LinuxTests/ScriptedLogin1.hpp"

#include <poll.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace brindle {
namespace {

/// False at the end of the input.
bool obey(test::ScriptedLogin1& manager) {
    std::string command;
    if (!std::getline(std::cin, command)) {
        return false;
    }
    if (command == "shutdown") {
        manager.announce("PrepareForShutdown", true);
    } else {
        manager.announce("PrepareForSleep", command == "sleep");
    }
    return true;
}

void report(const test::ScriptedLogin1& manager, std::vector<bool>& held) {
    for (std::size_t index = 0; index < manager.locks().size(); ++index) {
        if (index == held.size()) {
            held.push_back(true);
            std::cout << "locked" << std::endl;
        }
        if (held[index] && !manager.isHeld(index)) {
            held[index] = false;
            std::cout << "released" << std::endl;
        }
    }
}

void run() {
    constexpr int lookAgainMilliseconds = 20;
    test::ScriptedLogin1 manager;
    std::vector<bool> held;
    std::cout << "ready" << std::endl;
    for (bool goesOn = true; goesOn;) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, lookAgainMilliseconds) > 0) {
            goesOn = obey(manager);
        }
        manager.serve();
        report(manager, held);
    }
}

} // namespace
} // namespace brindle

int main() {
    try {
        brindle::run();
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
