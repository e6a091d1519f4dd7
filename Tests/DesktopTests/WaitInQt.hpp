// Waiting for something to become true while Qt's loop runs.
#pragma once

#include <chrono>
#include <functional>

namespace brindle {

/// Handles Qt's events until the condition holds; false when it does not within the (generous)
/// limit.
bool waitUntil(
    const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds{20});

} // namespace brindle
