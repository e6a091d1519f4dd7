// A connection to a message bus, whatever loop serves it.
#pragma once

#include "BrindleRecorderLinux/Loop/Releaser.hpp"

#include <systemd/sd-bus.h>

#include <memory>

namespace brindle {

/// A call that waits for its answer, or signals that are listened to: given up when it goes.
using BusSlot = std::unique_ptr<sd_bus_slot, Releaser<sd_bus_slot_unref>>;
/// Null where the bus is gone, which whoever is handed it takes for a failure.
using BusMessage = std::unique_ptr<sd_bus_message, Releaser<sd_bus_message_unref>>;
/// Closed without a last flush, which would wait for a bus that has not greeted us yet.
using BusHandle = std::unique_ptr<sd_bus, Releaser<sd_bus_close_unref>>;

/// Main thread only.
class Bus {
  public:
    Bus() = default;
    virtual ~Bus() = default;
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Only while connected.
    [[nodiscard]] virtual sd_bus* get() const = 0;
    /// Has the loop send what was asked for and handle what has arrived, a moment later. Whoever
    /// asks from outside a handler calls this afterwards; the loop does the rest.
    virtual void wake() = 0;
};

} // namespace brindle
