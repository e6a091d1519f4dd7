// A connection to a message bus that is served by the main loop, for what does without Qt.
#pragma once

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>

namespace brindle {

/// A call that waits for its answer, or signals that are listened to: given up when it goes.
using BusSlot = std::unique_ptr<sd_bus_slot, pipewire::Releaser<sd_bus_slot_unref>>;

/// Main thread only. Nothing here waits for the bus.
class BusOnLoop {
  public:
    enum class Which { session, system };

    /// The loop must outlive this.
    BusOnLoop(pw_loop* loop, Which which);
    BusOnLoop(const BusOnLoop&) = delete;
    BusOnLoop& operator=(const BusOnLoop&) = delete;

    /// Whether there was a bus to connect to.
    [[nodiscard]] bool isConnected() const { return bus_ && source_; }
    /// Only while connected.
    [[nodiscard]] sd_bus* get() const { return bus_.get(); }
    /// Sends what was asked for and handles what has arrived. Whoever asks from outside a handler
    /// calls this afterwards; the loop does the rest.
    void dispatch();

  private:
    using EventHandle = std::unique_ptr<sd_event, pipewire::Releaser<sd_event_unref>>;
    /// Closed without a last flush, which would wait for a bus that has not greeted us yet.
    using BusHandle = std::unique_ptr<sd_bus, pipewire::Releaser<sd_bus_close_unref>>;

    static EventHandle makeEvents();
    static BusHandle connect(sd_event* events, Which which);

    EventHandle events_;
    BusHandle bus_;
    pipewire::SourceHandle source_;
};

} // namespace brindle
