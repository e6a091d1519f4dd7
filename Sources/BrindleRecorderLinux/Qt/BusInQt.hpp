// A connection to the session bus that Qt's event loop serves, for a program that leaves Qt's own
// alone.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"

#include <QSocketNotifier>
#include <systemd/sd-event.h>

#include <memory>
#include <optional>

namespace brindle {

/// Main thread only.
class BusInQt final : public Bus {
  public:
    /// Waits for the bus's greeting. Needs no QCoreApplication.
    BusInQt();

    /// Whether there was a bus to connect to.
    [[nodiscard]] bool isConnected() const { return bus_ != nullptr; }
    [[nodiscard]] sd_bus* get() const override { return bus_.get(); }
    /// Does nothing before `serve`.
    void wake() override;

    /// Hands the connection to Qt's loop. Needs a QCoreApplication, which must outlive this.
    void serve();

  private:
    using EventHandle = std::unique_ptr<sd_event, Releaser<sd_event_unref>>;

    void dispatch();

    EventHandle events_;
    BusHandle bus_;
    std::optional<QSocketNotifier> notifier_;
};

} // namespace brindle
