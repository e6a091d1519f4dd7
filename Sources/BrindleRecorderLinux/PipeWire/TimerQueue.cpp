#include "BrindleRecorderLinux/PipeWire/TimerQueue.hpp"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>
#include <system_error>

namespace brindle {

namespace {

using std::chrono::nanoseconds;
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

nanoseconds timeSinceBoot() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds{now.tv_sec} + nanoseconds{now.tv_nsec};
}

nanoseconds deadlineAfter(nanoseconds delay) {
    const nanoseconds now = timeSinceBoot();
    return now + std::clamp(delay, nanoseconds::zero(), nanoseconds::max() - now);
}

} // namespace

/// Removes its wait when it goes.
class TimerQueue::Entry final : public MainLoop::Timer {
  public:
    Entry(std::weak_ptr<std::map<Key, MainLoop::Work>> waiting, Key key)
        : waiting_{std::move(waiting)}, key_{key} {}
    ~Entry() override {
        if (const auto waiting = waiting_.lock()) {
            // The kernel's timer is left as it is: a wake-up without due work is harmless. The
            // work goes last, since its captures may own further timers.
            const auto removed = waiting->extract(key_);
        }
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

  private:
    std::weak_ptr<std::map<Key, MainLoop::Work>> waiting_;
    Key key_;
};

TimerQueue::TimerQueue()
    : descriptor_{timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC)},
      waiting_{std::make_shared<std::map<Key, MainLoop::Work>>()} {
    if (descriptor_ < 0) {
        throw std::system_error{errno, std::generic_category(), "timerfd_create"};
    }
}

TimerQueue::~TimerQueue() {
    close(descriptor_);
}

std::unique_ptr<MainLoop::Timer> TimerQueue::after(nanoseconds delay, MainLoop::Work work) {
    const Key key{deadlineAfter(delay), nextOrder_++};
    waiting_->emplace(key, std::move(work));
    arm();
    return std::make_unique<Entry>(waiting_, key);
}

void TimerQueue::runDue() {
    std::uint64_t expirations = 0;
    [[maybe_unused]] const auto ignored = read(descriptor_, &expirations, sizeof expirations);

    const Key lastDue{timeSinceBoot(), nextOrder_};
    // Looked up anew each time: the work may add and remove waits.
    while (!waiting_->empty() && waiting_->begin()->first < lastDue &&
           waiting_->begin()->first.second < lastDue.second) {
        auto due = waiting_->extract(waiting_->begin());
        due.mapped()();
    }
    arm();
}

void TimerQueue::arm() const {
    itimerspec wakeUp{};
    if (!waiting_->empty()) {
        // Zero would disarm it; the epoch of the clock is long past in any case.
        const std::int64_t at = std::max<std::int64_t>(waiting_->begin()->first.first.count(), 1);
        wakeUp.it_value.tv_sec = at / nanosecondsPerSecond;
        wakeUp.it_value.tv_nsec = at % nanosecondsPerSecond;
    }
    timerfd_settime(descriptor_, TFD_TIMER_ABSTIME, &wakeUp, nullptr);
}

} // namespace brindle
