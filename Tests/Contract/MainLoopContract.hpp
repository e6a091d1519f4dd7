// What every main loop promises, and the clock that its waits are measured by.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "Contract/Contract.hpp"

#include <chrono>

namespace brindle::test {

class MainLoopSubject : public Subject {
  public:
    [[nodiscard]] virtual MainLoop& loop() = 0;
    /// The desktop's clock for `SteadyDateProvider`.
    [[nodiscard]] virtual std::chrono::nanoseconds now() const = 0;
    /// The machine sleeps that long; false where a test cannot make it.
    [[nodiscard]] virtual bool sleep(std::chrono::nanoseconds /*time*/) { return false; }
};

using MainLoopContract = Contract<MainLoopSubject>;

} // namespace brindle::test
