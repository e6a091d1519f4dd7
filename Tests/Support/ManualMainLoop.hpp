// A main loop on simulated time: nothing happens until a test says so.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "Support/FakeDateProvider.hpp"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace brindle::test {

/// Work may be posted from any thread; everything else belongs to the test's own thread, which is
/// the main thread as far as the application can tell.
class ManualMainLoop final : public MainLoop {
  public:
    /// Time that passes for no clock but the timers.
    ManualMainLoop();
    /// The clock moves together with the loop's time; it must outlive the loop.
    explicit ManualMainLoop(FakeDateProvider& clock);
    ~ManualMainLoop() override;

    void post(Work work) override;
    [[nodiscard]] std::unique_ptr<Timer> after(std::chrono::nanoseconds delay, Work work) override;

    /// Runs all posted work, that posted meanwhile included. Answers how many pieces ran.
    std::size_t runPosted();

    /// Lets time pass: runs posted work, then each timer as it falls due, in order of time and,
    /// at the same time, of asking, each followed by the work posted since.
    template <class Count, class Unit>
    void advance(std::chrono::duration<Count, Unit> duration) {
        advanceBy(std::chrono::duration_cast<std::chrono::nanoseconds>(duration));
    }

    /// Runs the oldest posted piece of work alone or, when there is none, lets time pass to the
    /// next timer and runs that alone. False when nothing more happens until `end`, where time then
    /// is.
    bool runNextUntil(std::chrono::nanoseconds end);

    /// Runs posted work, waiting for other threads to post more, until the condition holds. False
    /// when it still does not after `limit` of real time.
    bool runUntil(
        const std::function<bool()>& condition,
        std::chrono::seconds limit = std::chrono::seconds{20});

    /// How long the loop has run, in simulated time.
    [[nodiscard]] std::chrono::nanoseconds now() const { return now_; }
    [[nodiscard]] std::size_t pendingTimers() const;
    [[nodiscard]] std::size_t pendingPosts() const;

  private:
    /// When a timer falls due, and which came first among those due together.
    using Due = std::pair<std::chrono::nanoseconds, std::uint64_t>;
    using Timers = std::map<Due, Work>;
    class PendingTimer;

    void advanceBy(std::chrono::nanoseconds duration);
    bool runOnePosted();
    void moveTo(std::chrono::nanoseconds time);

    FakeDateProvider* clock_ = nullptr;
    std::chrono::nanoseconds now_{0};
    std::uint64_t timersMade_ = 0;
    std::shared_ptr<Timers> timers_ = std::make_shared<Timers>();
    mutable std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<Work> posts_;
};

} // namespace brindle::test
