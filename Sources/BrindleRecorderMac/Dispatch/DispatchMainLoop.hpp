// The main dispatch queue, which the run loop of AppKit drains, also while a menu is open.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

namespace brindle {

/// No state, so that whoever calls back late, from a thread of a framework's, needs no other loop
/// than one of its own. Whoever runs the application runs the loop.
class DispatchMainLoop final : public MainLoop {
  public:
    void post(Work work) override;
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::nanoseconds delay, Work work) override;
};

} // namespace brindle
