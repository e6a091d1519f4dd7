// Tells who uses the microphone, at once and then whenever the answer changes.
#pragma once

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderCore/Calls/CallDetectorConfig.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Owns the monitor's `onChange` while it lives.
class WhoWatch {
  public:
    using Show = std::function<void(const std::vector<std::string>&)>;

    /// The first answer is shown before this returns. `show` must not destroy the watch; everything
    /// given must outlive it.
    WhoWatch(MainLoop& mainLoop, MicActivityMonitor& monitor, CallDetectorConfig config, Show show);
    ~WhoWatch();
    WhoWatch(const WhoWatch&) = delete;
    WhoWatch& operator=(const WhoWatch&) = delete;

    /// The lines of `WhoReport` for what the monitor answers now.
    static std::vector<std::string>
    answer(MicActivityMonitor& monitor, const CallDetectorConfig& config);

  private:
    void look();
    void lookAgainLater();

    MainLoop& mainLoop_;
    MicActivityMonitor& monitor_;
    const CallDetectorConfig config_;
    const Show show_;
    std::vector<std::string> shown_;
    std::unique_ptr<MainLoop::Timer> timer_;
};

} // namespace brindle
