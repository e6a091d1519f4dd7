// The clock that counts since the machine was started, time asleep included.
#pragma once

#include <chrono>

namespace brindle {

/// Any thread. Throws std::system_error on a system without such a clock.
[[nodiscard]] std::chrono::nanoseconds timeSinceBoot();

} // namespace brindle
