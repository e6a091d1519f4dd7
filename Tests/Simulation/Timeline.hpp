// Simulated time: one clock, and everything that is to happen at some time, in order.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/Executor.hpp"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace brindle::simulation {

class Timeline final : public DateProvider {
  public:
    using Work = std::function<void()>;

    /// The clock begins some time after the epoch, at a whole second.
    explicit Timeline(Date start) : now_{start} {}

    [[nodiscard]] Date now() const override { return now_; }
    /// Time that passes while the program does nothing but wait for the disk.
    void pass(Seconds duration) {
        now_ += std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
    }
    void moveTo(Date date) { now_ = std::max(now_, date); }

    /// Does the work when `delay` has passed.
    void after(Seconds delay, Work work);
    /// The same, unless the timer is destroyed before.
    [[nodiscard]] std::unique_ptr<MainLoop::Timer> timer(std::chrono::nanoseconds delay, Work work);

    /// When the next work falls due; what was missed while time passed is due at once.
    [[nodiscard]] std::optional<Date> nextDue() const;
    /// Lets time pass until the next work is due, and does it.
    void runNext();

  private:
    /// When, and which came first among those due together.
    using Due = std::pair<Date, std::uint64_t>;
    using Pending = std::map<Due, Work>;
    class PendingTimer;

    Due add(std::chrono::nanoseconds delay, Work work);

    Date now_;
    std::uint64_t made_ = 0;
    std::shared_ptr<Pending> pending_ = std::make_shared<Pending>();
};

/// The machine's wall clock: it follows the timeline, but somebody may set it.
class WallClock final : public DateProvider {
  public:
    explicit WallClock(const Timeline& timeline) : timeline_{timeline} {}

    [[nodiscard]] Date now() const override { return timeline_.now() + ahead_; }
    /// How far it is ahead of the timeline.
    [[nodiscard]] Seconds ahead() const { return ahead_; }
    void jump(Seconds by) { ahead_ += std::chrono::duration_cast<std::chrono::nanoseconds>(by); }

  private:
    const Timeline& timeline_;
    std::chrono::nanoseconds ahead_{0};
};

/// The main loop of one run of the program; what is posted goes with it.
class SimulatedMainLoop final : public MainLoop {
  public:
    explicit SimulatedMainLoop(Timeline& timeline) : timeline_{timeline} {}

    void post(Work work) override { posts_.push_back(std::move(work)); }
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::nanoseconds delay, Work work) override {
        return timeline_.timer(delay, std::move(work));
    }

    [[nodiscard]] bool hasPosts() const { return !posts_.empty(); }
    void runOnePost();

  private:
    Timeline& timeline_;
    std::deque<Work> posts_;
};

/// The capture-session queue of one run of the program: another thread, whose work takes turns with
/// the main loop's as chance has it.
class SimulatedQueue final : public Executor {
  public:
    void async(Work work) override { pending_.push_back(std::move(work)); }
    void sync(Work work) override {
        while (hasWork()) {
            runOne();
        }
        work();
    }
    [[nodiscard]] std::string_view label() const override { return "simulated"; }

    [[nodiscard]] bool hasWork() const { return !pending_.empty(); }
    /// The oldest piece of work is not begun before this.
    [[nodiscard]] Date readyAt() const { return readyAt_; }
    void blockUntil(Date date) { readyAt_ = date; }
    void runOne();

  private:
    std::deque<Work> pending_;
    Date readyAt_{};
};

} // namespace brindle::simulation
