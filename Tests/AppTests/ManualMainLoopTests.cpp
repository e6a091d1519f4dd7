#include "Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::FakeDateProvider;
using test::ManualMainLoop;

TEST(ManualMainLoop, RunsNothingFromWithinPost) {
    ManualMainLoop loop;
    int runs = 0;
    loop.post([&] { ++runs; });
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(loop.runPosted(), 1U);
    EXPECT_EQ(runs, 1);
}

TEST(ManualMainLoop, FiresTimersInOrderOfTimeThenOfAsking) {
    FakeDateProvider clock;
    ManualMainLoop loop{clock};
    const Date start = clock.now();
    std::vector<std::string> fired;
    std::vector<Seconds> times;
    const auto fire = [&](const char* name) {
        return [&, name] {
            fired.emplace_back(name);
            times.push_back(secondsBetween(start, clock.now()));
        };
    };
    const auto late = loop.after(3s, fire("late"));
    const auto first = loop.after(1s, fire("first"));
    const auto second = loop.after(1s, fire("second"));
    loop.advance(3s);
    EXPECT_EQ(fired, (std::vector<std::string>{"first", "second", "late"}));
    EXPECT_EQ(times, (std::vector{Seconds{1}, Seconds{1}, Seconds{3}}));
    EXPECT_EQ(secondsBetween(start, clock.now()), Seconds{3});
}

TEST(ManualMainLoop, FiresTimersThatTimersAskFor) {
    ManualMainLoop loop;
    int ticks = 0;
    std::unique_ptr<MainLoop::Timer> timer;
    std::function<void()> tick = [&] {
        ++ticks;
        timer = loop.after(2s, tick);
    };
    timer = loop.after(2s, tick);
    loop.advance(7s);
    EXPECT_EQ(ticks, 3);
}

TEST(ManualMainLoop, RunsWhatATimerPostsBeforeTheNextTimer) {
    ManualMainLoop loop;
    std::vector<int> order;
    const auto one = loop.after(1s, [&] { loop.post([&] { order.push_back(1); }); });
    const auto two = loop.after(2s, [&] { order.push_back(2); });
    loop.advance(2s);
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(ManualMainLoop, ForgetsADestroyedTimer) {
    ManualMainLoop loop;
    bool fired = false;
    auto timer = loop.after(1s, [&] { fired = true; });
    timer.reset();
    loop.advance(2s);
    EXPECT_FALSE(fired);
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST(ManualMainLoop, WaitsForWhatAnotherThreadPosts) {
    ManualMainLoop loop;
    bool done = false;
    std::thread other{[&] {
        loop.post([&] { done = true; });
    }};
    EXPECT_TRUE(loop.runUntil([&] { return done; }));
    other.join();
}

} // namespace
} // namespace brindle
