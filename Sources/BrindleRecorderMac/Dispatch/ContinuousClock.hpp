// The clock that counts since the machine was started, time asleep included.
#pragma once

#include <chrono>

namespace brindle {

/// Any thread.
[[nodiscard]] std::chrono::nanoseconds timeSinceBoot();

} // namespace brindle
