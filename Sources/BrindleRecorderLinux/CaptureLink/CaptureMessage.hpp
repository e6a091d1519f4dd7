// What the recorder and the program that captures for it say to one another.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace brindle::capture {

/// Rises with every change of the messages.
inline constexpr std::int64_t protocolVersion = 6;

/// The first message of either. Nothing that comes before it is looked at.
struct Hello {
    std::int64_t protocol = protocolVersion;
    std::string version;    ///< the program's
    bool isConfined = true; ///< of the capture program: the kernel holds it to what it may touch
    friend bool operator==(const Hello&, const Hello&) = default;
};

/// Every half second by either, and by the capture program with what it has done so far.
struct Beat {
    /// In the movie, or in its next fragment; nothing while a camera's first picture is awaited.
    Seconds recorded{0};
    double converted = 0; ///< 0 to 1
    friend bool operator==(const Beat&, const Beat&) = default;
};

// What the recorder asks for. The end of the conversation asks for everything to be brought to a
// good end.

/// Either device may be absent, not both. Answered by `Opened`.
struct OpenDevices {
    std::optional<std::string> camera;     ///< its identifier
    std::optional<std::string> microphone; ///< its identifier
    VideoOutputSettings video;             ///< what the camera is asked for
    AudioOutputSettings audio;             ///< what the microphone is asked for
    friend bool operator==(const OpenDevices&, const OpenDevices&) = default;
};

/// Begins a movie in the new file that comes along. Answered by `MovieFinished`, whenever that is.
struct BeginMovie {
    std::optional<VideoOutputSettings> video; ///< absent: no picture track
    std::optional<AudioOutputSettings> audio; ///< absent: no sound track
    Seconds fragmentInterval{5};              ///< more than zero
    /// FFmpeg's name of what compresses the pictures; absent: what it prefers.
    std::optional<std::string> encoder = std::nullopt;
    friend bool operator==(const BeginMovie&, const BeginMovie&) = default;
};

/// Lets go of the camera; the movie that is being made goes on with its last picture.
struct ReleaseCamera {
    friend bool operator==(const ReleaseCamera&, const ReleaseCamera&) = default;
};

/// Takes it again.
struct RetakeCamera {
    friend bool operator==(const RetakeCamera&, const RetakeCamera&) = default;
};

struct FinishMovie {
    friend bool operator==(const FinishMovie&, const FinishMovie&) = default;
};

/// Makes an MP4 file of the recording that comes along, where it stands, if it can be made one.
/// Comes open for reading and writing, with nobody else writing it. Answered by `Completed`.
struct Complete {
    bool isAsWritten = false; ///< nothing can have happened to its samples
    friend bool operator==(const Complete&, const Complete&) = default;
};

/// Copies the readable samples of the first file that comes along into the second, which is new and
/// empty, as an MP4. Answered by `Converted`.
struct Convert {
    friend bool operator==(const Convert&, const Convert&) = default;
};

/// Finds out how long the readable part of the file plays that comes along. Answered by `Measured`.
struct Measure {
    friend bool operator==(const Measure&, const Measure&) = default;
};

/// Has that encoder compress one picture. Answered by `EncoderTried`.
struct TryEncoder {
    std::string encoder; ///< as FFmpeg calls it
    VideoOutputSettings video;
    friend bool operator==(const TryEncoder&, const TryEncoder&) = default;
};

/// Ends a conversion or a measurement soon; its answer comes all the same.
struct Cancel {
    friend bool operator==(const Cancel&, const Cancel&) = default;
};

// What the capture program answers and reports.

struct Opened {
    std::optional<PlatformError> error;
    friend bool operator==(const Opened&, const Opened&) = default;
};

/// What the camera is going to deliver, whenever that is agreed anew.
struct CameraAgreed {
    std::string format; ///< as the server names it
    int width = 0;
    int height = 0;
    double frameRate = 0; ///< pictures a second; 0 where the camera decides
    friend bool operator==(const CameraAgreed&, const CameraAgreed&) = default;
};

/// The devices deliver no more, while they should.
struct CaptureFailed {
    PlatformError error;
    friend bool operator==(const CaptureFailed&, const CaptureFailed&) = default;
};

/// The file is closed: with the error that ended it, or nothing.
struct MovieFinished {
    std::optional<PlatformError> error;
    Seconds recorded{0};
    bool isEmpty = false; ///< it holds no sample: nothing is lost with it
    friend bool operator==(const MovieFinished&, const MovieFinished&) = default;
};

/// After a movie of which pictures had to be left out because the machine did not keep up.
struct PicturesDropped {
    std::int64_t count = 0;
    friend bool operator==(const PicturesDropped&, const PicturesDropped&) = default;
};

struct Completed {
    std::optional<std::string> why; ///< it stays as it was; absent when it is an MP4 file now
    friend bool operator==(const Completed&, const Completed&) = default;
};

struct Converted {
    std::optional<PlatformError> error;
    std::int64_t damagedBytes = 0; ///< left out although readable samples come after them
    friend bool operator==(const Converted&, const Converted&) = default;
};

struct Measured {
    std::optional<Seconds> duration; ///< absent when no sample can be read
    friend bool operator==(const Measured&, const Measured&) = default;
};

struct EncoderTried {
    std::optional<PlatformError> error; ///< absent where it has made a picture of a movie
    friend bool operator==(const EncoderTried&, const EncoderTried&) = default;
};

using Message = std::variant<
    Hello, Beat, OpenDevices, BeginMovie, ReleaseCamera, RetakeCamera, FinishMovie, Complete,
    Convert, Measure, TryEncoder, Cancel, Opened, CameraAgreed, CaptureFailed, MovieFinished,
    PicturesDropped, Completed, Converted, Measured, EncoderTried>;

/// Never longer than `MessageSocket::longestMessage`: texts that are too long are cut.
std::string encode(const Message& message);

/// Fails, in words, with what is no message of ours. Whatever comes is looked at with care: it may
/// come from a program that has been taken over.
Expected<Message, std::string> decode(std::string_view bytes);

} // namespace brindle::capture
