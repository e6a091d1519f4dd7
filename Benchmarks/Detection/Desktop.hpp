// What a benchmark measures: the detection of the program, wired to the session's servers as the
// program wires it.
#pragma once

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace brindle::bench {

using Clock = std::chrono::steady_clock;

class Desktop {
  public:
    Desktop();

    /// A detection pass on a fresh snapshot, as after every change: the users, their identities,
    /// the window titles of browsers, the detector.
    const std::vector<MicUser>& pass();

    /// Handles events until the condition holds. Throws when it does not in time.
    void await(const std::string& what, const std::function<bool()>& condition);

    MicActivityMonitor& monitor() { return monitor_; }
    EventLoop& loop() { return loop_; }

  private:
    EventLoop loop_;
    ProcProcessRegistry processes_{loop_};
    pipewire::PipeWireOnLoop pipeWire_{loop_};
    pipewire::AudioServer audioServer_;
    PipeWireAudioObjects audioObjects_;
    DesktopWindowList windows_;
    MicActivityMonitor monitor_;
    CallDetector detector_;
    std::vector<MicUser> users_;
};

/// Of a number of measurements, the one that so many of a hundred do not exceed. Sorts them.
std::chrono::nanoseconds
percentile(std::vector<std::chrono::nanoseconds>& measurements, double hundredth);

double milliseconds(std::chrono::nanoseconds duration);

} // namespace brindle::bench
