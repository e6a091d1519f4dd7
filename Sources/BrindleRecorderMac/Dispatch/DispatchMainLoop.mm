#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"

#include "BrindleRecorderMac/Dispatch/ContinuousClock.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cstdint>
#include <dispatch/dispatch.h>
#include <utility>

namespace brindle {

namespace {

using Work = MainLoop::Work;
using std::chrono::nanoseconds;

void runPosted(void* context) {
    const std::unique_ptr<Work> work{static_cast<Work*>(context)};
    @autoreleasepool {
        (*work)();
    }
}

/// What is to be done when a moment has come, unless nobody wants it any more.
struct Wait {
    nanoseconds deadline; ///< on the clock that goes on in sleep
    Work work;
};

void look(void* context);

/// Each wait looks at its clock twice: the queue's plain time stands still in sleep, and the wall
/// time jumps when somebody sets it, but never does one of them fail where the other does.
void lookAgain(const std::weak_ptr<Wait>& wait, dispatch_time_t when) {
    dispatch_after_f(when, dispatch_get_main_queue(), new std::weak_ptr<Wait>{wait}, look);
}

void lookWhenDue(const std::shared_ptr<Wait>& wait) {
    const std::int64_t left =
        std::max(wait->deadline - timeSinceBoot(), nanoseconds::zero()).count();
    lookAgain(wait, dispatch_time(DISPATCH_TIME_NOW, left));
    lookAgain(wait, dispatch_walltime(nullptr, left));
}

void look(void* context) {
    const std::unique_ptr<std::weak_ptr<Wait>> weak{static_cast<std::weak_ptr<Wait>*>(context)};
    const auto wait = weak->lock();
    if (!wait || !wait->work) {
        return;
    }
    if (timeSinceBoot() < wait->deadline) {
        lookWhenDue(wait);
        return;
    }
    @autoreleasepool {
        std::exchange(wait->work, nullptr)();
    }
}

class DispatchTimer final : public MainLoop::Timer {
  public:
    explicit DispatchTimer(std::shared_ptr<Wait> wait) : wait_{std::move(wait)} {}

  private:
    std::shared_ptr<Wait> wait_;
};

} // namespace

void DispatchMainLoop::post(Work work) {
    dispatch_async_f(dispatch_get_main_queue(), new Work{std::move(work)}, runPosted);
}

std::unique_ptr<MainLoop::Timer> DispatchMainLoop::after(nanoseconds delay, Work work) {
    auto wait = std::make_shared<Wait>(Wait{timeSinceBoot() + delay, std::move(work)});
    lookWhenDue(wait);
    return std::make_unique<DispatchTimer>(std::move(wait));
}

} // namespace brindle
