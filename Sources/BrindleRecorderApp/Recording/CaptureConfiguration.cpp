#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"

#include <algorithm>
#include <optional>

namespace brindle {

namespace {

/// What is changed between beginning and committing a configuration takes effect together, and is
/// committed on every way out.
class ConfigurationScope {
  public:
    explicit ConfigurationScope(CaptureSession& session) : session_{session} {
        session_.beginConfiguration();
    }
    ~ConfigurationScope() { session_.commitConfiguration(); }
    ConfigurationScope(const ConfigurationScope&) = delete;
    ConfigurationScope& operator=(const ConfigurationScope&) = delete;

  private:
    CaptureSession& session_;
};

/// Pins the camera at our frame rate where it offers it, and otherwise leaves it as it is.
void configureFrameRate(CaptureDevice& camera) {
    if (!camera.lockForConfiguration()) {
        return;
    }
    constexpr double wanted = CaptureConfiguration::frameRate;
    const auto offersWanted = [](const FrameRateRange& range) {
        return range.minFrameRate <= wanted && range.maxFrameRate >= wanted;
    };
    if (std::ranges::any_of(camera.supportedFrameRateRanges(), offersWanted)) {
        constexpr Seconds frameDuration{1.0 / wanted};
        camera.setFrameDuration(frameDuration, frameDuration);
    }
    camera.unlockForConfiguration();
}

bool addInput(CaptureSession& session, const std::shared_ptr<CaptureDevice>& device) {
    const auto input = session.makeInput(device);
    if (!input || !session.canAddInput(*input)) {
        return false;
    }
    session.addInput(*input);
    return true;
}

void choosePreset(CaptureSession& session, bool hasVideo) {
    const auto wanted = hasVideo ? SessionPreset::hd1920x1080 : SessionPreset::high;
    session.setPreset(session.canSetPreset(wanted) ? wanted : SessionPreset::high);
}

std::optional<RecorderError> connectDevices(
    CaptureSession& session, const std::shared_ptr<CaptureDevice>& video,
    const std::shared_ptr<CaptureDevice>& audio) {
    if (video) {
        configureFrameRate(*video);
        if (!addInput(session, video)) {
            return RecorderError::cannotAddVideoInput();
        }
    }
    if (audio && !addInput(session, audio)) {
        return RecorderError::cannotAddAudioInput();
    }
    choosePreset(session, video != nullptr);
    return std::nullopt;
}

void applyOutputSettings(MovieFileOutput& output, bool hasVideo, bool hasAudio) {
    if (hasVideo && output.hasConnection(MediaType::video)) {
        output.setVideoSettings(CaptureConfiguration::videoSettings);
    }
    if (hasAudio && output.hasConnection(MediaType::audio)) {
        output.setAudioSettings(CaptureConfiguration::audioSettings);
    }
}

} // namespace

Expected<ConfiguredCapture, RecorderError> CaptureConfiguration::configure(
    CaptureSystem& captureSystem, const std::shared_ptr<CaptureDevice>& video,
    const std::shared_ptr<CaptureDevice>& audio) {
    ConfiguredCapture capture{.session = captureSystem.makeSession(), .output = nullptr};
    {
        const ConfigurationScope scope{*capture.session};
        if (auto error = connectDevices(*capture.session, video, audio)) {
            return unexpected(*std::move(error));
        }
        capture.output = capture.session->makeMovieFileOutput();
        capture.output->setMovieFragmentInterval(movieFragmentInterval);
        if (!capture.session->canAddOutput(capture.output)) {
            return unexpected(RecorderError::cannotAddOutput());
        }
        capture.session->addOutput(capture.output);
    }
    applyOutputSettings(*capture.output, video != nullptr, audio != nullptr);
    return capture;
}

} // namespace brindle
