// Cameras and microphones, as AVFoundation knows them.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#import <AVFoundation/AVFoundation.h>

#include <functional>
#include <string>

namespace brindle {

/// Told what a framework refused by raising, and what was therefore left as it was. Any thread.
using Complaint = std::function<void(const std::string&)>;

AVMediaType avMediaType(MediaType mediaType);
CaptureDeviceInfo captureDeviceInfo(AVCaptureDevice* device);

class AVCaptureDeviceHandle final : public CaptureDevice {
  public:
    AVCaptureDeviceHandle(AVCaptureDevice* device, Complaint complain);

    [[nodiscard]] const CaptureDeviceInfo& info() const override { return info_; }
    [[nodiscard]] MediaType mediaType() const override { return mediaType_; }
    bool lockForConfiguration() override;
    void unlockForConfiguration() override;
    [[nodiscard]] std::vector<FrameRateRange> supportedFrameRateRanges() const override;
    void setFrameDuration(Seconds shortest, Seconds longest) override;

    [[nodiscard]] AVCaptureDevice* native() const { return device_.get(); }

  private:
    Retained<AVCaptureDevice> device_;
    Complaint complain_;
    CaptureDeviceInfo info_;
    MediaType mediaType_;
};

} // namespace brindle
