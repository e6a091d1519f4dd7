// A run of the capture program that has devices open and makes movies of what they deliver.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChild.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace brindle::capture {

/// The operations block and belong to the capture-session queue; what does not says so.
class RecordingChild {
  public:
    /// How long a movie may take to be closed: the program waits for its encoder and then for the
    /// disk, and gives each up before that.
    static constexpr std::chrono::seconds finishesWithin{15};

    /// Called on the child's thread.
    struct Handlers {
        /// The devices deliver no more, or the child has gone while no movie was being made.
        std::function<void(const PlatformError&)> failed;
        std::function<void(std::int64_t)> droppedPictures;
        std::function<void(const CameraAgreed&)> agreed;
    };

    RecordingChild(std::shared_ptr<CaptureChild> child, Handlers handlers);
    /// As `close`.
    ~RecordingChild();
    RecordingChild(const RecordingChild&) = delete;
    RecordingChild& operator=(const RecordingChild&) = delete;

    /// Returns when the devices run, or with what keeps them from it. The end of the child is a
    /// failure that is reported, and none of the start.
    std::optional<PlatformError> open(const OpenDevices& devices);
    /// As `MovieFileOutput::startRecording`. An existing file is never written over, and one that
    /// no sample came into is gone when its finish is reported.
    void begin(
        const std::filesystem::path& path, const BeginMovie& movie,
        MovieFileOutput::FinishCallback onFinish);
    /// Asks for the camera to be let go of, and to be taken again, while a movie goes on.
    void releaseCamera() { static_cast<void>(child_->send(ReleaseCamera{})); }
    void retakeCamera() { static_cast<void>(child_->send(RetakeCamera{})); }
    /// Returns when the finish of a running movie has been reported, in bounded time: a child that
    /// does not come to an end is killed, and leaves what is on the disk.
    void finish();
    /// Returns when the devices have been let go; a movie is finished before.
    void close();

    /// Any thread.
    [[nodiscard]] bool isRecording() const;
    /// Of the movie that was begun last. Any thread.
    [[nodiscard]] Seconds recordedDuration() const;

  private:
    struct State;

    std::shared_ptr<CaptureChild> child_;
    std::shared_ptr<State> state_;
};

} // namespace brindle::capture
