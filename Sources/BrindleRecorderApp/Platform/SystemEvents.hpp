// The seam to what the desktop announces about the machine and the user's session: sleep, waking,
// and the end.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <functional>
#include <memory>

namespace brindle {

/// Main thread only; listeners are called on the main thread, from the main loop.
class SystemEvents {
  public:
    struct Listener {
        /// The machine is about to sleep and waits, as long as the desktop lets it, until `ready`
        /// is called. Calling it late, or after the machine has woken, is harmless.
        std::function<void(std::function<void()> ready)> willSleep;
        /// The machine has woken, or did not sleep after all. Follows every `willSleep`.
        std::function<void()> didWake;
        /// The machine is about to be shut down, or the user's session to be closed. It waits, as
        /// long as the desktop lets it, until the program has ended.
        std::function<void()> sessionWillEnd;
    };

    virtual ~SystemEvents() = default;

    /// Nothing when the desktop announces none of it.
    [[nodiscard]] virtual std::unique_ptr<Observation> observe(Listener listener) = 0;
};

} // namespace brindle
