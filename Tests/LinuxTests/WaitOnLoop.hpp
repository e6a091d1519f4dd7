// Waiting for something to become true while the main loop runs.
#pragma once

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <chrono>
#include <functional>

namespace brindle {

/// Handles events until the condition holds; false when it does not within the (generous) limit.
bool waitUntil(
    EventLoop& loop, const std::function<bool()>& condition,
    std::chrono::seconds limit = std::chrono::seconds{60});

/// Handles one event that is there, without waiting for one; false when there is none.
bool handlesAnything(EventLoop& loop);

} // namespace brindle
