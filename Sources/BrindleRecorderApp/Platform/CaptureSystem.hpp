// The seam to cameras, microphones and the media library that records them into a movie file.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle {

enum class MediaType { video, audio };

enum class AuthorizationStatus { notDetermined, restricted, denied, authorized };

/// Frames per second that a camera offers, both ends included.
struct FrameRateRange {
    double minFrameRate = 0;
    double maxFrameRate = 0;
    friend bool operator==(const FrameRateRange&, const FrameRateRange&) = default;
};

/// One camera or microphone that can be opened. Main thread only.
class CaptureDevice {
  public:
    virtual ~CaptureDevice() = default;

    [[nodiscard]] virtual const CaptureDeviceInfo& info() const = 0;
    [[nodiscard]] virtual MediaType mediaType() const = 0;

    /// Takes the right to change the device's settings; false when it cannot be had.
    virtual bool lockForConfiguration() = 0;
    virtual void unlockForConfiguration() = 0;
    /// The frame rates of the device's current format, in the device's order.
    [[nodiscard]] virtual std::vector<FrameRateRange> supportedFrameRateRanges() const = 0;
    /// Fixes the shortest and the longest time from one frame to the next. Only while locked.
    virtual void setFrameDuration(Seconds shortest, Seconds longest) = 0;
};

/// A device opened for a session.
class CaptureInput {
  public:
    virtual ~CaptureInput() = default;
};

enum class SessionPreset {
    hd1920x1080, ///< pictures of 1920 by 1080
    high         ///< the best that the devices offer
};

struct VideoOutputSettings {
    int width = 0;                   ///< pixels
    int height = 0;                  ///< pixels
    std::int64_t averageBitRate = 0; ///< bits per second
    int expectedSourceFrameRate = 0; ///< frames per second
    int maxKeyFrameInterval = 0;     ///< frames
    /// So long the movie waits for its first picture before it begins with sound, and black. Where
    /// the system has no such choice it may wait for ever.
    Seconds firstPictureWithin{0};
    /// Of pictures that were captured and have not been taken up yet; more are left out. One that
    /// is larger by itself waits alone.
    std::size_t mostWaitingBytes = 0;
    friend bool operator==(const VideoOutputSettings&, const VideoOutputSettings&) = default;
};

struct AudioOutputSettings {
    int numberOfChannels = 0;
    int sampleRate = 0;       ///< hertz
    std::int64_t bitRate = 0; ///< bits per second
    /// Of sound that was captured and has not been taken up yet; more is left out.
    std::size_t mostWaitingBytes = 0;
    friend bool operator==(const AudioOutputSettings&, const AudioOutputSettings&) = default;
};

/// Writes what a session captures into a QuickTime movie: H.264 pictures, AAC sound, in fragments
/// that stay readable whatever happens after them. Configured on the main thread; the operations
/// that start and stop block and belong to the capture-session queue.
class MovieFileOutput {
  public:
    /// Called once per started recording, on any thread and perhaps within its start, when the file
    /// is closed: with the error that ended it, or nothing. A file without samples is gone by then.
    using FinishCallback =
        std::function<void(const std::filesystem::path& path, std::optional<PlatformError> error)>;

    virtual ~MovieFileOutput() = default;

    /// The longest time that one fragment covers.
    virtual void setMovieFragmentInterval(Seconds interval) = 0;
    /// Whether the session feeds this output with that media type.
    [[nodiscard]] virtual bool hasConnection(MediaType mediaType) const = 0;
    /// Each must be given where there is a connection of its kind, before the session runs.
    virtual void setVideoSettings(const VideoOutputSettings& settings) = 0;
    virtual void setAudioSettings(const AudioOutputSettings& settings) = 0;

    /// Begins to write a new file. Failures come through `onFinish`. Capture-session queue.
    virtual void startRecording(const std::filesystem::path& path, FinishCallback onFinish) = 0;
    /// Asks for the file to be closed; `onFinish` tells when it is. Whoever stops a recording waits
    /// for that without a limit, so it must come in bounded time, whatever the devices do. Nothing
    /// happens when no file is being written. Capture-session queue.
    virtual void stopRecording() = 0;
    /// Whether a file is being written: from the start of a recording until the file is closed,
    /// which is before `onFinish` is called. Any thread.
    [[nodiscard]] virtual bool isRecording() const = 0;
    /// How much has been recorded into the file so far; nothing while a camera that is connected
    /// has not delivered a picture, although sound may be in the file already. Any thread.
    [[nodiscard]] virtual Seconds recordedDuration() const = 0;
};

/// Connects devices with an output. Configured on the main thread.
class CaptureSession {
  public:
    /// Called on the main thread with what went wrong, or nothing when nobody knows.
    using RuntimeErrorListener = std::function<void(std::optional<PlatformError>)>;

    virtual ~CaptureSession() = default;

    virtual void beginConfiguration() = 0;
    virtual void commitConfiguration() = 0;

    /// Opens the device, now or when the session runs; a failure then is a runtime error.
    [[nodiscard]] virtual Expected<std::shared_ptr<CaptureInput>, PlatformError>
    makeInput(const std::shared_ptr<CaptureDevice>& device) = 0;
    [[nodiscard]] virtual bool canAddInput(const std::shared_ptr<CaptureInput>& input) const = 0;
    virtual void addInput(const std::shared_ptr<CaptureInput>& input) = 0;

    [[nodiscard]] virtual bool canSetPreset(SessionPreset preset) const = 0;
    virtual void setPreset(SessionPreset preset) = 0;

    [[nodiscard]] virtual std::shared_ptr<MovieFileOutput> makeMovieFileOutput() = 0;
    [[nodiscard]] virtual bool
    canAddOutput(const std::shared_ptr<MovieFileOutput>& output) const = 0;
    virtual void addOutput(const std::shared_ptr<MovieFileOutput>& output) = 0;

    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeRuntimeErrors(RuntimeErrorListener listener) = 0;

    /// Blocks until sound runs, or where there is none pictures. Capture-session queue.
    virtual void startRunning() = 0;
    /// Lets go of the camera while everything else goes on, and takes it again. The last picture
    /// stands meanwhile. A camera that cannot be had again is a runtime error. Capture-session
    /// queue.
    virtual void releaseCamera() = 0;
    virtual void retakeCamera() = 0;
    /// Blocks until the devices are released. Capture-session queue.
    virtual void stopRunning() = 0;
};

/// Somebody else who uses a camera.
struct CameraHolder {
    std::optional<std::int32_t> pid; ///< absent where it cannot be known
    friend bool operator==(const CameraHolder&, const CameraHolder&) = default;
};

/// Main thread only.
class CaptureSystem {
  public:
    virtual ~CaptureSystem() = default;

    /// The devices of that kind, in the system's order.
    [[nodiscard]] virtual std::vector<CaptureDeviceInfo> discover(MediaType mediaType) const = 0;
    /// The camera that the user or the system prefers.
    [[nodiscard]] virtual std::optional<CaptureDeviceInfo> systemPreferredCamera() const = 0;
    /// The camera that is taken when nobody prefers one.
    [[nodiscard]] virtual std::optional<CaptureDeviceInfo> defaultCamera() const = 0;
    /// Calls the listener on the main thread whenever a device was connected or disconnected.
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeDevices(std::function<void()> listener) = 0;

    /// Who else uses that camera, so that it would deliver nothing to us. Nothing where it can be
    /// opened or shared, and where that cannot be known.
    [[nodiscard]] virtual std::optional<CameraHolder>
    holderOf(const std::string& cameraID) const = 0;
    /// The processes that have that camera open, be it only to see what it can do; without our own
    /// and those that share cameras.
    [[nodiscard]] virtual std::set<std::int32_t> openersOf(const std::string& cameraID) const = 0;
    /// Calls the listener on the main thread whenever somebody else may have opened or closed a
    /// camera. Nothing where that cannot be known.
    [[nodiscard]] virtual std::unique_ptr<Observation>
    observeCameraUse(std::function<void()> listener) = 0;

    /// The device with that identifier, if it is there now.
    [[nodiscard]] virtual std::shared_ptr<CaptureDevice> device(const std::string& uniqueID) = 0;
    [[nodiscard]] virtual std::shared_ptr<CaptureSession> makeSession() = 0;
    /// A recording has become likely, or is so no longer: whatever lets the next session run sooner
    /// is got ready, or given up. Opens no device.
    virtual void expectRecording(bool isExpected) = 0;

    [[nodiscard]] virtual AuthorizationStatus authorizationStatus(MediaType mediaType) const = 0;
    /// Asks the user for access; answers once, on the main thread, from within or later.
    virtual void requestAccess(MediaType mediaType, std::function<void(bool granted)> answer) = 0;
};

} // namespace brindle
