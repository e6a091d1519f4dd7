// PipeWire's own loop as one descriptor of the program's.
#pragma once

#include "BrindleRecorderLinux/Loop/EventSource.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

namespace brindle {

class EventLoop;

namespace pipewire {

/// Belongs to the event loop's thread. Must outlive every PipeWire object that is made on it.
class PipeWireOnLoop {
  public:
    /// The loop must outlive this. Throws std::system_error when the system has no descriptors
    /// left.
    explicit PipeWireOnLoop(const EventLoop& loop);
    ~PipeWireOnLoop();
    PipeWireOnLoop(const PipeWireOnLoop&) = delete;
    PipeWireOnLoop& operator=(const PipeWireOnLoop&) = delete;

    [[nodiscard]] pw_loop* get() const { return loop_.get(); }

  private:
    Library library_;
    LoopHandle loop_;
    EventSource source_;
};

} // namespace pipewire

} // namespace brindle
