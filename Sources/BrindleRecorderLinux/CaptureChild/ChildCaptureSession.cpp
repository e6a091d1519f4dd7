#include "BrindleRecorderLinux/CaptureChild/ChildCaptureSession.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"

#include <cassert>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

namespace brindle {

ChildMovieFileOutput::~ChildMovieFileOutput() {
    stopRecording();
}

bool ChildMovieFileOutput::hasConnection(MediaType mediaType) const {
    const auto session = session_.lock();
    return session && session->hasInput(mediaType);
}

void ChildMovieFileOutput::startRecording(
    const std::filesystem::path& path, FinishCallback onFinish) {
    stopRecording();
    const auto session = session_.lock();
    const auto child = session ? session->child() : nullptr;
    if (!child) {
        onFinish(path, capture::recordingError("the devices do not run"));
        return;
    }
    {
        const std::lock_guard lock{mutex_};
        child_ = child;
    }
    child->begin(
        path,
        {.video = hasConnection(MediaType::video) ? std::optional{video_} : std::nullopt,
         .audio = hasConnection(MediaType::audio) ? std::optional{audio_} : std::nullopt,
         .fragmentInterval = fragmentInterval_,
         .encoder = session->encoder()},
        std::move(onFinish));
}

void ChildMovieFileOutput::stopRecording() {
    if (const auto current = child()) {
        if (const auto session = session_.lock(); session && current->isRecording()) {
            session->expectConversion();
        }
        current->finish();
    }
}

bool ChildMovieFileOutput::isRecording() const {
    const auto current = child();
    return current && current->isRecording();
}

Seconds ChildMovieFileOutput::recordedDuration() const {
    const auto current = child();
    return current ? current->recordedDuration() : Seconds{0};
}

std::shared_ptr<capture::RecordingChild> ChildMovieFileOutput::child() const {
    const std::lock_guard lock{mutex_};
    return child_;
}

/// What the child's thread needs to tell of a failure, which may come after the session has gone.
struct ChildCaptureSession::Reports {
    MainLoop& mainLoop;
    SystemLog& log;
    Listeners<std::optional<PlatformError>> listeners;

    void failed(const PlatformError& error) const {
        log.write(SystemLog::Level::error, fmt::format("capture failed: {}", error.description));
        mainLoop.post([listeners = listeners, error] { listeners.call(error); });
    }

    void droppedPictures(std::int64_t count) const {
        log.write(
            SystemLog::Level::info,
            fmt::format("{} pictures were dropped: the machine did not keep up", count));
    }

    void agreed(const capture::CameraAgreed& pictures) const {
        log.write(
            SystemLog::Level::info,
            fmt::format(
                "the camera delivers {} {}x{} at {:.4g} pictures a second", pictures.format,
                pictures.width, pictures.height, pictures.frameRate));
    }
};

ChildCaptureSession::~ChildCaptureSession() {
    stopRunning();
}

Expected<std::shared_ptr<CaptureInput>, PlatformError>
ChildCaptureSession::makeInput(const std::shared_ptr<CaptureDevice>& device) {
    if (!device) {
        return unexpected{PlatformError{
            .domain = "PipeWire",
            .code = 0,
            .description = "there is no such device",
            .underlying = {}}};
    }
    return std::make_shared<ChildCaptureInput>(device);
}

bool ChildCaptureSession::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    const auto ours = std::dynamic_pointer_cast<ChildCaptureInput>(input);
    return ours && !hasInput(ours->device().mediaType());
}

void ChildCaptureSession::addInput(const std::shared_ptr<CaptureInput>& input) {
    assert(canAddInput(input));
    inputs_.push_back(std::dynamic_pointer_cast<ChildCaptureInput>(input));
}

std::shared_ptr<MovieFileOutput> ChildCaptureSession::makeMovieFileOutput() {
    return std::make_shared<ChildMovieFileOutput>();
}

bool ChildCaptureSession::canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const {
    return !output_ && children_.isUsable() &&
           std::dynamic_pointer_cast<ChildMovieFileOutput>(output);
}

void ChildCaptureSession::addOutput(const std::shared_ptr<MovieFileOutput>& output) {
    assert(canAddOutput(output));
    output_ = std::dynamic_pointer_cast<ChildMovieFileOutput>(output);
    output_->connect(weak_from_this());
}

std::unique_ptr<Observation>
ChildCaptureSession::observeRuntimeErrors(RuntimeErrorListener listener) {
    return listeners_.add(std::move(listener));
}

void ChildCaptureSession::startRunning() {
    if (child_ || inputs_.empty() || !output_) {
        return; // nothing to take, or nobody to take it
    }
    const auto told = reports();
    auto child = children_.takeReady();
    if (!child) {
        told->failed(child.error());
        return;
    }
    child_ = std::make_shared<capture::RecordingChild>(
        std::move(*child),
        capture::RecordingChild::Handlers{
            .failed = [told](const PlatformError& error) { told->failed(error); },
            .droppedPictures = [told](std::int64_t count) { told->droppedPictures(count); },
            .agreed =
                [told](const capture::CameraAgreed& pictures) {
                    told->agreed(pictures);
                }});
    const auto error = child_->open(
        {.camera = deviceName(MediaType::video),
         .microphone = deviceName(MediaType::audio),
         .video = output_->videoSettings(),
         .audio = output_->audioSettings()});
    if (error) {
        told->failed(*error);
    }
}

void ChildCaptureSession::releaseCamera() {
    if (child_) {
        child_->releaseCamera();
    }
}

void ChildCaptureSession::retakeCamera() {
    if (child_) {
        child_->retakeCamera();
    }
}

void ChildCaptureSession::stopRunning() {
    if (const auto child = std::exchange(child_, nullptr)) {
        child->close();
    }
}

std::optional<std::string> ChildCaptureSession::deviceName(MediaType mediaType) const {
    for (const auto& input : inputs_) {
        if (input->device().mediaType() == mediaType) {
            return input->device().info().uniqueID;
        }
    }
    return std::nullopt;
}

std::shared_ptr<ChildCaptureSession::Reports> ChildCaptureSession::reports() {
    return std::make_shared<Reports>(
        Reports{.mainLoop = mainLoop_, .log = log_, .listeners = listeners_});
}

} // namespace brindle
