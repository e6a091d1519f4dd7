#include "BrindleRecorderLinux/Capture/Streams/WaitingMedia.hpp"

#include <utility>

namespace brindle::pipewire {

WaitingMedia::WaitingMedia(Handlers handlers, Room room)
    : handlers_{std::move(handlers)}, room_{room}, queue_{
                                                       [this] { return handlers_.ask(); },
                                                       [this](Captured captured) {
                                                           handOn(std::move(captured));
                                                       }} {}

void WaitingMedia::arrived(media::CapturedPicture picture) {
    const std::size_t size = picture.bytes.size();
    if (pictureBytes_ > 0 && pictureBytes_ + size > room_.pictures) {
        picturesLeftOut_ += picture.lostBefore + 1;
        return;
    }
    pictureBytes_ += size;
    picture.lostBefore += std::exchange(picturesLeftOut_, 0);
    queue_.arrived(std::move(picture));
}

void WaitingMedia::arrived(media::CapturedSound sound) {
    const std::size_t size = sound.bytes.size();
    if (soundBytes_ > 0 && soundBytes_ + size > room_.sound) {
        soundLeftOut_ += sound.lostBefore + media::lengthOf(sound);
        return;
    }
    soundBytes_ += size;
    sound.lostBefore += std::exchange(soundLeftOut_, std::chrono::nanoseconds{0});
    queue_.arrived(std::move(sound));
}

void WaitingMedia::clear() {
    queue_.clear();
    pictureBytes_ = 0;
    soundBytes_ = 0;
}

void WaitingMedia::handOn(Captured captured) {
    if (auto* picture = std::get_if<media::CapturedPicture>(&captured)) {
        pictureBytes_ -= picture->bytes.size();
        handlers_.picture(std::move(*picture));
    } else if (auto* sound = std::get_if<media::CapturedSound>(&captured)) {
        soundBytes_ -= sound->bytes.size();
        handlers_.sound(std::move(*sound));
    }
}

} // namespace brindle::pipewire
