// A stream that takes what one camera or microphone delivers.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Media/PresentationClock.hpp"
#include "BrindleRecorderLinux/Capture/Streams/CameraFormats.hpp"
#include "BrindleRecorderLinux/Capture/Streams/LostSound.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <pipewire/stream.h>

namespace brindle::pipewire {

using StreamHandle = std::unique_ptr<pw_stream, Releaser<pw_stream_destroy>>;

/// Belongs to the loop of its core. Asks for its device alone and for no other when that goes.
class CaptureStream {
  public:
    struct Device {
        std::uint64_t serial = 0; ///< the server's, never used twice while it runs
        std::string role;         ///< "camera" or "microphone", as messages name it
    };

    CaptureStream(pw_core* core, Device device, pw_properties* properties);
    virtual ~CaptureStream() = default;
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;

    /// Called whenever the stream's state has changed.
    void onStateChanged(std::function<void(pw_stream_state)> handler) {
        stateChanged_ = std::move(handler);
    }

    /// Asks the server for the device. False when the server refuses at once.
    bool connect(std::vector<const spa_pod*> formats);
    /// Takes nothing more.
    void disconnect() { pw_stream_disconnect(stream_.get()); }

    [[nodiscard]] const Device& device() const { return device_; }
    /// The server's id of this stream; SPA_ID_INVALID while it has none.
    [[nodiscard]] std::uint32_t nodeID() const { return pw_stream_get_node_id(stream_.get()); }
    [[nodiscard]] pw_stream_state state() const {
        return pw_stream_get_state(stream_.get(), nullptr);
    }

  protected:
    /// The stream has agreed on a format, or has none any more (nullptr).
    virtual void formatChanged(const spa_pod* format) = 0;
    /// Takes what has arrived, the oldest first. `isLast` tells that no more is waiting.
    virtual void take(const spa_buffer& buffer, bool isLast) = 0;
    /// All that was waiting has been taken.
    virtual void batchTaken() {}

    [[nodiscard]] pw_stream* stream() const { return stream_.get(); }

  private:
    static const pw_stream_events events;
    void acceptBuffers();
    void takeWaiting();

    Device device_;
    std::function<void(pw_stream_state)> stateChanged_;
    StreamHandle stream_;
    Hook listener_;
};

class CameraStream final : public CaptureStream {
  public:
    using Handler = std::function<void(media::CapturedPicture)>;
    /// Told of every format that the camera and the stream agree on.
    using Agreed = std::function<void(const AgreedPictures&)>;
    CameraStream(pw_core* core, std::uint64_t serial, Handler handler, Agreed agreed);

  private:
    void formatChanged(const spa_pod* format) override;
    void take(const spa_buffer& buffer, bool isLast) override;

    Handler handler_;
    Agreed agreed_;
    std::optional<media::PictureFormat> format_;
    media::PresentationClock clock_;
};

class MicrophoneStream final : public CaptureStream {
  public:
    using Handler = std::function<void(media::CapturedSound)>;
    MicrophoneStream(pw_core* core, std::uint64_t serial, Handler handler);

  private:
    void formatChanged(const spa_pod* format) override;
    void take(const spa_buffer& buffer, bool isLast) override;
    void batchTaken() override;

    Handler handler_;
    std::optional<media::SoundFormat> format_;
    std::vector<media::CapturedSound> batch_;
    LostSound lost_;
};

} // namespace brindle::pipewire
