// Cameras, microphones and a media library that do what a test tells them, and note what they were
// asked to do.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "Support/CallJournal.hpp"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle::test {

/// What goes wrong, and how outputs behave. Shared by everything that one system makes; what is
/// changed counts for every later call.
struct CaptureScript {
    std::set<std::string> pulled;         ///< devices that are listed and found no more
    std::set<std::string> refuseLock;     ///< devices that cannot be locked
    std::set<std::string> refuseOpen;     ///< devices that cannot be opened
    std::set<std::string> refuseAddInput; ///< devices that no session takes
    std::set<SessionPreset> refusePreset;
    bool refuseAddOutput = false;
    std::set<MediaType> withoutConnection;

    /// Closes the file, and reports it, within `stopRecording`; otherwise the test calls `finish`.
    bool finishWhenStopped = true;
    /// What such a finish reports.
    std::optional<PlatformError> finishError = {};
    /// Fails every start of a recording at once with this.
    std::optional<PlatformError> startError = {};
    /// Lets the recorded duration follow this clock; without it, it is set by hand.
    const DateProvider* clock = nullptr;
    /// Called when a file begins to be written, and just before it is reported closed.
    std::function<void(const std::filesystem::path&)> whenFileOpens = {};
    std::function<void(const std::filesystem::path&)> whenFileCloses = {};

    CallJournal journal;
};

class ScriptedCaptureDevice final : public CaptureDevice {
  public:
    ScriptedCaptureDevice(
        std::shared_ptr<CaptureScript> script, CaptureDeviceInfo info, MediaType mediaType,
        std::vector<FrameRateRange> frameRates);

    [[nodiscard]] const CaptureDeviceInfo& info() const override { return info_; }
    [[nodiscard]] MediaType mediaType() const override { return mediaType_; }
    bool lockForConfiguration() override;
    void unlockForConfiguration() override;
    [[nodiscard]] std::vector<FrameRateRange> supportedFrameRateRanges() const override {
        return frameRates_;
    }
    void setFrameDuration(Seconds shortest, Seconds longest) override;

  private:
    std::shared_ptr<CaptureScript> script_;
    CaptureDeviceInfo info_;
    MediaType mediaType_;
    std::vector<FrameRateRange> frameRates_;
};

/// The operations that a test calls may be called on any thread.
class ScriptedMovieFileOutput final : public MovieFileOutput {
  public:
    explicit ScriptedMovieFileOutput(std::shared_ptr<CaptureScript> script);

    /// Closes the file, if one is written, and reports it on the calling thread.
    void finish(const std::optional<PlatformError>& error = {});
    /// The same from a thread that is neither the test's nor the session queue's.
    void finishOnAnotherThread(const std::optional<PlatformError>& error = {});
    /// The file is closed, but nobody is told.
    void closeSilently();
    void setRecordedDuration(Seconds duration);

    /// For the session: it feeds the output with these.
    void connect(std::set<MediaType> mediaTypes) { connections_ = std::move(mediaTypes); }

    void setMovieFragmentInterval(Seconds interval) override;
    [[nodiscard]] bool hasConnection(MediaType mediaType) const override;
    void setVideoSettings(const VideoOutputSettings& settings) override;
    void setAudioSettings(const AudioOutputSettings& settings) override;
    void startRecording(const std::filesystem::path& path, FinishCallback onFinish) override;
    void stopRecording() override;
    [[nodiscard]] bool isRecording() const override;
    [[nodiscard]] Seconds recordedDuration() const override;

  private:
    std::shared_ptr<CaptureScript> script_;
    std::set<MediaType> connections_;
    mutable std::mutex mutex_;
    bool recording_ = false;
    std::filesystem::path path_;
    FinishCallback onFinish_;
    Seconds duration_{0};
    std::optional<Date> startedAt_;
};

class ScriptedCaptureSession final : public CaptureSession {
  public:
    explicit ScriptedCaptureSession(std::shared_ptr<CaptureScript> script);

    /// Reports to whoever listens, as the main loop would.
    void fireRuntimeError(const std::optional<PlatformError>& error) {
        runtimeErrorListeners_.call(error);
    }
    [[nodiscard]] std::size_t runtimeErrorListeners() const {
        return runtimeErrorListeners_.count();
    }
    [[nodiscard]] const std::shared_ptr<ScriptedMovieFileOutput>& output() const { return output_; }

    void beginConfiguration() override;
    void commitConfiguration() override;
    [[nodiscard]] Expected<std::shared_ptr<CaptureInput>, PlatformError>
    makeInput(const std::shared_ptr<CaptureDevice>& device) override;
    [[nodiscard]] bool canAddInput(const std::shared_ptr<CaptureInput>& input) const override;
    void addInput(const std::shared_ptr<CaptureInput>& input) override;
    [[nodiscard]] bool canSetPreset(SessionPreset preset) const override;
    void setPreset(SessionPreset preset) override;
    [[nodiscard]] std::shared_ptr<MovieFileOutput> makeMovieFileOutput() override;
    [[nodiscard]] bool canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const override;
    void addOutput(const std::shared_ptr<MovieFileOutput>& output) override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) override;
    void startRunning() override;
    void releaseCamera() override;
    void retakeCamera() override;
    void stopRunning() override;

  private:
    std::shared_ptr<CaptureScript> script_;
    std::set<MediaType> mediaTypes_; ///< of the inputs
    std::shared_ptr<ScriptedMovieFileOutput> output_;
    Listeners<std::optional<PlatformError>> runtimeErrorListeners_;
};

class ScriptedCaptureSystem final : public CaptureSystem {
  public:
    ScriptedCaptureSystem();

    // --- Setting the scene ---

    [[nodiscard]] CaptureScript& script() { return *script_; }
    void addCamera(
        const CaptureDeviceInfo& info,
        std::vector<FrameRateRange> frameRates = {{.minFrameRate = 5, .maxFrameRate = 30}});
    void addMicrophone(const CaptureDeviceInfo& info);
    void removeDevice(const std::string& uniqueID);
    void setSystemPreferredCamera(std::optional<CaptureDeviceInfo> camera) {
        systemPreferredCamera_ = std::move(camera);
    }
    void setDefaultCamera(std::optional<CaptureDeviceInfo> camera) {
        defaultCamera_ = std::move(camera);
    }
    /// Somebody else has the camera, or lets go of it; whoever listens is told.
    void setHolder(const std::string& cameraID, std::optional<CameraHolder> holder);
    /// These have the camera open; whoever listens is told.
    void setOpeners(const std::string& cameraID, std::set<std::int32_t> pids);
    /// Tells whoever listens that a device came or went.
    void fireDevicesChanged() { deviceListeners_.call(); }

    void setAuthorizationStatus(MediaType mediaType, AuthorizationStatus status) {
        authorization_[mediaType] = status;
    }
    /// Lets the user answer at once whenever asked; without it, questions wait for `answerAccess`.
    void answerAccessAtOnce(MediaType mediaType, bool granted) { answers_[mediaType] = granted; }
    /// Answers every waiting question about that sort of device.
    void answerAccess(MediaType mediaType, bool granted);

    // --- Looking on ---

    [[nodiscard]] std::vector<std::string> calls() const { return script_->journal.calls(); }
    [[nodiscard]] const std::vector<std::shared_ptr<ScriptedCaptureSession>>& sessions() const {
        return sessions_;
    }
    /// What was said of the next recording, in order.
    [[nodiscard]] const std::vector<bool>& expectations() const { return expectations_; }
    /// Of the session made last.
    [[nodiscard]] ScriptedCaptureSession& session() const { return *sessions_.back(); }
    [[nodiscard]] ScriptedMovieFileOutput& output() const { return *session().output(); }
    /// Lets go of the sessions, so that only the application holds them.
    void forgetSessions() { sessions_.clear(); }
    [[nodiscard]] std::size_t waitingAccessQuestions(MediaType mediaType) const;
    [[nodiscard]] std::size_t deviceListeners() const { return deviceListeners_.count(); }
    [[nodiscard]] std::size_t useListeners() const { return useListeners_.count(); }

    [[nodiscard]] std::vector<CaptureDeviceInfo> discover(MediaType mediaType) const override;
    [[nodiscard]] std::optional<CaptureDeviceInfo> systemPreferredCamera() const override {
        return systemPreferredCamera_;
    }
    [[nodiscard]] std::optional<CaptureDeviceInfo> defaultCamera() const override {
        return defaultCamera_;
    }
    [[nodiscard]] std::unique_ptr<Observation>
    observeDevices(std::function<void()> listener) override;
    [[nodiscard]] std::optional<CameraHolder> holderOf(const std::string& cameraID) const override;
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string& cameraID) const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeCameraUse(std::function<void()> listener) override;
    [[nodiscard]] std::shared_ptr<CaptureDevice> device(const std::string& uniqueID) override;
    [[nodiscard]] std::shared_ptr<CaptureSession> makeSession() override;
    void expectRecording(bool isExpected) override { expectations_.push_back(isExpected); }
    [[nodiscard]] AuthorizationStatus authorizationStatus(MediaType mediaType) const override;
    void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) override;

  private:
    void settleAccess(MediaType mediaType, bool granted);

    std::shared_ptr<CaptureScript> script_ = std::make_shared<CaptureScript>();
    std::vector<std::shared_ptr<ScriptedCaptureDevice>> devices_;
    std::optional<CaptureDeviceInfo> systemPreferredCamera_;
    std::optional<CaptureDeviceInfo> defaultCamera_;
    Listeners<> deviceListeners_;
    std::map<std::string, CameraHolder> holders_;
    std::map<std::string, std::set<std::int32_t>> openers_;
    Listeners<> useListeners_;
    std::vector<std::shared_ptr<ScriptedCaptureSession>> sessions_;
    std::vector<bool> expectations_;
    std::map<MediaType, AuthorizationStatus> authorization_;
    std::map<MediaType, bool> answers_;
    std::map<MediaType, std::vector<std::function<void(bool)>>> questions_;
};

} // namespace brindle::test
