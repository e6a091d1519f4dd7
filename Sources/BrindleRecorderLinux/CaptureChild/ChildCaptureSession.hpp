// Capture sessions whose devices are opened, and whose movies are made, by a program of their own.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureChild/RecordingChild.hpp"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A camera or microphone. What is set here is asked for when a session opens it.
class ChildCaptureDevice final : public CaptureDevice {
  public:
    ChildCaptureDevice(CaptureDeviceInfo info, MediaType mediaType)
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

class ChildCaptureInput final : public CaptureInput {
  public:
    explicit ChildCaptureInput(std::shared_ptr<CaptureDevice> device)
        : device_{std::move(device)} {}
    [[nodiscard]] const CaptureDevice& device() const { return *device_; }

  private:
    std::shared_ptr<CaptureDevice> device_;
};

class ChildCaptureSession;

/// Has its session's child make movies, one at a time.
class ChildMovieFileOutput final : public MovieFileOutput {
  public:
    ChildMovieFileOutput() = default;
    /// Ends a recording that is still going on.
    ~ChildMovieFileOutput() override;
    ChildMovieFileOutput(const ChildMovieFileOutput&) = delete;
    ChildMovieFileOutput& operator=(const ChildMovieFileOutput&) = delete;

    void setMovieFragmentInterval(Seconds interval) override { fragmentInterval_ = interval; }
    [[nodiscard]] bool hasConnection(MediaType mediaType) const override;
    void setVideoSettings(const VideoOutputSettings& settings) override { video_ = settings; }
    void setAudioSettings(const AudioOutputSettings& settings) override { audio_ = settings; }

    /// An existing file is never written over.
    void startRecording(const std::filesystem::path& path, FinishCallback onFinish) override;
    /// Returns when the finish has been reported, within seconds whatever happens.
    void stopRecording() override;
    [[nodiscard]] bool isRecording() const override;
    /// Told twice a second.
    [[nodiscard]] Seconds recordedDuration() const override;

    // For the session.
    void connect(std::weak_ptr<ChildCaptureSession> session) { session_ = std::move(session); }
    [[nodiscard]] VideoOutputSettings videoSettings() const { return video_; }
    [[nodiscard]] AudioOutputSettings audioSettings() const { return audio_; }

  private:
    [[nodiscard]] std::shared_ptr<capture::RecordingChild> child() const;

    std::weak_ptr<ChildCaptureSession> session_;
    Seconds fragmentInterval_{5};
    VideoOutputSettings video_;
    AudioOutputSettings audio_;
    mutable std::mutex mutex_; ///< guards `child_`, which any thread asks
    std::shared_ptr<capture::RecordingChild> child_;
};

class ChildCaptureSession final : public CaptureSession,
                                  public std::enable_shared_from_this<ChildCaptureSession> {
  public:
    /// All of them must outlive the session.
    ChildCaptureSession(MainLoop& mainLoop, SystemLog& log, capture::CaptureChildren& children)
        : mainLoop_{mainLoop}, log_{log}, children_{children} {}
    ~ChildCaptureSession() override;

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
    /// None where there is no capture program.
    [[nodiscard]] bool canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const override;
    void addOutput(const std::shared_ptr<MovieFileOutput>& output) override;

    [[nodiscard]] std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) override;

    void startRunning() override;
    void releaseCamera() override;
    void retakeCamera() override;
    /// Ends a recording that is still going on.
    void stopRunning() override;

    // For the output.
    [[nodiscard]] bool hasInput(MediaType mediaType) const {
        return deviceName(mediaType).has_value();
    }
    [[nodiscard]] std::optional<std::string> encoder() const { return children_.encoder(); }
    /// What is recorded is about to be closed.
    void expectConversion() { children_.expectConversion(); }
    /// While the session runs. Capture-session queue.
    [[nodiscard]] std::shared_ptr<capture::RecordingChild> child() const { return child_; }

  private:
    struct Reports;

    [[nodiscard]] std::optional<std::string> deviceName(MediaType mediaType) const;
    [[nodiscard]] std::shared_ptr<Reports> reports();

    MainLoop& mainLoop_;
    SystemLog& log_;
    capture::CaptureChildren& children_;
    std::vector<std::shared_ptr<ChildCaptureInput>> inputs_;
    std::shared_ptr<ChildMovieFileOutput> output_;
    Listeners<std::optional<PlatformError>> listeners_;
    std::shared_ptr<capture::RecordingChild> child_; ///< of the capture-session queue
};

} // namespace brindle
