// Capture sessions on PipeWire: connect devices with a movie file.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderLinux/Media/MovieRecording.hpp"
#include "BrindleRecorderLinux/PipeWire/CaptureConnection.hpp"

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace brindle {

namespace media {
class MediaEngine;
class MediaEngineModule;
} // namespace media

/// A camera or microphone of PipeWire. What is set here is asked for when a session opens it.
class PipeWireCaptureDevice final : public CaptureDevice {
  public:
    PipeWireCaptureDevice(CaptureDeviceInfo info, MediaType mediaType)
        : info_{std::move(info)}, mediaType_{mediaType} {}

    [[nodiscard]] const CaptureDeviceInfo& info() const override { return info_; }
    [[nodiscard]] MediaType mediaType() const override { return mediaType_; }
    /// Always had: settings are per connection and disturb nobody else.
    bool lockForConfiguration() override { return true; }
    void unlockForConfiguration() override {}
    /// None: a device has no current format before it is opened. A session then asks the camera
    /// for a format of the wanted rate by itself.
    [[nodiscard]] std::vector<FrameRateRange> supportedFrameRateRanges() const override {
        return {};
    }
    void setFrameDuration(Seconds /*shortest*/, Seconds /*longest*/) override {}

  private:
    CaptureDeviceInfo info_;
    MediaType mediaType_;
};

class PipeWireCaptureInput final : public CaptureInput {
  public:
    explicit PipeWireCaptureInput(std::shared_ptr<CaptureDevice> device)
        : device_{std::move(device)} {}
    [[nodiscard]] const CaptureDevice& device() const { return *device_; }

  private:
    std::shared_ptr<CaptureDevice> device_;
};

class PipeWireCaptureSession;

/// Takes what its session captures and makes movies of it, one at a time.
class PipeWireMovieFileOutput final : public MovieFileOutput {
  public:
    /// Loads the media engine in the meantime. Both must outlive the output.
    PipeWireMovieFileOutput(SystemLog& log, media::MediaEngineModule& mediaEngine);
    /// Ends a recording that is still going on.
    ~PipeWireMovieFileOutput() override;
    PipeWireMovieFileOutput(const PipeWireMovieFileOutput&) = delete;
    PipeWireMovieFileOutput& operator=(const PipeWireMovieFileOutput&) = delete;

    void setMovieFragmentInterval(Seconds interval) override {
        settings_.fragmentInterval = interval;
    }
    [[nodiscard]] bool hasConnection(MediaType mediaType) const override;
    void setVideoSettings(const VideoOutputSettings& settings) override { video_ = settings; }
    void setAudioSettings(const AudioOutputSettings& settings) override { audio_ = settings; }

    /// An existing file is never written over.
    void startRecording(const std::filesystem::path& path, FinishCallback onFinish) override;
    /// Returns when the finish has been reported, within seconds whatever happens.
    void stopRecording() override;
    [[nodiscard]] bool isRecording() const override;
    [[nodiscard]] Seconds recordedDuration() const override;

    // For the session.
    void connect(std::weak_ptr<PipeWireCaptureSession> session) { session_ = std::move(session); }
    [[nodiscard]] VideoOutputSettings videoSettings() const { return video_; }
    [[nodiscard]] AudioOutputSettings audioSettings() const { return audio_; }
    void addPicture(media::CapturedPicture picture);
    void addSound(media::CapturedSound sound);

  private:
    [[nodiscard]] std::shared_ptr<media::MovieRecording> recording() const;

    SystemLog& log_;
    std::weak_ptr<PipeWireCaptureSession> session_;
    media::MovieRecording::Settings settings_;
    std::shared_future<Expected<media::MediaEngine*, PlatformError>> mediaEngine_;
    VideoOutputSettings video_;
    AudioOutputSettings audio_;
    mutable std::mutex mutex_; ///< guards `recording_`, which the devices' thread feeds
    std::shared_ptr<media::MovieRecording> recording_;
};

class PipeWireCaptureSession final : public CaptureSession,
                                     public std::enable_shared_from_this<PipeWireCaptureSession> {
  public:
    /// All of them must outlive the session.
    PipeWireCaptureSession(
        MainLoop& mainLoop, SystemLog& log, media::MediaEngineModule& mediaEngine)
        : mainLoop_{mainLoop}, log_{log}, mediaEngine_{mediaEngine} {}
    ~PipeWireCaptureSession() override;

    void beginConfiguration() override {}
    void commitConfiguration() override {}

    /// Only remembers the device; it is opened when the session runs.
    [[nodiscard]] Expected<std::shared_ptr<CaptureInput>, PlatformError>
    makeInput(const std::shared_ptr<CaptureDevice>& device) override;
    /// One camera and one microphone.
    [[nodiscard]] bool canAddInput(const std::shared_ptr<CaptureInput>& input) const override;
    void addInput(const std::shared_ptr<CaptureInput>& input) override;

    [[nodiscard]] bool canSetPreset(SessionPreset /*preset*/) const override { return true; }
    /// The output's settings say which size is wanted; the best format for it is asked for.
    void setPreset(SessionPreset /*preset*/) override {}

    [[nodiscard]] std::shared_ptr<MovieFileOutput> makeMovieFileOutput() override;
    [[nodiscard]] bool canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const override;
    void addOutput(const std::shared_ptr<MovieFileOutput>& output) override;

    [[nodiscard]] std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) override;

    void startRunning() override;
    /// Ends a recording that is still going on.
    void stopRunning() override;

    // For the output.
    [[nodiscard]] bool hasInput(MediaType mediaType) const {
        return deviceName(mediaType).has_value();
    }
    /// Blocks until what the devices have delivered so far has reached the output.
    void settle();

  private:
    struct Listener;

    [[nodiscard]] std::optional<std::string> deviceName(MediaType mediaType) const;
    void report(PlatformError error);

    MainLoop& mainLoop_;
    SystemLog& log_;
    media::MediaEngineModule& mediaEngine_;
    std::vector<std::shared_ptr<PipeWireCaptureInput>> inputs_;
    std::shared_ptr<PipeWireMovieFileOutput> output_;
    /// Listeners are kept by their observations.
    std::shared_ptr<std::vector<std::weak_ptr<Listener>>> listeners_ =
        std::make_shared<std::vector<std::weak_ptr<Listener>>>();
    std::unique_ptr<pipewire::CaptureConnection> connection_; ///< of the capture-session queue
};

} // namespace brindle
