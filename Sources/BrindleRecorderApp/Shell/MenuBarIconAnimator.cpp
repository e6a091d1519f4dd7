#include "BrindleRecorderApp/Shell/MenuBarIconAnimator.hpp"

#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <chrono>
#include <ratio>

namespace brindle {

namespace {

constexpr auto tickInterval = std::chrono::duration_cast<std::chrono::nanoseconds>(
    std::chrono::duration<int, std::ratio<1, 12>>{1});

} // namespace

MenuBarIconAnimator::MenuBarIconAnimator(
    MainLoop& mainLoop, const DateProvider& dateProvider, Workspace& workspace)
    : mainLoop_{mainLoop}, dateProvider_{dateProvider}, workspace_{workspace}, time_{now()},
      reduceMotion_{workspace.reducesMotion()} {
    observation_ = workspace_.observeReduceMotion([this] {
        reduceMotion_.set(workspace_.reducesMotion());
        update();
    });
}

void MenuBarIconAnimator::setWantsAnimation(bool wants) {
    wantsAnimation_ = wants;
    update();
}

void MenuBarIconAnimator::update() {
    if (!wantsAnimation_ || reduceMotion_.get()) {
        timer_.reset();
    } else if (!timer_) {
        timer_ = mainLoop_.after(tickInterval, [this] { tick(); });
    }
}

void MenuBarIconAnimator::tick() {
    // Before anybody hears of it, because whoever does may stop the animation.
    timer_ = mainLoop_.after(tickInterval, [this] { tick(); });
    time_.set(now());
}

double MenuBarIconAnimator::now() const {
    return secondsBetween(Date{}, dateProvider_.now()).count();
}

} // namespace brindle
