#include "LinuxTests/WaitOnLoop.hpp"

#include <systemd/sd-event.h>

#include <cstdint>

namespace brindle {

bool waitUntil(
    EventLoop& loop, const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        // Not every condition becomes true by an event of the loop.
        constexpr std::uint64_t lookAgainMicroseconds = 20'000;
        sd_event_run(loop.events(), lookAgainMicroseconds);
    }
    return true;
}

bool handlesAnything(EventLoop& loop) {
    return sd_event_run(loop.events(), 0) > 0;
}

} // namespace brindle
