#include "BrindleRecorderLinux/PipeWire/PipeWireCaptureSession.hpp"

#include "BrindleRecorderLinux/Media/MediaEngine.hpp"
#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"

#include <algorithm>
#include <cassert>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace brindle {

PipeWireMovieFileOutput::PipeWireMovieFileOutput(
    SystemLog& log, media::MediaEngineModule& mediaEngine)
    : log_{log}, mediaEngine_{std::async(
                     std::launch::async, [&mediaEngine] { return mediaEngine.engine(); })} {}

PipeWireMovieFileOutput::~PipeWireMovieFileOutput() {
    stopRecording();
}

bool PipeWireMovieFileOutput::hasConnection(MediaType mediaType) const {
    const auto session = session_.lock();
    return session && session->hasInput(mediaType);
}

void PipeWireMovieFileOutput::startRecording(
    const std::filesystem::path& path, FinishCallback onFinish) {
    media::MovieRecording::Settings settings = settings_;
    if (hasConnection(MediaType::video)) {
        settings.video = video_;
    }
    if (hasConnection(MediaType::audio)) {
        settings.audio = audio_;
    }
    stopRecording();
    const auto& engine = mediaEngine_.get();
    if (!engine) {
        onFinish(path, engine.error());
        return;
    }
    auto recording = (*engine)->beginRecording(path, settings, std::move(onFinish));
    const std::lock_guard lock{mutex_};
    recording_ = std::move(recording);
}

void PipeWireMovieFileOutput::stopRecording() {
    const std::shared_ptr<media::MovieRecording> ending = recording();
    if (!ending) {
        return;
    }
    if (ending->isActive()) {
        if (const auto session = session_.lock()) {
            session->settle();
        }
    }
    ending->finish();
    if (const std::int64_t dropped = ending->droppedPictures(); dropped > 0) {
        log_.write(
            SystemLog::Level::info,
            fmt::format("{} pictures were dropped: the machine did not keep up", dropped));
    }
    const std::lock_guard lock{mutex_};
    recording_.reset();
}

bool PipeWireMovieFileOutput::isRecording() const {
    const auto current = recording();
    return current && current->isActive();
}

Seconds PipeWireMovieFileOutput::recordedDuration() const {
    const auto current = recording();
    return current ? current->recordedDuration() : Seconds{0};
}

void PipeWireMovieFileOutput::addPicture(media::CapturedPicture picture) {
    if (const auto current = recording()) {
        current->addPicture(std::move(picture));
    }
}

void PipeWireMovieFileOutput::addSound(media::CapturedSound sound) {
    if (const auto current = recording()) {
        current->addSound(std::move(sound));
    }
}

std::shared_ptr<media::MovieRecording> PipeWireMovieFileOutput::recording() const {
    const std::lock_guard lock{mutex_};
    return recording_;
}

/// Both the observation, which keeps it alive, and what a posted report finds it by. Main thread.
struct PipeWireCaptureSession::Listener {
    RuntimeErrorListener call;
};

namespace {

template <class Kept>
class KeepingObservation final : public Observation {
  public:
    explicit KeepingObservation(std::shared_ptr<Kept> kept) : kept_{std::move(kept)} {}

  private:
    std::shared_ptr<Kept> kept_;
};

} // namespace

PipeWireCaptureSession::~PipeWireCaptureSession() {
    stopRunning();
}

Expected<std::shared_ptr<CaptureInput>, PlatformError>
PipeWireCaptureSession::makeInput(const std::shared_ptr<CaptureDevice>& device) {
    if (!device) {
        return unexpected{PlatformError{
            .domain = "PipeWire",
            .code = 0,
            .description = "there is no such device",
            .underlying = {}}};
    }
    return std::make_shared<PipeWireCaptureInput>(device);
}

bool PipeWireCaptureSession::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    const auto ours = std::dynamic_pointer_cast<PipeWireCaptureInput>(input);
    return ours && !hasInput(ours->device().mediaType());
}

void PipeWireCaptureSession::addInput(const std::shared_ptr<CaptureInput>& input) {
    assert(canAddInput(input));
    inputs_.push_back(std::dynamic_pointer_cast<PipeWireCaptureInput>(input));
}

std::shared_ptr<MovieFileOutput> PipeWireCaptureSession::makeMovieFileOutput() {
    return std::make_shared<PipeWireMovieFileOutput>(log_, mediaEngine_);
}

bool PipeWireCaptureSession::canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const {
    return !output_ && mediaEngine_.isUsable() &&
           std::dynamic_pointer_cast<PipeWireMovieFileOutput>(output);
}

void PipeWireCaptureSession::addOutput(const std::shared_ptr<MovieFileOutput>& output) {
    assert(canAddOutput(output));
    output_ = std::dynamic_pointer_cast<PipeWireMovieFileOutput>(output);
    output_->connect(weak_from_this());
}

std::unique_ptr<Observation>
PipeWireCaptureSession::observeRuntimeErrors(RuntimeErrorListener listener) {
    auto kept = std::make_shared<Listener>(Listener{.call = std::move(listener)});
    listeners_->push_back(kept);
    return std::make_unique<KeepingObservation<Listener>>(std::move(kept));
}

void PipeWireCaptureSession::startRunning() {
    if (connection_ || inputs_.empty() || !output_) {
        return; // nothing to take, or nobody to take it
    }
    pipewire::CaptureConnection::Devices devices{
        .camera = deviceName(MediaType::video),
        .microphone = deviceName(MediaType::audio),
        .pictures = {},
        .waitingRoom = {}};
    const VideoOutputSettings video = output_->videoSettings();
    const AudioOutputSettings audio = output_->audioSettings();
    devices.pictures = {
        .width = video.width,
        .height = video.height,
        .frameRate = static_cast<double>(video.expectedSourceFrameRate)};
    devices.sampleRate = audio.sampleRate;
    devices.channels = audio.numberOfChannels;
    devices.waitingRoom = {.pictures = video.mostWaitingBytes, .sound = audio.mostWaitingBytes};
    connection_ = std::make_unique<pipewire::CaptureConnection>(
        std::move(devices),
        pipewire::CaptureConnection::Handlers{
            .picture =
                [output = output_](media::CapturedPicture picture) {
                    output->addPicture(std::move(picture));
                },
            .sound = [output = output_](
                         media::CapturedSound sound) { output->addSound(std::move(sound)); },
            .failed =
                [this](PlatformError error) {
                    report(std::move(error));
                }});
    if (auto started = connection_->start(); !started) {
        report(started.error());
    }
}

void PipeWireCaptureSession::stopRunning() {
    if (output_ && output_->isRecording()) {
        output_->stopRecording();
    }
    connection_.reset();
}

void PipeWireCaptureSession::settle() {
    if (connection_) {
        connection_->settle();
    }
}

std::optional<std::string> PipeWireCaptureSession::deviceName(MediaType mediaType) const {
    for (const auto& input : inputs_) {
        if (input->device().mediaType() == mediaType) {
            return input->device().info().uniqueID;
        }
    }
    return std::nullopt;
}

void PipeWireCaptureSession::report(PlatformError error) {
    log_.write(SystemLog::Level::error, fmt::format("capture failed: {}", error.description));
    mainLoop_.post([listeners = listeners_, error = std::move(error)] {
        // A listener may register others, or let go of itself.
        const auto current = *listeners;
        for (const auto& weak : current) {
            if (const auto listener = weak.lock()) {
                listener->call(error);
            }
        }
    });
}

} // namespace brindle
