#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(EventLoop, RunsPostedWorkInOrderAndNeverInsideThePost) {
    EventLoop loop;
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

TEST(EventLoop, RunsWorkOfOtherThreadsOnTheMainThreadInEachThreadsOrder) {
    constexpr int perThread = 2000;
    EventLoop loop;
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

TEST(EventLoop, WaitsAreDueInTheOrderOfTheirDeadlines) {
    EventLoop loop;
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

TEST(EventLoop, DestroyingATimerCancelsTheWait) {
    EventLoop loop;
    bool fired = false;
    auto cancelled = loop.after(1ms, [&] { fired = true; });
    const auto end = loop.after(20ms, [&] { loop.quit(); });
    cancelled.reset();
    loop.run();
    EXPECT_FALSE(fired);
}

TEST(EventLoop, ATimerMayBeDestroyedAndAnotherAskedForByItsOwnWork) {
    EventLoop loop;
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

TEST(EventLoop, ATimerMayOutliveItsLoop) {
    std::unique_ptr<MainLoop::Timer> timer;
    {
        EventLoop loop;
        timer = loop.after(1h, [] { FAIL(); });
    }
    timer.reset();
}

TEST(EventLoop, EndlessWorkDoesNotKeepATimerWaiting) {
    EventLoop loop;
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

TEST(EventLoop, TimersWithoutDelayDoNotKeepPostedWorkWaiting) {
    EventLoop loop;
    bool done = false;
    std::unique_ptr<MainLoop::Timer> timer;
    std::function<void()> again = [&] {
        if (!done) {
            timer = loop.after(0ns, again);
        }
    };
    timer = loop.after(0ns, [&] {
        again();
        loop.post([&] {
            done = true;
            loop.quit();
        });
    });
    loop.run();
    EXPECT_TRUE(done);
}

TEST(EventLoop, WaitsOnTheClockThatCountsTimeAsleep) {
    const auto armedTimers = [] {
        const std::string onTheBootClock = "clockid: " + std::to_string(CLOCK_BOOTTIME) + "\n";
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator{"/proc/self/fdinfo"}) {
            std::ifstream file{entry.path()};
            const std::string text{std::istreambuf_iterator<char>{file}, {}};
            count += text.find(onTheBootClock) != std::string::npos &&
                             text.find("it_value: (0, 0)") == std::string::npos
                         ? 1
                         : 0;
        }
        return count;
    };
    const int before = armedTimers();
    EventLoop loop;
    const auto timer = loop.after(1h, [] {});
    EXPECT_FALSE(handlesAnything(loop));
    EXPECT_EQ(armedTimers(), before + 1);
}

TEST(EventLoop, AQuitBeforeRunEndsTheNextRunAndRunMayBeCalledAgain) {
    EventLoop loop;
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

TEST(EventLoop, SignalsBecomeWorkOfTheLoop) {
    EventLoop loop;
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

TEST(EventLoop, ASignalHasOneHandler) {
    EventLoop loop;
    ASSERT_TRUE(loop.onSignal(SIGUSR1, [&] { loop.quit(); }));
    EXPECT_FALSE(loop.onSignal(SIGUSR1, [] { FAIL(); }));
    std::raise(SIGUSR1);
    loop.run();
}

TEST(EventLoop, LetsSignalsThroughAgainWhenItGoes) {
    const auto isBlocked = [](int number) {
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return sigismember(&blocked, number) == 1;
    };
    {
        EventLoop loop;
        ASSERT_TRUE(loop.onSignal(SIGUSR1, [] {}));
        EXPECT_TRUE(isBlocked(SIGUSR1));
    }
    EXPECT_FALSE(isBlocked(SIGUSR1));
}

} // namespace
} // namespace brindle
