#include "Simulation/Timeline.hpp"

namespace brindle::simulation {

class Timeline::PendingTimer final : public MainLoop::Timer {
  public:
    PendingTimer(std::weak_ptr<Pending> pending, Due due)
        : pending_{std::move(pending)}, due_{due} {}
    ~PendingTimer() override {
        if (const auto pending = pending_.lock()) {
            pending->erase(due_);
        }
    }
    PendingTimer(const PendingTimer&) = delete;
    PendingTimer& operator=(const PendingTimer&) = delete;

  private:
    std::weak_ptr<Pending> pending_;
    Due due_;
};

Timeline::Due Timeline::add(std::chrono::nanoseconds delay, Work work) {
    const Due due{now_ + delay, made_++};
    pending_->emplace(due, std::move(work));
    return due;
}

void Timeline::after(Seconds delay, Work work) {
    add(std::chrono::duration_cast<std::chrono::nanoseconds>(delay), std::move(work));
}

std::unique_ptr<MainLoop::Timer> Timeline::timer(std::chrono::nanoseconds delay, Work work) {
    const Due due = add(delay, std::move(work));
    return std::make_unique<PendingTimer>(pending_, due);
}

std::optional<Date> Timeline::nextDue() const {
    return pending_->empty() ? std::nullopt : std::optional{pending_->begin()->first.first};
}

void Timeline::runNext() {
    const auto next = pending_->begin();
    moveTo(next->first.first);
    const auto work = std::move(next->second);
    pending_->erase(next);
    work();
}

void SimulatedMainLoop::runOnePost() {
    const auto work = std::move(posts_.front());
    posts_.pop_front();
    work();
}

void SimulatedQueue::runOne() {
    const auto work = std::move(pending_.front());
    pending_.pop_front();
    work();
}

} // namespace brindle::simulation
