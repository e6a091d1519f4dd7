// Cameras, microphones and leave to use them.
#pragma once

#include "BrindleRecorderMac/AVFoundation/AVCaptureDevices.hpp"

namespace brindle {

class AVCaptureSystem final : public CaptureSystem {
  public:
    explicit AVCaptureSystem(Complaint complain);

    [[nodiscard]] std::vector<CaptureDeviceInfo> discover(MediaType mediaType) const override;
    [[nodiscard]] std::optional<CaptureDeviceInfo> systemPreferredCamera() const override;
    [[nodiscard]] std::optional<CaptureDeviceInfo> defaultCamera() const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeDevices(std::function<void()> listener) override;
    /// Nobody: the system shares cameras among all who ask.
    [[nodiscard]] std::optional<CameraHolder>
    holderOf(const std::string& /*cameraID*/) const override {
        return std::nullopt;
    }
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string& /*cameraID*/) const override {
        return {};
    }
    [[nodiscard]] std::unique_ptr<Observation>
    observeCameraUse(std::function<void()> /*listener*/) override {
        return nullptr;
    }
    [[nodiscard]] std::shared_ptr<CaptureDevice> device(const std::string& uniqueID) override;
    [[nodiscard]] std::shared_ptr<CaptureSession> makeSession() override;
    /// There is nothing to get ready here.
    void expectRecording(bool isExpected) override;
    [[nodiscard]] AuthorizationStatus authorizationStatus(MediaType mediaType) const override;
    void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) override;

  private:
    Complaint complain_;
};

} // namespace brindle
