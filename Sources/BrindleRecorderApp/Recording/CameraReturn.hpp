// Notices that a recording that goes without a camera could have one (again).
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace brindle {

class CaptureSystem;
class DeviceCatalog;
class DeviceChoice;

/// Main thread only. Looks whenever a device comes or goes and whenever somebody has begun or
/// ceased to use a camera, and only while it is wanted.
class CameraReturn {
  public:
    /// A camera has to be there and free for so long: whoever had it may be about to take it again.
    static constexpr std::chrono::seconds settlesWithin{3};
    /// From one return to the next of the same call.
    static constexpr std::chrono::seconds leastInterval{60};

    /// All must outlive it.
    struct Parts {
        CaptureSystem& captureSystem;
        MainLoop& mainLoop;
        const DateProvider& dateProvider;
        const DeviceCatalog& catalog;
        const DeviceChoice& devices;
    };

    explicit CameraReturn(Parts parts) : parts_{parts} {}
    CameraReturn(const CameraReturn&) = delete;
    CameraReturn& operator=(const CameraReturn&) = delete;

    /// Called once each time that it was waited for.
    std::function<void()> onReturn;

    /// A recording wants a camera and has none. Those that could not be opened just now are not
    /// waited for, unless they are plugged in again.
    void await(std::set<std::string> refusedCameraIDs);
    void cease();
    /// The call is another one.
    void forgetCall() { lastReturnAt_.reset(); }

  private:
    void look();
    void forgetAbsentCameras();
    void lookAgainAt(Date date);
    [[nodiscard]] bool canOpenOne() const;

    Parts parts_;
    std::unique_ptr<Observation> catalogObserver_;
    std::unique_ptr<Observation> useObserver_;
    std::unique_ptr<MainLoop::Timer> timer_;
    std::set<std::string> refusedCameraIDs_;
    std::optional<Date> freeSince_;
    std::optional<Date> lastReturnAt_;
};

} // namespace brindle
