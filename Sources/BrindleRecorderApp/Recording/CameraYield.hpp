// Lets the user's own call have the camera: a recording gives it away to whoever wants it.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace brindle {

/// Main thread only. Many cameras can be used by one program at a time, so whoever opens one that
/// is being recorded finds it busy. They have it at once; if they do not use it, it is taken again.
class CameraYield {
  public:
    /// A program that has opened a camera uses it by then, or has only looked at it.
    static constexpr std::chrono::seconds othersDecideWithin{5};

    /// Both must outlive it.
    CameraYield(CaptureSystem& captureSystem, MainLoop& mainLoop)
        : captureSystem_{captureSystem}, mainLoop_{mainLoop} {}
    CameraYield(const CameraYield&) = delete;
    CameraYield& operator=(const CameraYield&) = delete;

    std::function<void()> onRelease;                 ///< somebody has opened it: let go of it
    std::function<void()> onRetake;                  ///< nobody uses it: take it again
    std::function<void(const CameraHolder&)> onLoss; ///< they use it; nothing more is told

    /// That camera is being recorded from now on.
    void guard(const std::string& cameraID);
    void cease();

  private:
    void look();
    void decide();

    CaptureSystem& captureSystem_;
    MainLoop& mainLoop_;
    std::string cameraID_;
    std::set<std::int32_t> knownOpeners_; ///< who had it open and did not mind
    std::unique_ptr<Observation> useObserver_;
    std::unique_ptr<MainLoop::Timer> timer_; ///< while it is given away
};

} // namespace brindle
