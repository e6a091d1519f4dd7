#include "LinuxTests/WaitOnLoop.hpp"

#include <poll.h>

namespace brindle {

bool waitUntil(
    EventLoop& loop, const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        // Not every condition becomes true by an event of the loop.
        constexpr int lookAgainMilliseconds = 20;
        pollfd readable{loop.descriptor(), POLLIN, 0};
        poll(&readable, 1, lookAgainMilliseconds);
        loop.iterate();
    }
    return true;
}

} // namespace brindle
