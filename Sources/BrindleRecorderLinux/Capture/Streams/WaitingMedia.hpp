// What devices have delivered and nobody has confirmed yet, within bounds.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Streams/ArrivalQueue.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <variant>

namespace brindle::pipewire {

/// A server that does not answer while its devices go on would fill the memory. What finds no room
/// any more is left out, and the next that does says how much is missing before it: of pictures how
/// many, of sound how long.
///
/// One thread at a time; no handler may call back.
class WaitingMedia {
  public:
    struct Handlers {
        std::function<int()> ask; ///< as `ArrivalQueue`'s
        std::function<void(media::CapturedPicture)> picture;
        std::function<void(media::CapturedSound)> sound;
    };
    /// In bytes. A picture that is larger than all of its room waits alone.
    struct Room {
        std::size_t pictures = 0;
        std::size_t sound = 0;
    };

    WaitingMedia(Handlers handlers, Room room);

    void arrived(media::CapturedPicture picture);
    void arrived(media::CapturedSound sound);
    /// The server has answered a question, ours or anybody else's.
    void answered(int question) { queue_.answered(question); }
    /// Forgets what has not been confirmed.
    void clear();

    /// Counts since the beginning, without what was left out.
    [[nodiscard]] std::uint64_t arrivals() const { return queue_.arrivals(); }
    [[nodiscard]] std::uint64_t handedOn() const { return queue_.handedOn(); }

  private:
    using Captured = std::variant<media::CapturedPicture, media::CapturedSound>;

    void handOn(Captured captured);

    Handlers handlers_;
    Room room_;
    std::size_t pictureBytes_ = 0;
    std::size_t soundBytes_ = 0;
    std::int64_t picturesLeftOut_ = 0;
    std::chrono::nanoseconds soundLeftOut_{0};
    ArrivalQueue<Captured> queue_;
};

} // namespace brindle::pipewire
