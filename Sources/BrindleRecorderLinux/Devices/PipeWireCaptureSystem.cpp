#include "BrindleRecorderLinux/Devices/PipeWireCaptureSystem.hpp"

#include "BrindleRecorderLinux/CaptureChild/ChildCaptureSession.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Portal/CameraPortal.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

namespace {

const CaptureDeviceInfo*
find(const std::vector<CaptureDeviceInfo>& devices, const std::string& uniqueID) {
    const auto found = std::ranges::find(devices, uniqueID, &CaptureDeviceInfo::uniqueID);
    return found == devices.end() ? nullptr : &*found;
}

} // namespace

PipeWireCaptureSystem::PipeWireCaptureSystem(
    EventLoop& mainLoop, const pipewire::AudioServer& server, SystemLog& log,
    capture::CaptureChildren& children, CameraPortal* cameraPortal)
    : mainLoop_{mainLoop}, server_{server}, log_{log}, children_{children},
      cameraPortal_{cameraPortal},
      cameraUsers_{
          mainLoop,
          [this] {
              useListeners_.call();
          }},
      observation_{server.observe([this] { refresh(); })} {
    refresh();
}

void PipeWireCaptureSystem::refresh() {
    const auto graph = server_.graph();
    auto devices = graph ? pipewire::discoverDevices(*graph) : pipewire::DiscoveredDevices{};
    if (std::exchange(devices_, std::move(devices)) != devices_) {
        cameraUsers_.watch(graph ? pipewire::kernelCameras(*graph) : std::set<std::string>{});
        listeners_.call();
    }
}

std::vector<CaptureDeviceInfo> PipeWireCaptureSystem::discover(MediaType mediaType) const {
    return mediaType == MediaType::video ? devices_.cameras : devices_.microphones;
}

std::optional<CaptureDeviceInfo> PipeWireCaptureSystem::systemPreferredCamera() const {
    return std::nullopt;
}

std::optional<CaptureDeviceInfo> PipeWireCaptureSystem::defaultCamera() const {
    const CaptureDeviceInfo* const camera =
        devices_.defaultCameraID ? find(devices_.cameras, *devices_.defaultCameraID) : nullptr;
    return camera == nullptr ? std::nullopt : std::optional{*camera};
}

std::unique_ptr<Observation> PipeWireCaptureSystem::observeDevices(std::function<void()> listener) {
    return listeners_.add(std::move(listener));
}

std::optional<CameraHolder> PipeWireCaptureSystem::holderOf(const std::string& cameraID) const {
    const auto graph = server_.graph();
    const auto path = graph ? pipewire::unusedKernelCamera(*graph, cameraID) : std::nullopt;
    return path ? cameraUsers_.holderOf(*path) : std::nullopt;
}

std::set<std::int32_t> PipeWireCaptureSystem::openersOf(const std::string& cameraID) const {
    const auto graph = server_.graph();
    const auto path = graph ? pipewire::kernelCamera(*graph, cameraID) : std::nullopt;
    return path ? cameraUsers_.openersOf(*path) : std::set<std::int32_t>{};
}

std::unique_ptr<Observation>
PipeWireCaptureSystem::observeCameraUse(std::function<void()> listener) {
    return useListeners_.add(std::move(listener));
}

std::shared_ptr<CaptureDevice> PipeWireCaptureSystem::device(const std::string& uniqueID) {
    if (const CaptureDeviceInfo* const camera = find(devices_.cameras, uniqueID)) {
        return std::make_shared<ChildCaptureDevice>(*camera, MediaType::video);
    }
    if (const CaptureDeviceInfo* const microphone = find(devices_.microphones, uniqueID)) {
        return std::make_shared<ChildCaptureDevice>(*microphone, MediaType::audio);
    }
    return nullptr;
}

std::shared_ptr<CaptureSession> PipeWireCaptureSystem::makeSession() {
    return std::make_shared<ChildCaptureSession>(mainLoop_, log_, children_);
}

void PipeWireCaptureSystem::expectRecording(bool isExpected) {
    children_.keepOneReady(isExpected);
}

AuthorizationStatus PipeWireCaptureSystem::authorizationStatus(MediaType mediaType) const {
    if (mediaType == MediaType::video && cameraPortal_ != nullptr &&
        cameraPortal_->status() != AuthorizationStatus::authorized) {
        return cameraPortal_->status();
    }
    const bool isUnknown = server_.state() == pipewire::AudioServerState::connecting;
    return server_.graph() || isUnknown ? AuthorizationStatus::authorized
                                        : AuthorizationStatus::denied;
}

void PipeWireCaptureSystem::requestAccess(
    MediaType mediaType, std::function<void(bool granted)> answer) {
    if (mediaType == MediaType::video && cameraPortal_ != nullptr) {
        cameraPortal_->requestAccess(std::move(answer));
    } else {
        answer(authorizationStatus(mediaType) == AuthorizationStatus::authorized);
    }
}

} // namespace brindle
