// One movie in the making: takes what the devices deliver, in real time, and writes it to a file.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace brindle::media {

/// Encodes on one thread and writes on another, so that neither a busy disk nor a busy processor
/// ever holds up the devices. Operations may be called from any thread.
///
/// With a camera the recording begins with its first picture, but does not wait for it longer than
/// two seconds of sound; without one, with the first sound.
class MovieRecording {
  public:
    struct Settings {
        std::optional<VideoOutputSettings> video; ///< absent: no picture track
        std::optional<AudioOutputSettings> audio; ///< absent: no sound track
        Seconds fragmentInterval{5};              ///< more than zero
        /// FFmpeg's name of what compresses the pictures; absent: what it prefers.
        std::optional<std::string> videoEncoder = std::nullopt;
        /// How long the stop waits for the encoder, and then again for the disk.
        std::chrono::milliseconds patience{5000};
        /// The clock that the devices' moments are on.
        std::function<Moment()> now = monotonicNow;
    };
    /// Called exactly once, on any thread, when the file is closed: with the error that ended the
    /// recording, and be it its beginning, or nothing.
    using FinishCallback = std::function<void(std::optional<PlatformError> error)>;

    /// Begins to write into the new file.
    MovieRecording(capture::OutputFile file, Settings settings, FinishCallback onFinish);
    /// Ends the recording if nobody has.
    ~MovieRecording();
    MovieRecording(const MovieRecording&) = delete;
    MovieRecording& operator=(const MovieRecording&) = delete;

    /// Never blocks. When the encoder does not keep up, the oldest waiting picture is dropped.
    void addPicture(CapturedPicture picture);
    /// Never blocks.
    void addSound(CapturedSound sound);

    /// Closes the file in good order and returns when the finish has been reported, which is within
    /// about twice the settings' patience: if the media library does not answer, the file is left
    /// as it stands and the finish reports the error.
    void finish();

    /// False once the finish has been reported.
    [[nodiscard]] bool isActive() const;

    /// How much media the file or its next fragment holds; stands still when the writer does. With
    /// a camera nothing counts before its first picture.
    [[nodiscard]] Seconds recordedDuration() const;

    /// Whether the file was closed in good order with no sample in it.
    [[nodiscard]] bool isEmpty() const;

    /// How many pictures were dropped because the encoder did not keep up, or before they came
    /// here.
    [[nodiscard]] std::int64_t droppedPictures() const;

  private:
    class Job;
    std::shared_ptr<Job> job_;
    std::thread writerThread_;
    std::thread encoderThread_;
};

} // namespace brindle::media
