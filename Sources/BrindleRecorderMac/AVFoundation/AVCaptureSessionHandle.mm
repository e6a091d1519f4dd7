#include "BrindleRecorderMac/AVFoundation/AVCaptureSessionHandle.hpp"

#include "BrindleRecorderMac/AVFoundation/AVMovieOutput.hpp"
#include "BrindleRecorderMac/Foundation/FoundationError.hpp"
#include "BrindleRecorderMac/Foundation/NotificationObservation.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <utility>

namespace brindle {

namespace {

class OpenedDevice final : public CaptureInput {
  public:
    explicit OpenedDevice(Retained<AVCaptureDeviceInput> input) : input_{std::move(input)} {}
    [[nodiscard]] AVCaptureDeviceInput* native() const { return input_.get(); }

  private:
    Retained<AVCaptureDeviceInput> input_;
};

// Whatever a session is handed, a session has made.

AVCaptureDeviceInput* nativeOf(const std::shared_ptr<CaptureInput>& input) {
    return static_cast<const OpenedDevice&>(*input).native();
}

AVCaptureMovieFileOutput* nativeOf(const std::shared_ptr<MovieFileOutput>& output) {
    return static_cast<const AVMovieOutput&>(*output).native();
}

AVCaptureSessionPreset nativeOf(SessionPreset preset) {
    return preset == SessionPreset::hd1920x1080 ? AVCaptureSessionPreset1920x1080
                                                : AVCaptureSessionPresetHigh;
}

} // namespace

AVCaptureSessionHandle::AVCaptureSessionHandle(Complaint complain)
    : complain_{std::move(complain)}, session_{taking([[AVCaptureSession alloc] init])} {}

void AVCaptureSessionHandle::attempt(const char* what, const std::function<void()>& work) const {
    @autoreleasepool {
        if (const auto raised = raisedBy(work)) {
            complain_(std::string{what} + " refused: " + raised->description);
        }
    }
}

void AVCaptureSessionHandle::beginConfiguration() {
    [session_.get() beginConfiguration];
}

void AVCaptureSessionHandle::commitConfiguration() {
    attempt("capture configuration", [&] { [session_.get() commitConfiguration]; });
}

Expected<std::shared_ptr<CaptureInput>, PlatformError>
AVCaptureSessionHandle::makeInput(const std::shared_ptr<CaptureDevice>& device) {
    @autoreleasepool {
        AVCaptureDevice* const native = static_cast<const AVCaptureDeviceHandle&>(*device).native();
        Retained<AVCaptureDeviceInput> input;
        NSError* error = nil;
        auto raised = raisedBy([&] {
            input = taking([[AVCaptureDeviceInput alloc] initWithDevice:native error:&error]);
        });
        if (raised) {
            return unexpected{*std::move(raised)};
        }
        if (!input) {
            return unexpected{platformErrorOf(error)};
        }
        return std::make_shared<OpenedDevice>(std::move(input));
    }
}

bool AVCaptureSessionHandle::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    return [session_.get() canAddInput:nativeOf(input)] != NO;
}

void AVCaptureSessionHandle::addInput(const std::shared_ptr<CaptureInput>& input) {
    attempt("device", [&] { [session_.get() addInput:nativeOf(input)]; });
}

bool AVCaptureSessionHandle::canSetPreset(SessionPreset preset) const {
    return [session_.get() canSetSessionPreset:nativeOf(preset)] != NO;
}

void AVCaptureSessionHandle::setPreset(SessionPreset preset) {
    attempt("capture preset", [&] { [session_.get() setSessionPreset:nativeOf(preset)]; });
}

std::shared_ptr<MovieFileOutput> AVCaptureSessionHandle::makeMovieFileOutput() {
    return std::make_shared<AVMovieOutput>(complain_);
}

bool AVCaptureSessionHandle::canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const {
    return [session_.get() canAddOutput:nativeOf(output)] != NO;
}

void AVCaptureSessionHandle::addOutput(const std::shared_ptr<MovieFileOutput>& output) {
    attempt("movie file", [&] { [session_.get() addOutput:nativeOf(output)]; });
}

std::unique_ptr<Observation>
AVCaptureSessionHandle::observeRuntimeErrors(RuntimeErrorListener listener) {
    return observeNotifications(
        [NSNotificationCenter defaultCenter], AVCaptureSessionRuntimeErrorNotification,
        session_.get(), [listener = std::move(listener)](NSNotification* notification) {
            const id error = [[notification userInfo] objectForKey:AVCaptureSessionErrorKey];
            listener(
                [error isKindOfClass:[NSError class]] ? std::optional{platformErrorOf(error)}
                                                      : std::nullopt);
        });
}

void AVCaptureSessionHandle::startRunning() {
    attempt("capture", [&] { [session_.get() startRunning]; });
}

void AVCaptureSessionHandle::stopRunning() {
    attempt("end of capture", [&] { [session_.get() stopRunning]; });
}

} // namespace brindle
