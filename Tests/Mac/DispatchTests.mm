// The main loop and the clock behind its waits.
#include "BrindleRecorderMac/Dispatch/ContinuousClock.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"

#include "GNUstep/SystemStandIn.hpp"

#import <Foundation/Foundation.h>

#include <atomic>
#include <gtest/gtest.h>
#include <string>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::eventually;

TEST(DispatchMainLoop, RunsWhatIsPostedInOrderAndNeverAtOnce) {
    DispatchMainLoop loop;
    std::string seen;
    loop.post([&] {
        seen += 'a';
        loop.post([&] { seen += 'c'; });
    });
    loop.post([&] { seen += 'b'; });
    EXPECT_EQ(seen, "");
    EXPECT_TRUE(eventually([&] { return seen == "abc"; })) << seen;
}

TEST(DispatchMainLoop, RunsOnTheMainThreadWhatAnotherPosts) {
    DispatchMainLoop loop;
    bool isDone = false;
    bool isMain = false;
    test::onForeignThread([&] {
        loop.post([&] {
            isMain = [NSThread isMainThread] != NO;
            isDone = true;
        });
    });
    EXPECT_TRUE(eventually([&] { return isDone; }));
    EXPECT_TRUE(isMain);
}

TEST(DispatchMainLoop, WaitsOnceAndForAsLongAsItIsTold) {
    DispatchMainLoop loop;
    int calls = 0;
    const auto begin = timeSinceBoot();
    const auto timer = loop.after(30ms, [&] { ++calls; });
    EXPECT_TRUE(eventually([&] { return calls == 1; }));
    EXPECT_GE(timeSinceBoot() - begin, 30ms);
    bool isLater = false;
    const auto later = loop.after(50ms, [&] { isLater = true; });
    EXPECT_TRUE(eventually([&] { return isLater; }));
    EXPECT_EQ(calls, 1);
}

TEST(DispatchMainLoop, ForgetsAWaitThatNobodyHolds) {
    DispatchMainLoop loop;
    std::string seen;
    auto cancelled = loop.after(5ms, [&] { seen += 'x'; });
    const auto kept = loop.after(20ms, [&] { seen += 'k'; });
    cancelled.reset();
    EXPECT_TRUE(eventually([&] { return seen == "k"; })) << seen;
}

TEST(DispatchMainLoop, AWaitMayEndItself) {
    DispatchMainLoop loop;
    std::unique_ptr<MainLoop::Timer> timer;
    bool isDone = false;
    timer = loop.after(1ms, [&] {
        timer.reset();
        isDone = true;
    });
    EXPECT_TRUE(eventually([&] { return isDone; }));
}

TEST(DispatchMainLoop, TimeAsleepCounts) {
    DispatchMainLoop loop;
    bool isOver = false;
    const auto timer = loop.after(1h, [&] { isOver = true; });
    test::sleepFor(59min);
    EXPECT_FALSE(isOver);
    test::sleepFor(1min);
    EXPECT_TRUE(isOver);
}

TEST(DispatchMainLoop, AClockThatIsSetMakesAWaitNeitherShorterNorLonger) {
    DispatchMainLoop loop;
    bool isOver = false;
    const auto begin = timeSinceBoot();
    const auto timer = loop.after(200ms, [&] { isOver = true; });
    test::setWallClockBy(24h);
    EXPECT_FALSE(isOver && timeSinceBoot() - begin < 200ms);
    test::setWallClockBy(-48h);
    EXPECT_TRUE(eventually([&] { return isOver; }));
    EXPECT_GE(timeSinceBoot() - begin, 200ms);
    test::setWallClockBy(24h);
}

TEST(ContinuousClock, GoesOnInSleepAndNeverBack) {
    const auto before = timeSinceBoot();
    test::sleepFor(10h);
    const auto after = timeSinceBoot();
    EXPECT_GE(after - before, 10h);
    EXPECT_LT(after - before, 10h + 5min);
}

} // namespace
} // namespace brindle
