#include "Support/ManualMainLoop.hpp"

namespace brindle::test {

class ManualMainLoop::PendingTimer final : public MainLoop::Timer {
  public:
    PendingTimer(std::weak_ptr<Timers> timers, Due due) : timers_{std::move(timers)}, due_{due} {}
    ~PendingTimer() override {
        if (const auto timers = timers_.lock()) {
            timers->erase(due_);
        }
    }
    PendingTimer(const PendingTimer&) = delete;
    PendingTimer& operator=(const PendingTimer&) = delete;

  private:
    std::weak_ptr<Timers> timers_;
    Due due_;
};

ManualMainLoop::ManualMainLoop() = default;

ManualMainLoop::ManualMainLoop(FakeDateProvider& clock) : clock_{&clock} {}

ManualMainLoop::~ManualMainLoop() = default;

void ManualMainLoop::post(Work work) {
    {
        const std::lock_guard lock{mutex_};
        posts_.push_back(std::move(work));
    }
    posted_.notify_all();
}

std::unique_ptr<MainLoop::Timer> ManualMainLoop::after(std::chrono::nanoseconds delay, Work work) {
    const Due due{now_ + delay, timersMade_++};
    timers_->emplace(due, std::move(work));
    return std::make_unique<PendingTimer>(timers_, due);
}

std::size_t ManualMainLoop::runPosted() {
    std::size_t count = 0;
    while (runOnePosted()) {
        ++count;
    }
    return count;
}

void ManualMainLoop::advanceBy(std::chrono::nanoseconds duration) {
    const auto end = now_ + duration;
    while (runNextUntil(end)) {
    }
}

bool ManualMainLoop::runNextUntil(std::chrono::nanoseconds end) {
    if (runOnePosted()) {
        return true;
    }
    if (timers_->empty() || timers_->begin()->first.first > end) {
        moveTo(end);
        return false;
    }
    const auto next = timers_->begin();
    moveTo(next->first.first);
    const auto work = std::move(next->second);
    timers_->erase(next);
    work();
    return true;
}

bool ManualMainLoop::runUntil(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        runPosted();
        if (condition()) {
            return true;
        }
        // A condition may also come true without a post, so it is asked now and then.
        constexpr std::chrono::milliseconds askAgainAfter{20};
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::unique_lock lock{mutex_};
        posted_.wait_for(lock, askAgainAfter, [this] { return !posts_.empty(); });
    }
}

std::size_t ManualMainLoop::pendingTimers() const {
    return timers_->size();
}

std::size_t ManualMainLoop::pendingPosts() const {
    const std::lock_guard lock{mutex_};
    return posts_.size();
}

bool ManualMainLoop::runOnePosted() {
    Work work;
    {
        const std::lock_guard lock{mutex_};
        if (posts_.empty()) {
            return false;
        }
        work = std::move(posts_.front());
        posts_.pop_front();
    }
    work();
    return true;
}

void ManualMainLoop::moveTo(std::chrono::nanoseconds time) {
    if (time <= now_) {
        return;
    }
    if (clock_ != nullptr) {
        clock_->set(clock_->now() + (time - now_));
    }
    now_ = time;
}

} // namespace brindle::test
