#include "BrindleRecorderApp/Recording/CameraYield.hpp"

#include <algorithm>
#include <utility>

namespace brindle {

void CameraYield::guard(const std::string& cameraID) {
    cease();
    cameraID_ = cameraID;
    knownOpeners_ = captureSystem_.openersOf(cameraID);
    useObserver_ = captureSystem_.observeCameraUse([this] { look(); });
}

void CameraYield::cease() {
    useObserver_.reset();
    timer_.reset();
}

void CameraYield::look() {
    if (timer_) {
        return;
    }
    auto openers = captureSystem_.openersOf(cameraID_);
    const bool isNew = !std::ranges::includes(knownOpeners_, openers);
    knownOpeners_ = std::move(openers);
    if (isNew) {
        timer_ = mainLoop_.after(othersDecideWithin, [this] { decide(); });
        onRelease();
    }
}

void CameraYield::decide() {
    timer_.reset();
    if (const auto holder = captureSystem_.holderOf(cameraID_)) {
        cease();
        onLoss(*holder);
        return;
    }
    knownOpeners_ = captureSystem_.openersOf(cameraID_);
    onRetake();
}

} // namespace brindle
