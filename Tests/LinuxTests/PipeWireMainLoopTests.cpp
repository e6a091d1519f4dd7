#include "BrindleRecorderLinux/PipeWire/PipeWireMainLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(PipeWireMainLoop, RunsPostedWorkInOrderAndNeverInsideThePost) {
    PipeWireMainLoop loop;
    std::vector<int> order;
    loop.post([&] {
        order.push_back(1);
        loop.post([&] { order.push_back(3); });
        loop.quit();
        order.push_back(2);
    });
    EXPECT_TRUE(order.empty());
    loop.run();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(PipeWireMainLoop, RunsWorkOfOtherThreadsOnTheMainThreadInEachThreadsOrder) {
    constexpr int perThread = 2000;
    PipeWireMainLoop loop;
    std::vector<int> seen[3];
    bool elsewhere = false;
    int finished = 0;
    std::vector<std::jthread> threads;
    for (auto& numbers : seen) {
        threads.emplace_back([&] {
            for (int number = 0; number < perThread; ++number) {
                loop.post([&, number, mainThread = &elsewhere] {
                    *mainThread = *mainThread || gettid() != getpid();
                    numbers.push_back(number);
                });
            }
            loop.post([&] {
                if (++finished == 3) {
                    loop.quit();
                }
            });
        });
    }
    loop.run();
    EXPECT_FALSE(elsewhere);
    for (const auto& numbers : seen) {
        ASSERT_EQ(numbers.size(), std::size_t{perThread});
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST(PipeWireMainLoop, WaitsAreDueInTheOrderOfTheirDeadlines) {
    PipeWireMainLoop loop;
    std::vector<int> order;
    const auto last = loop.after(30ms, [&] {
        order.push_back(4);
        loop.quit();
    });
    const auto early = loop.after(10ms, [&] { order.push_back(2); });
    const auto sameDelayAskedLater = loop.after(10ms, [&] { order.push_back(3); });
    const auto negative = loop.after(-1h, [&] { order.push_back(1); });
    const auto never = loop.after(std::chrono::nanoseconds::max(), [&] { order.push_back(9); });
    loop.run();
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST(PipeWireMainLoop, DestroyingATimerCancelsTheWait) {
    PipeWireMainLoop loop;
    bool fired = false;
    auto cancelled = loop.after(1ms, [&] { fired = true; });
    const auto end = loop.after(20ms, [&] { loop.quit(); });
    cancelled.reset();
    loop.run();
    EXPECT_FALSE(fired);
}

TEST(PipeWireMainLoop, ATimerMayBeDestroyedAndAnotherAskedForByItsOwnWork) {
    PipeWireMainLoop loop;
    std::unique_ptr<MainLoop::Timer> timer;
    int rounds = 0;
    std::function<void()> again = [&] {
        timer.reset();
        if (++rounds == 5) {
            loop.quit();
        } else {
            timer = loop.after(0ns, again);
        }
    };
    timer = loop.after(0ns, again);
    loop.run();
    EXPECT_EQ(rounds, 5);
}

TEST(PipeWireMainLoop, ATimerMayOutliveItsLoop) {
    std::unique_ptr<MainLoop::Timer> timer;
    {
        PipeWireMainLoop loop;
        timer = loop.after(1h, [] { FAIL(); });
    }
    timer.reset();
}

TEST(PipeWireMainLoop, EndlessWorkDoesNotKeepATimerWaiting) {
    PipeWireMainLoop loop;
    bool done = false;
    std::function<void()> endless = [&] {
        if (!done) {
            loop.post(endless);
        }
    };
    loop.post(endless);
    const auto end = loop.after(1ms, [&] {
        done = true;
        loop.quit();
    });
    loop.run();
    EXPECT_TRUE(done);
}

TEST(PipeWireMainLoop, AQuitBeforeRunEndsTheNextRunAndRunMayBeCalledAgain) {
    PipeWireMainLoop loop;
    loop.quit();
    loop.run();
    bool ran = false;
    loop.post([&] {
        ran = true;
        loop.quit();
    });
    loop.run();
    EXPECT_TRUE(ran);
}

TEST(PipeWireMainLoop, SignalsBecomeWorkOfTheLoop) {
    PipeWireMainLoop loop;
    std::vector<int> received;
    ASSERT_TRUE(loop.onSignal(SIGTERM, [&] {
        received.push_back(SIGTERM);
        std::raise(SIGINT);
    }));
    ASSERT_TRUE(loop.onSignal(SIGINT, [&] {
        received.push_back(SIGINT);
        loop.quit();
    }));
    std::raise(SIGTERM);
    EXPECT_TRUE(received.empty());
    loop.run();
    EXPECT_THAT(received, ElementsAre(SIGTERM, SIGINT));
}

TEST(PipeWireMainLoop, LetsSignalsThroughAgainWhenItGoes) {
    const auto isBlocked = [](int number) {
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return sigismember(&blocked, number) == 1;
    };
    {
        PipeWireMainLoop loop;
        ASSERT_TRUE(loop.onSignal(SIGUSR1, [] {}));
        EXPECT_TRUE(isBlocked(SIGUSR1));
    }
    EXPECT_FALSE(isBlocked(SIGUSR1));
}

TEST(PipeWireMainLoop, AnotherLoopCanDriveItThroughItsDescriptor) {
    PipeWireMainLoop loop;
    bool posted = false;
    bool timed = false;
    loop.post([&] { posted = true; });
    const auto timer = loop.after(5ms, [&] { timed = true; });
    while (!posted || !timed) {
        pollfd readable{loop.descriptor(), POLLIN, 0};
        ASSERT_EQ(poll(&readable, 1, 30'000), 1);
        loop.iterate();
    }
}

} // namespace
} // namespace brindle
