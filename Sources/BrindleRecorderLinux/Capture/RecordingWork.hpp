// The devices of one recording, and the movie that is made of what they deliver.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Capture/Record/MovieRecording.hpp"
#include "BrindleRecorderLinux/Capture/Streams/CaptureConnection.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace brindle::capture {

/// Operations block, and belong to one thread at a time; what does not says so.
class RecordingWork {
  public:
    /// `tell` takes the reports, on any thread.
    explicit RecordingWork(std::function<void(const Message&)> tell) : tell_{std::move(tell)} {}
    /// Finishes a movie that is still being made.
    ~RecordingWork();
    RecordingWork(const RecordingWork&) = delete;
    RecordingWork& operator=(const RecordingWork&) = delete;

    /// Reports `Opened` once the devices run, or with what keeps them from it.
    void open(const OpenDevices& order);
    /// Begins a movie in the new file. `MovieFinished` is reported whatever becomes of it.
    void begin(const BeginMovie& order, FileDescriptor file);
    /// Lets go of the camera, and takes it again; the movie goes on with its last picture.
    void releaseCamera();
    void retakeCamera();
    /// Returns when the movie is closed, within seconds whatever happens. `why` is reported where
    /// nothing else has ended the movie: what nobody asked for must not look as if somebody had.
    void finish(std::optional<PlatformError> why = std::nullopt);
    /// Lets go of the devices; a movie that is still being made is finished before.
    void close();

    /// In the movie that is being made, or else nothing. Any thread.
    [[nodiscard]] Seconds recordedDuration() const;

  private:
    [[nodiscard]] std::shared_ptr<media::MovieRecording> recording() const;

    std::function<void(const Message&)> tell_;
    std::unique_ptr<pipewire::CaptureConnection> connection_;
    mutable std::mutex mutex_; ///< guards what follows, which the devices' thread needs too
    std::shared_ptr<media::MovieRecording> recording_;
    std::optional<PlatformError> why_;
};

} // namespace brindle::capture
