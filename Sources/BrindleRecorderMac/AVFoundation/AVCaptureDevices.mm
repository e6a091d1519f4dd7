#include "BrindleRecorderMac/AVFoundation/AVCaptureDevices.hpp"

#include "BrindleRecorderMac/AVFoundation/MediaTime.hpp"
#include "BrindleRecorderMac/Foundation/FoundationError.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#import <CoreAudio/CoreAudio.h>

#include <utility>

namespace brindle {

AVMediaType avMediaType(MediaType mediaType) {
    return mediaType == MediaType::video ? AVMediaTypeVideo : AVMediaTypeAudio;
}

CaptureDeviceInfo captureDeviceInfo(AVCaptureDevice* device) {
    return {
        .uniqueID = stringOf([device uniqueID]),
        .localizedName = stringOf([device localizedName]),
        .isBuiltIn =
            static_cast<UInt32>([device transportType]) == kAudioDeviceTransportTypeBuiltIn};
}

AVCaptureDeviceHandle::AVCaptureDeviceHandle(AVCaptureDevice* device, Complaint complain)
    : device_{keeping(device)}, complain_{std::move(complain)}, info_{captureDeviceInfo(device)},
      mediaType_{[device hasMediaType:AVMediaTypeVideo] ? MediaType::video : MediaType::audio} {}

bool AVCaptureDeviceHandle::lockForConfiguration() {
    @autoreleasepool {
        NSError* error = nil;
        return [native() lockForConfiguration:&error] != NO;
    }
}

void AVCaptureDeviceHandle::unlockForConfiguration() {
    [native() unlockForConfiguration];
}

std::vector<FrameRateRange> AVCaptureDeviceHandle::supportedFrameRateRanges() const {
    @autoreleasepool {
        std::vector<FrameRateRange> ranges;
        for (AVFrameRateRange* range in [[native() activeFormat] videoSupportedFrameRateRanges]) {
            ranges.push_back({[range minFrameRate], [range maxFrameRate]});
        }
        return ranges;
    }
}

void AVCaptureDeviceHandle::setFrameDuration(Seconds shortest, Seconds longest) {
    @autoreleasepool {
        const auto raised = raisedBy([&] {
            [native() setActiveVideoMinFrameDuration:mediaTime(shortest)];
            [native() setActiveVideoMaxFrameDuration:mediaTime(longest)];
        });
        if (raised) {
            complain_(info_.localizedName + ": frame rate refused: " + raised->description);
        }
    }
}

} // namespace brindle
