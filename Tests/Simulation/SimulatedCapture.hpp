// Cameras, microphones and a media library that write movies of fragments, and come to grief in
// every way that the seam allows.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"
#include "Simulation/Scene.hpp"
#include "Simulation/SimulatedDisk.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle::simulation {

/// How a capture goes on, once it has begun.
enum class Fate {
    fine,
    startFails,         ///< no file is made
    noFrames,           ///< the camera delivers nothing
    stalls,             ///< after a while nothing is written any more
    runtimeError,       ///< after a while the session reports an error
    endsWithError,      ///< after a while the file is closed with an error
    endsWithoutError,   ///< after a while the file is closed
    endsThoughComplete, ///< after a while the file is closed, complete, with an error
};

/// What the capture of one run of the program last tried.
struct CaptureMemory {
    Opening opening;
    std::vector<std::string> wantedCameras; ///< since the devices were looked at last
    std::set<std::string> usedCameras;      ///< those of them that somebody else used
    std::string baseName;                   ///< of the last movie
    std::string room;                       ///< likewise
    Date at{};                              ///< when its devices were opened
    bool startFailed = false;               ///< nothing came of it
};

/// What the capture of one run of the program shares.
struct CaptureContext {
    Scene& scene;
    SimulatedDisk& disk;
    MainLoop& mainLoop;
    /// Whether the program means to record that room at the moment, and nobody has asked for an
    /// end.
    std::function<bool(const std::string& room)> programRecords;
    /// Whether the session records, which is also so on the way into sleep.
    std::function<bool()> sessionRecords;
    /// The room that it records, or nothing.
    std::function<std::string()> sessionRoom;
    /// The sidecar of that base name, where one can be read.
    std::function<std::optional<Sidecar>(const std::string&)> sidecarOf;
    CaptureMemory memory = {};
};

class SimulatedSession;

/// Writes one movie. Called on the session queue and by time itself, never re-entrantly.
class SimulatedOutput final : public MovieFileOutput,
                              public std::enable_shared_from_this<SimulatedOutput> {
  public:
    SimulatedOutput(
        std::shared_ptr<CaptureContext> context, std::weak_ptr<SimulatedSession> session)
        : context_{std::move(context)}, session_{std::move(session)} {}
    ~SimulatedOutput() override;
    SimulatedOutput(const SimulatedOutput&) = delete;
    SimulatedOutput& operator=(const SimulatedOutput&) = delete;

    void setMovieFragmentInterval(Seconds interval) override { fragmentInterval_ = interval; }
    [[nodiscard]] bool hasConnection(MediaType /*mediaType*/) const override { return true; }
    void setVideoSettings(const VideoOutputSettings& /*settings*/) override {}
    void setAudioSettings(const AudioOutputSettings& /*settings*/) override {}
    void startRecording(const std::filesystem::path& path, FinishCallback onFinish) override;
    void stopRecording() override;
    [[nodiscard]] bool isRecording() const override { return recording_; }
    [[nodiscard]] Seconds recordedDuration() const override;

  private:
    void begin();
    void meetFate(Fate fate);
    void nextFragment();
    /// Writes what was captured since the last fragment; false when the disk does not take it.
    bool writeFragment(bool syncAtOnce);
    void closeFile();
    void finish(const std::optional<PlatformError>& error);
    /// A capture that nobody wants to end, and that ends all the same, must have found a camera or
    /// lost it.
    void noteChangeOfCamera();
    void noteFailure(const char* what, std::vector<std::string> words);

    [[nodiscard]] Segment& segment() const { return context_->scene.segments[segmentIndex_]; }

    std::shared_ptr<CaptureContext> context_;
    std::weak_ptr<SimulatedSession> session_;
    Seconds fragmentInterval_{0};
    std::filesystem::path path_;
    FinishCallback onFinish_;
    std::size_t segmentIndex_ = 0;
    Fate fate_ = Fate::fine;
    bool recording_ = false;
    bool stopAsked_ = false;
    bool frozen_ = false;
    Seconds captured_{0}; ///< when frozen
    Date startedAt_{};
    Seconds inFragments_{0};
};

class SimulatedSession final : public CaptureSession,
                               public std::enable_shared_from_this<SimulatedSession> {
  public:
    SimulatedSession(std::shared_ptr<CaptureContext> context, Opening opening)
        : context_{std::move(context)}, opening_{std::move(opening)} {}

    void reportRuntimeError(const std::optional<PlatformError>& error) const {
        listeners_.call(error);
    }
    /// Nobody listens any more once the program has given the capture up.
    [[nodiscard]] bool isListenedTo() const { return listeners_.count() > 0; }
    [[nodiscard]] const Opening& opening() const { return opening_; }

    void beginConfiguration() override {}
    void commitConfiguration() override {}
    [[nodiscard]] Expected<std::shared_ptr<CaptureInput>, PlatformError>
    makeInput(const std::shared_ptr<CaptureDevice>& device) override;
    [[nodiscard]] bool canAddInput(const std::shared_ptr<CaptureInput>& /*input*/) const override {
        return true;
    }
    void addInput(const std::shared_ptr<CaptureInput>& /*input*/) override {}
    [[nodiscard]] bool canSetPreset(SessionPreset /*preset*/) const override { return true; }
    void setPreset(SessionPreset /*preset*/) override {}
    [[nodiscard]] std::shared_ptr<MovieFileOutput> makeMovieFileOutput() override;
    [[nodiscard]] bool
    canAddOutput(const std::shared_ptr<MovieFileOutput>& /*output*/) const override {
        return true;
    }
    void addOutput(const std::shared_ptr<MovieFileOutput>& /*output*/) override {}
    [[nodiscard]] std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) override {
        return listeners_.add(std::move(listener));
    }
    void startRunning() override {}
    void releaseCamera() override { hasCamera_ = false; }
    void retakeCamera() override { hasCamera_ = true; }
    [[nodiscard]] bool hasCamera() const { return hasCamera_; }
    /// The movie is to be closed.
    void end() { hasCamera_ = false; }
    void stopRunning() override {}

  private:
    std::shared_ptr<CaptureContext> context_;
    Listeners<std::optional<PlatformError>> listeners_;
    Opening opening_;
    bool hasCamera_ = true; ///< it was not let go of, nor is it about to be
};

class SimulatedCaptureSystem final : public CaptureSystem {
  public:
    explicit SimulatedCaptureSystem(CaptureContext context)
        : context_{std::make_shared<CaptureContext>(std::move(context))} {}

    void fireDevicesChanged() { deviceListeners_.call(); }
    /// Somebody has opened, used or closed a camera.
    void fireCameraUse() { useListeners_.call(); }
    /// Whether the camera, if it is being recorded, has been let go of meanwhile.
    [[nodiscard]] bool hasLetGoOf(const std::string& cameraID) const;

    [[nodiscard]] std::vector<CaptureDeviceInfo> discover(MediaType mediaType) const override;
    [[nodiscard]] std::optional<CaptureDeviceInfo> systemPreferredCamera() const override {
        return std::nullopt;
    }
    [[nodiscard]] std::optional<CaptureDeviceInfo> defaultCamera() const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeDevices(std::function<void()> listener) override {
        return deviceListeners_.add(std::move(listener));
    }
    [[nodiscard]] std::optional<CameraHolder> holderOf(const std::string& cameraID) const override;
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string& cameraID) const override;
    [[nodiscard]] std::unique_ptr<Observation>
    observeCameraUse(std::function<void()> listener) override {
        return useListeners_.add(std::move(listener));
    }
    [[nodiscard]] std::shared_ptr<CaptureDevice> device(const std::string& uniqueID) override;
    [[nodiscard]] std::shared_ptr<CaptureSession> makeSession() override;
    void expectRecording(bool /*isExpected*/) override {}
    [[nodiscard]] AuthorizationStatus authorizationStatus(MediaType mediaType) const override;
    void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) override;

  private:
    [[nodiscard]] Opening openingNow() const;
    [[nodiscard]] const std::vector<CaptureDeviceInfo>& present(MediaType mediaType) const;

    std::shared_ptr<CaptureContext> context_;
    Listeners<> deviceListeners_;
    Listeners<> useListeners_;
    std::weak_ptr<SimulatedSession> session_; ///< the last one
};

} // namespace brindle::simulation
