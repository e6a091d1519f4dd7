#include "BrindleRecorderLinux/Time/BootClock.hpp"

#include <cerrno>
#include <ctime>
#include <system_error>

namespace brindle {

std::chrono::nanoseconds timeSinceBoot() {
    timespec time{};
    if (clock_gettime(CLOCK_BOOTTIME, &time) != 0) {
        throw std::system_error{errno, std::generic_category(), "boot clock"};
    }
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

} // namespace brindle
