// A connection to a message bus that is served by the main loop, for what does without Qt.
#pragma once

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/SdBus/Bus.hpp"

#include <systemd/sd-event.h>

#include <memory>

namespace brindle {

/// Main thread only. Nothing here waits for the bus.
class BusOnLoop final : public Bus {
  public:
    enum class Which { session, system };

    /// The loop must outlive this.
    BusOnLoop(pw_loop* loop, Which which);

    /// Whether there was a bus to connect to.
    [[nodiscard]] bool isConnected() const { return bus_ && source_; }
    [[nodiscard]] sd_bus* get() const override { return bus_.get(); }
    void wake() override;
    /// Does at once what `wake` has done later, for whoever may be called back from within.
    void dispatch();

  private:
    using EventHandle = std::unique_ptr<sd_event, BusReleaser<sd_event_unref>>;

    static EventHandle makeEvents();
    static BusHandle connect(sd_event* events, Which which);

    pw_loop* loop_;
    EventHandle events_;
    BusHandle bus_;
    pipewire::SourceHandle source_;
    pipewire::SourceHandle wakeUp_;
};

} // namespace brindle
