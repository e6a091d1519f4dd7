// Sleep, waking and shutdown as the login manager announces them on the system bus
// (https://systemd.io/INHIBITOR_LOCKS, interface org.freedesktop.login1.Manager).
#pragma once

#include "BrindleRecorderApp/Platform/SystemEvents.hpp"

#include <memory>

namespace brindle {

class EventLoop;

/// Holds a lock that makes the machine wait for us before it sleeps or shuts down (five seconds,
/// unless the system's administrator says otherwise). A login manager that is started again is
/// followed; without one, or without a system bus, nothing is ever announced.
class LogindSystemEvents final : public SystemEvents {
  public:
    /// The loop belongs to the main thread and must outlive this.
    explicit LogindSystemEvents(EventLoop& loop);
    ~LogindSystemEvents() override;
    LogindSystemEvents(const LogindSystemEvents&) = delete;
    LogindSystemEvents& operator=(const LogindSystemEvents&) = delete;

    /// One listener at a time.
    [[nodiscard]] std::unique_ptr<Observation> observe(Listener listener) override;

  private:
    class Connection;
    std::shared_ptr<Connection> connection_;
};

} // namespace brindle
