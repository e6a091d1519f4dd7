// One movie in the making: takes what the devices deliver, in real time, and writes it to a file.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderLinux/Media/CapturedMedia.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace brindle::media {

/// Operations may be called from any thread. Whoever lets go of a recording ends it.
///
/// With a camera the recording begins with its first picture; without one, with the first sound.
class MovieRecording {
  public:
    struct Settings {
        std::optional<VideoOutputSettings> video; ///< absent: no picture track
        std::optional<AudioOutputSettings> audio; ///< absent: no sound track
        Seconds fragmentInterval{5};              ///< more than zero
        /// How long the stop waits for the encoder, and then again for the disk.
        std::chrono::milliseconds patience{5000};
        /// The clock that the devices' moments are on.
        std::function<Moment()> now = monotonicNow;
    };

    virtual ~MovieRecording() = default;

    /// Never blocks. When the encoder does not keep up, the oldest waiting picture is dropped.
    virtual void addPicture(CapturedPicture picture) = 0;
    /// Never blocks.
    virtual void addSound(CapturedSound sound) = 0;

    /// Closes the file in good order and returns when the finish has been reported, which is within
    /// about twice the settings' patience: if the media library does not answer, the file is left
    /// as it stands and the finish reports the error.
    virtual void finish() = 0;

    /// False once the finish has been reported.
    [[nodiscard]] virtual bool isActive() const = 0;

    /// How much media the file or its next fragment holds; stands still when the writer does.
    [[nodiscard]] virtual Seconds recordedDuration() const = 0;

    /// How many pictures were dropped because the encoder did not keep up, or before they came
    /// here.
    [[nodiscard]] virtual std::int64_t droppedPictures() const = 0;
};

} // namespace brindle::media
