#include "BrindleRecorderLinux/Capture/RecordingWork.hpp"

#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <utility>

namespace brindle::capture {

RecordingWork::~RecordingWork() {
    close();
}

void RecordingWork::open(const OpenDevices& order) {
    pipewire::CaptureConnection::Devices devices{
        .camera = order.camera,
        .microphone = order.microphone,
        .pictures =
            {.width = order.video.width,
             .height = order.video.height,
             .frameRate = order.video.expectedSourceFrameRate},
        .sampleRate = order.audio.sampleRate,
        .channels = order.audio.numberOfChannels,
        .waitingRoom = {
            .pictures = order.video.mostWaitingBytes, .sound = order.audio.mostWaitingBytes}};
    connection_ = std::make_unique<pipewire::CaptureConnection>(
        std::move(devices), pipewire::CaptureConnection::Handlers{
                                .picture =
                                    [this](media::CapturedPicture picture) {
                                        if (const auto current = recording()) {
                                            current->addPicture(std::move(picture));
                                        }
                                    },
                                .sound =
                                    [this](media::CapturedSound sound) {
                                        if (const auto current = recording()) {
                                            current->addSound(std::move(sound));
                                        }
                                    },
                                .agreed =
                                    [this](const pipewire::AgreedPictures& agreed) {
                                        tell_(CameraAgreed{
                                            .format = agreed.name,
                                            .width = agreed.format.width,
                                            .height = agreed.format.height,
                                            .frameRate = agreed.rate.aSecond()});
                                    },
                                .failed =
                                    [this](PlatformError error) {
                                        tell_(CaptureFailed{.error = std::move(error)});
                                    }});
    auto started = connection_->start();
    tell_(Opened{.error = started ? std::nullopt : std::optional{std::move(started.error())}});
}

void RecordingWork::begin(const BeginMovie& order, FileDescriptor file) {
    finish();
    auto recording = std::make_shared<media::MovieRecording>(
        OutputFile{std::move(file)},
        media::MovieRecording::Settings{
            .video = order.video,
            .audio = order.audio,
            .fragmentInterval = order.fragmentInterval,
            .videoEncoder = order.encoder},
        [this](std::optional<PlatformError> error) {
            MovieFinished report{.error = std::move(error), .recorded = recordedDuration()};
            if (const auto current = this->recording()) {
                report.isEmpty = current->isEmpty();
            }
            {
                const std::lock_guard lock{mutex_};
                report.error = report.error ? report.error : why_;
            }
            tell_(report);
        });
    const std::lock_guard lock{mutex_};
    recording_ = std::move(recording);
}

void RecordingWork::releaseCamera() {
    if (connection_) {
        connection_->releaseCamera();
    }
}

void RecordingWork::retakeCamera() {
    if (connection_) {
        connection_->retakeCamera();
    }
}

void RecordingWork::finish(std::optional<PlatformError> why) {
    const std::shared_ptr<media::MovieRecording> ending = recording();
    if (!ending) {
        return;
    }
    {
        const std::lock_guard lock{mutex_};
        why_ = std::move(why);
    }
    if (ending->isActive() && connection_) {
        connection_->settle();
    }
    ending->finish();
    if (const std::int64_t dropped = ending->droppedPictures(); dropped > 0) {
        tell_(PicturesDropped{.count = dropped});
    }
    const std::lock_guard lock{mutex_};
    recording_.reset();
}

void RecordingWork::close() {
    finish();
    connection_.reset();
}

Seconds RecordingWork::recordedDuration() const {
    const auto current = recording();
    return current ? current->recordedDuration() : Seconds{0};
}

std::shared_ptr<media::MovieRecording> RecordingWork::recording() const {
    const std::lock_guard lock{mutex_};
    return recording_;
}

} // namespace brindle::capture
