#include "BrindleRecorderMac/AVFoundation/AVCaptureSystem.hpp"

#include "BrindleRecorderMac/AVFoundation/AVCaptureSessionHandle.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/NotificationObservation.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <utility>

namespace brindle {

namespace {

NSArray* deviceTypes(MediaType mediaType) {
    if (mediaType == MediaType::audio) {
        return [NSArray
            arrayWithObjects:AVCaptureDeviceTypeMicrophone, AVCaptureDeviceTypeExternal, nil];
    }
    return
        [NSArray arrayWithObjects:AVCaptureDeviceTypeBuiltInWideAngleCamera,
                                  AVCaptureDeviceTypeExternal, AVCaptureDeviceTypeContinuityCamera,
                                  AVCaptureDeviceTypeDeskViewCamera, nil];
}

std::optional<CaptureDeviceInfo> optionalInfo(AVCaptureDevice* device) {
    return device == nil ? std::nullopt : std::optional{captureDeviceInfo(device)};
}

/// Two registrations as one.
class DeviceObservation final : public Observation {
  public:
    explicit DeviceObservation(const std::function<void()>& listener) {
        const auto changed = [listener](NSNotification*) {
            listener();
        };
        NSNotificationCenter* const center = [NSNotificationCenter defaultCenter];
        connected_ =
            observeNotifications(center, AVCaptureDeviceWasConnectedNotification, nil, changed);
        disconnected_ =
            observeNotifications(center, AVCaptureDeviceWasDisconnectedNotification, nil, changed);
    }

  private:
    std::unique_ptr<Observation> connected_;
    std::unique_ptr<Observation> disconnected_;
};

} // namespace

AVCaptureSystem::AVCaptureSystem(Complaint complain) : complain_{std::move(complain)} {}

std::vector<CaptureDeviceInfo> AVCaptureSystem::discover(MediaType mediaType) const {
    @autoreleasepool {
        AVCaptureDeviceDiscoverySession* const discovery = [AVCaptureDeviceDiscoverySession
            discoverySessionWithDeviceTypes:deviceTypes(mediaType)
                                  mediaType:avMediaType(mediaType)
                                   position:AVCaptureDevicePositionUnspecified];
        std::vector<CaptureDeviceInfo> found;
        for (AVCaptureDevice* device in [discovery devices]) {
            found.push_back(captureDeviceInfo(device));
        }
        return found;
    }
}

std::optional<CaptureDeviceInfo> AVCaptureSystem::systemPreferredCamera() const {
    @autoreleasepool {
        return optionalInfo([AVCaptureDevice systemPreferredCamera]);
    }
}

std::optional<CaptureDeviceInfo> AVCaptureSystem::defaultCamera() const {
    @autoreleasepool {
        return optionalInfo([AVCaptureDevice defaultDeviceWithMediaType:AVMediaTypeVideo]);
    }
}

std::unique_ptr<Observation> AVCaptureSystem::observeDevices(std::function<void()> listener) {
    return std::make_unique<DeviceObservation>(listener);
}

std::shared_ptr<CaptureDevice> AVCaptureSystem::device(const std::string& uniqueID) {
    @autoreleasepool {
        AVCaptureDevice* const device = [AVCaptureDevice deviceWithUniqueID:nsString(uniqueID)];
        return device == nil ? nullptr : std::make_shared<AVCaptureDeviceHandle>(device, complain_);
    }
}

std::shared_ptr<CaptureSession> AVCaptureSystem::makeSession() {
    return std::make_shared<AVCaptureSessionHandle>(complain_);
}

void AVCaptureSystem::expectRecording(bool /*isExpected*/) {}

AuthorizationStatus AVCaptureSystem::authorizationStatus(MediaType mediaType) const {
    switch ([AVCaptureDevice authorizationStatusForMediaType:avMediaType(mediaType)]) {
    case AVAuthorizationStatusNotDetermined:
        return AuthorizationStatus::notDetermined;
    case AVAuthorizationStatusRestricted:
        return AuthorizationStatus::restricted;
    case AVAuthorizationStatusDenied:
        return AuthorizationStatus::denied;
    case AVAuthorizationStatusAuthorized:
        return AuthorizationStatus::authorized;
    }
    return AuthorizationStatus::denied;
}

void AVCaptureSystem::requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) {
    @autoreleasepool {
        [AVCaptureDevice
            requestAccessForMediaType:avMediaType(mediaType)
                    completionHandler:^(BOOL granted) {
                      const bool isGranted = granted != NO;
                      DispatchMainLoop{}.post([answer, isGranted] { answer(isGranted); });
                    }];
    }
}

} // namespace brindle
