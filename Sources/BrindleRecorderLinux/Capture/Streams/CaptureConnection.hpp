// A connection to PipeWire's server that captures one camera, one microphone or both.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Streams/CameraFormats.hpp"
#include "BrindleRecorderLinux/Capture/Streams/WaitingMedia.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle::pipewire {

/// Has a thread of its own, so that neither the main thread nor a busy encoder holds up the
/// devices.
///
/// Only the chosen devices are ever heard and seen: nothing is handed on before the server has
/// confirmed that no other connection to our streams had been made by the time it arrived. A
/// connection to anything else ends the capture.
class CaptureConnection {
  public:
    struct Devices {
        std::optional<std::string> camera;     ///< `node.name`
        std::optional<std::string> microphone; ///< `node.name`
        WantedPictures pictures;
        int sampleRate = 0; ///< hertz
        int channels = 0;
        WaitingMedia::Room waitingRoom;
    };
    /// Called on the connection's thread; they must not call back.
    struct Handlers {
        std::function<void(media::CapturedPicture)> picture;
        std::function<void(media::CapturedSound)> sound;
        /// What the camera is going to deliver, whenever that is agreed anew.
        std::function<void(const AgreedPictures&)> agreed;
        /// At most once: the capture is over.
        std::function<void(PlatformError)> failed;
    };

    CaptureConnection(Devices devices, Handlers handlers);
    /// Releases the devices; no handler is called afterwards.
    ~CaptureConnection();
    CaptureConnection(const CaptureConnection&) = delete;
    CaptureConnection& operator=(const CaptureConnection&) = delete;

    /// Blocks until the microphone runs, or where there is none the camera, or for some seconds: a
    /// device that delivers nothing is no error of the start. Once.
    Expected<void, PlatformError> start();

    /// Lets go of the camera at once, so that another program can open it; sound goes on. Nothing
    /// where there is none.
    void releaseCamera();
    /// Takes it again. Blocks as the start does; what goes wrong is a failure.
    void retakeCamera();

    /// Blocks until what arrived before has been handed on, for half a second at most.
    void settle();

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle::pipewire
