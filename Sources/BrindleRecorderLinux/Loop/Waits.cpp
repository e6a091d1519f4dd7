#include "BrindleRecorderLinux/Loop/Waits.hpp"

#include "BrindleRecorderLinux/Time/BootClock.hpp"

#include <algorithm>
#include <ctime>
#include <system_error>

namespace brindle {

namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

/// Of the kernel's timer, in microseconds. Zero would stand for a quarter of a second.
constexpr std::uint64_t exactly = 1;

nanoseconds deadlineAfter(nanoseconds delay) {
    const nanoseconds now = timeSinceBoot();
    return now + std::clamp(delay, nanoseconds::zero(), nanoseconds::max() - now);
}

} // namespace

/// Removes its wait when it goes.
class Waits::Entry final : public MainLoop::Timer {
  public:
    Entry(std::weak_ptr<Waiting> waiting, Key key) : waiting_{std::move(waiting)}, key_{key} {}
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
    std::weak_ptr<Waiting> waiting_;
    Key key_;
};

Waits::Waits(sd_event* events) {
    sd_event_source* source = nullptr;
    const int added = sd_event_add_time(
        events, &source, CLOCK_BOOTTIME, 0, exactly,
        [](sd_event_source*, std::uint64_t, void* self) {
            static_cast<Waits*>(self)->runDue();
            return 0;
        },
        this);
    if (added < 0) {
        throw std::system_error{-added, std::generic_category(), "event loop: timer"};
    }
    source_.reset(source);
    arm();
}

std::unique_ptr<MainLoop::Timer> Waits::after(nanoseconds delay, MainLoop::Work work) {
    const Key key{deadlineAfter(delay), nextOrder_++};
    waiting_->emplace(key, std::move(work));
    arm();
    return std::make_unique<Entry>(waiting_, key);
}

void Waits::runDue() {
    // What the work asks for waits for the next turn, however short its delay.
    const Key lastDue{timeSinceBoot(), nextOrder_};
    // Looked up anew each time: the work may add and remove waits.
    while (!waiting_->empty() && waiting_->begin()->first < lastDue &&
           waiting_->begin()->first.second < lastDue.second) {
        const auto due = waiting_->extract(waiting_->begin());
        due.mapped()();
    }
    arm();
}

void Waits::arm() const {
    if (waiting_->empty()) {
        sd_event_source_set_enabled(source_.get(), SD_EVENT_OFF);
        return;
    }
    const auto at = std::chrono::ceil<microseconds>(waiting_->begin()->first.first);
    sd_event_source_set_time(source_.get(), static_cast<std::uint64_t>(at.count()));
    sd_event_source_set_enabled(source_.get(), SD_EVENT_ONESHOT);
}

} // namespace brindle
