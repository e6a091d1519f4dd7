// One capture session, and the devices opened for it.
#pragma once

#include "BrindleRecorderMac/AVFoundation/AVCaptureDevices.hpp"

namespace brindle {

class AVCaptureSessionHandle final : public CaptureSession {
  public:
    explicit AVCaptureSessionHandle(Complaint complain);

    void beginConfiguration() override;
    void commitConfiguration() override;
    [[nodiscard]] Expected<std::shared_ptr<CaptureInput>, PlatformError>
    makeInput(const std::shared_ptr<CaptureDevice>& device) override;
    [[nodiscard]] bool canAddInput(const std::shared_ptr<CaptureInput>& input) const override;
    void addInput(const std::shared_ptr<CaptureInput>& input) override;
    [[nodiscard]] bool canSetPreset(SessionPreset preset) const override;
    void setPreset(SessionPreset preset) override;
    [[nodiscard]] std::shared_ptr<MovieFileOutput> makeMovieFileOutput() override;
    [[nodiscard]] bool canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const override;
    void addOutput(const std::shared_ptr<MovieFileOutput>& output) override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) override;
    void startRunning() override;
    /// Nobody needs it: the system shares cameras.
    void releaseCamera() override {}
    void retakeCamera() override {}
    void stopRunning() override;

  private:
    /// Leaves out what the framework refuses by raising, and says so.
    void attempt(const char* what, const std::function<void()>& work) const;

    Complaint complain_;
    Retained<AVCaptureSession> session_;
};

} // namespace brindle
