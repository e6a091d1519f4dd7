// A connection to a message bus that is served by the main loop.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"

namespace brindle {

class EventLoop;

/// Main thread only. Nothing here waits for the bus.
class BusOnLoop final : public Bus {
  public:
    enum class Which { session, system };

    /// The loop must outlive this.
    BusOnLoop(EventLoop& loop, Which which);

    /// Whether there was a bus to connect to.
    [[nodiscard]] bool isConnected() const { return bus_ != nullptr; }
    [[nodiscard]] sd_bus* get() const override { return bus_.get(); }
    /// Nothing to do: the loop looks at the bus before each of its waits.
    void wake() override {}

  private:
    static BusHandle connect(sd_event* events, Which which);

    BusHandle bus_;
};

} // namespace brindle
