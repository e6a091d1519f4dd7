// When a recording stream turned running in PipeWire, as seen by somebody who does nothing else.
#pragma once

#include "Detection/Desktop.hpp"

#include <memory>
#include <optional>

namespace brindle::bench {

/// A connection to the server on a thread of its own, which notes the time first thing.
class ServerEye {
  public:
    ServerEye();
    ~ServerEye();
    ServerEye(const ServerEye&) = delete;
    ServerEye& operator=(const ServerEye&) = delete;

    /// The time at which a recording stream was last seen to turn running; nothing while none runs.
    [[nodiscard]] std::optional<Clock::time_point> runningSince() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle::bench
