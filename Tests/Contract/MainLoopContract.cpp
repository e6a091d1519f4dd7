#include "Contract/MainLoopContract.hpp"

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace brindle::test {
namespace {

using namespace std::chrono_literals;

TEST_P(MainLoopContract, RunsWorkInTheOrderOfPostingAndNeverFromWithin) {
    std::string seen;
    subject_->loop().post([&] {
        seen += 'a';
        subject_->loop().post([&] { seen += 'c'; });
    });
    subject_->loop().post([&] { seen += 'b'; });
    EXPECT_EQ(seen, "");
    EXPECT_TRUE(becomes([&] { return seen.size() == 3; }));
    EXPECT_EQ(seen, "abc");
}

TEST_P(MainLoopContract, RunsWorkOfEveryThreadOnTheMainThreadAndInOrder) {
    constexpr int perThread = 500;
    const auto mainThread = std::this_thread::get_id();
    bool isElsewhere = false;
    std::vector<int> seen[3];
    {
        std::vector<std::jthread> threads;
        for (auto& numbers : seen) {
            threads.emplace_back([&] {
                for (int number = 0; number < perThread; ++number) {
                    subject_->loop().post([&, number] {
                        isElsewhere |= std::this_thread::get_id() != mainThread;
                        numbers.push_back(number);
                    });
                }
            });
        }
    }
    const auto isComplete = [](const auto& numbers) {
        return numbers.size() == perThread;
    };
    EXPECT_TRUE(becomes([&] { return std::ranges::all_of(seen, isComplete); }));
    EXPECT_FALSE(isElsewhere);
    for (const auto& numbers : seen) {
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
    }
}

TEST_P(MainLoopContract, AWaitIsOverOnceAndNotBeforeItsTime) {
    const auto mainThread = std::this_thread::get_id();
    const auto begin = subject_->now();
    int ends = 0;
    bool isElsewhere = false;
    std::chrono::nanoseconds end{};
    const auto timer = subject_->loop().after(30ms, [&] {
        ++ends;
        isElsewhere = std::this_thread::get_id() != mainThread;
        end = subject_->now();
    });
    EXPECT_TRUE(becomes([&] { return ends > 0; }));
    EXPECT_GE(end - begin, 30ms);
    EXPECT_FALSE(isElsewhere);
    bool isLater = false;
    const auto later = subject_->loop().after(50ms, [&] { isLater = true; });
    EXPECT_TRUE(becomes([&] { return isLater; }));
    EXPECT_EQ(ends, 1);
}

TEST_P(MainLoopContract, AWaitThatTakesNoTimeIsNotOverFromWithin) {
    for (const auto delay : {std::chrono::nanoseconds{0}, std::chrono::nanoseconds{-1h}}) {
        bool isOver = false;
        const auto timer = subject_->loop().after(delay, [&] { isOver = true; });
        EXPECT_FALSE(isOver);
        EXPECT_TRUE(becomes([&] { return isOver; }));
    }
}

TEST_P(MainLoopContract, AWaitThatNobodyHoldsIsCancelled) {
    std::string seen;
    auto cancelled = subject_->loop().after(5ms, [&] { seen += 'x'; });
    const auto kept = subject_->loop().after(20ms, [&] { seen += 'k'; });
    cancelled.reset();
    EXPECT_TRUE(becomes([&] { return !seen.empty(); }));
    EXPECT_EQ(seen, "k");
}

TEST_P(MainLoopContract, AWaitMayBeReplacedByItsOwnWork) {
    std::unique_ptr<MainLoop::Timer> timer;
    int rounds = 0;
    std::function<void()> again = [&] {
        timer.reset();
        if (++rounds < 5) {
            timer = subject_->loop().after(0ns, again);
        }
    };
    timer = subject_->loop().after(0ns, again);
    EXPECT_TRUE(becomes([&] { return rounds == 5; }));
}

TEST_P(MainLoopContract, TimeAsleepCounts) {
    bool isOver = false;
    const auto timer = subject_->loop().after(1h, [&] { isOver = true; });
    const auto before = subject_->now();
    if (!subject_->sleep(59min)) {
        GTEST_SKIP() << "a test cannot let this machine sleep";
    }
    EXPECT_FALSE(isOver);
    EXPECT_TRUE(subject_->sleep(1min));
    EXPECT_TRUE(becomes([&] { return isOver; }));
    EXPECT_GE(subject_->now() - before, 1h);
}

TEST_P(MainLoopContract, TheClockNeverGoesBack) {
    const auto neverGoesBack = [this] {
        auto last = subject_->now();
        for (int reading = 0; reading < 10'000; ++reading) {
            const auto next = subject_->now();
            if (next < last) {
                return false;
            }
            last = next;
        }
        return true;
    };
    const auto before = subject_->now();
    bool isSteadyElsewhere = false;
    std::jthread{[&] {
        isSteadyElsewhere = neverGoesBack();
    }}.join();
    EXPECT_TRUE(isSteadyElsewhere);
    EXPECT_TRUE(neverGoesBack());
    EXPECT_GE(subject_->now(), before);
}

} // namespace
} // namespace brindle::test
