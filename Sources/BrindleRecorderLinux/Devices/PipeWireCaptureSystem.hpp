// Cameras and microphones of a PipeWire desktop, and sessions that record from them.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderLinux/Cameras/CameraUsers.hpp"
#include "BrindleRecorderLinux/Devices/DeviceDiscovery.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"

namespace brindle {

class CameraPortal;
class EventLoop;

namespace capture {
class CaptureChildren;
}

/// Outside a sandbox nobody is asked for access: a kind of device is authorised while the server
/// can be reached, and denied while it cannot. Nothing is denied before the first attempt has had
/// an outcome, which takes a moment at every start. Inside a sandbox the camera also needs the
/// portal's leave; there is no such portal for microphones.
class PipeWireCaptureSystem final : public CaptureSystem {
  public:
    /// Everything given must outlive this. There is a camera portal inside a sandbox only.
    PipeWireCaptureSystem(
        EventLoop& mainLoop, const pipewire::AudioServer& server, SystemLog& log,
        capture::CaptureChildren& children, CameraPortal* cameraPortal = nullptr);

    [[nodiscard]] std::vector<CaptureDeviceInfo> discover(MediaType mediaType) const override;
    /// Nobody is preferred on this desktop beyond its default.
    [[nodiscard]] std::optional<CaptureDeviceInfo> systemPreferredCamera() const override;
    [[nodiscard]] std::optional<CaptureDeviceInfo> defaultCamera() const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeDevices(std::function<void()> listener) override;

    /// Of the kernel's cameras; of others nobody can tell.
    [[nodiscard]] std::optional<CameraHolder> holderOf(const std::string& cameraID) const override;
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string& cameraID) const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeCameraUse(std::function<void()> listener) override;

    [[nodiscard]] std::shared_ptr<CaptureDevice> device(const std::string& uniqueID) override;
    [[nodiscard]] std::shared_ptr<CaptureSession> makeSession() override;
    void expectRecording(bool isExpected) override;

    [[nodiscard]] AuthorizationStatus authorizationStatus(MediaType mediaType) const override;
    void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) override;

  private:
    void refresh();

    MainLoop& mainLoop_;
    const pipewire::AudioServer& server_;
    SystemLog& log_;
    capture::CaptureChildren& children_;
    CameraPortal* cameraPortal_;
    pipewire::DiscoveredDevices devices_;
    Listeners<> listeners_;
    Listeners<> useListeners_;
    mutable CameraUsers cameraUsers_; ///< whose own looking is not told to anybody
    std::unique_ptr<Observation> observation_;
};

} // namespace brindle
