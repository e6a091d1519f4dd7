#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/TaskProbe.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using test::ManualMainLoop;
using test::TaskProbe;

Task<int> answer(int value) {
    co_return value;
}

Task<int> sumOfAnswers(int count) {
    int sum = 0;
    for (int value = 1; value <= count; ++value) {
        sum += co_await answer(value);
    }
    co_return sum;
}

Task<std::string> waitFor(Continuation<std::string> continuation) {
    co_return co_await continuation;
}

Task<void> note(std::vector<std::string>& order, std::string text) {
    order.push_back(std::move(text));
    co_return;
}

/// Notes when it starts, when it goes on and when its frame ends.
Task<void> noteAround(std::vector<std::string>& order, Continuation<Done> continuation) {
    const std::shared_ptr<void> whenDestroyed{nullptr, [&order](void*) {
                                                  order.emplace_back("destroyed");
                                              }};
    order.emplace_back("started");
    co_await continuation;
    order.emplace_back("resumed");
}

TEST(Task, DoesNothingUntilItIsAwaited) {
    std::vector<std::string> order;
    { const auto task = note(order, "ran"); }
    EXPECT_TRUE(order.empty());
}

TEST(Task, AnswersItsValueToWhoeverAwaitsIt) {
    const TaskProbe probe{sumOfAnswers(4)};
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(probe.value(), 10);
}

TEST(Task, MovesValuesThatCannotBeCopied) {
    const auto makeUnique = []() -> Task<std::unique_ptr<int>> {
        co_return std::make_unique<int>(7);
    };
    const TaskProbe probe{makeUnique()};
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(*probe.value(), 7);
}

TEST(Task, ResumesWhereItsContinuationIsCompleted) {
    const Continuation<std::string> continuation;
    const TaskProbe probe{waitFor(continuation)};
    EXPECT_FALSE(probe.isDone());
    continuation.resume("now");
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(probe.value(), "now");
}

TEST(Task, IsEndedWhereItWaitsWhenItIsDestroyed) {
    std::vector<std::string> order;
    const Continuation<Done> continuation;
    { const TaskProbe probe{noteAround(order, continuation)}; }
    EXPECT_EQ(order, (std::vector<std::string>{"started", "destroyed"}));
    continuation.resume({});
    EXPECT_EQ(order, (std::vector<std::string>{"started", "destroyed"}));
}

TEST(Task, StartedDetachedKeepsItselfAliveAndTellsItsEnd) {
    std::vector<std::string> order;
    const Continuation<Done> continuation;
    startDetached(noteAround(order, continuation), [&] { order.emplace_back("done"); });
    EXPECT_EQ(order, (std::vector<std::string>{"started"}));
    continuation.resume({});
    EXPECT_EQ(order, (std::vector<std::string>{"started", "resumed", "destroyed", "done"}));
}

TEST(Continuation, KeepsAValueThatCameBeforeTheWait) {
    const Continuation<std::string> continuation;
    continuation.resume("early");
    const TaskProbe probe{waitFor(continuation)};
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(probe.value(), "early");
}

TEST(Continuation, CountsOnlyTheFirstResume) {
    const Continuation<std::string> continuation;
    const TaskProbe probe{waitFor(continuation)};
    continuation.resume("first");
    continuation.resume("second");
    EXPECT_EQ(probe.value(), "first");
    const TaskProbe later{waitFor(continuation)};
    EXPECT_EQ(later.value(), "first");
}

TEST(Continuation, MayBeAwaitedAnewAfterAWaitThatWasDestroyed) {
    const Continuation<std::string> continuation;
    { const TaskProbe abandoned{waitFor(continuation)}; }
    const TaskProbe probe{waitFor(continuation)};
    continuation.resume("still here");
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(probe.value(), "still here");
}

class JobChainTest : public testing::Test {
  protected:
    JobChain::Job noting(std::string text) {
        return [this, text = std::move(text)] {
            return note(order, text);
        };
    }

    ManualMainLoop loop;
    std::vector<std::string> order;
};

TEST_F(JobChainTest, ReturnsBeforeTheJobStarts) {
    JobChain chain{loop};
    EXPECT_TRUE(chain.isIdle());
    chain.enqueue(noting("job"));
    EXPECT_TRUE(order.empty());
    EXPECT_FALSE(chain.isIdle());
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"job"}));
    EXPECT_TRUE(chain.isIdle());
}

TEST_F(JobChainTest, RunsEachJobAfterTheOneBeforeItHasEnded) {
    JobChain chain{loop};
    const Continuation<Done> gate;
    chain.enqueue([&]() -> Task<void> {
        order.emplace_back("first begins");
        co_await gate;
        order.emplace_back("first ends");
    });
    chain.enqueue(noting("second"));
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"first begins"}));
    gate.resume({});
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"first begins", "first ends", "second"}));
}

TEST_F(JobChainTest, KeepsWhatAJobCapturedUntilItHasEnded) {
    JobChain chain{loop};
    const Continuation<Done> gate;
    chain.enqueue([&order = order, gate, text = std::string(100, 'x')]() -> Task<void> {
        co_await gate;
        order.push_back(text);
    });
    loop.runPosted();
    gate.resume({});
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{std::string(100, 'x')}));
}

TEST_F(JobChainTest, RunsAJobThatAJobAddedAfterThoseAlreadyWaiting) {
    JobChain chain{loop};
    chain.enqueue([&]() -> Task<void> {
        order.emplace_back("first");
        chain.enqueue(noting("added"));
        co_return;
    });
    chain.enqueue(noting("second"));
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "added"}));
}

TEST_F(JobChainTest, TellsWhenItIsIdleAfterTheLastJob) {
    JobChain chain{loop};
    chain.enqueue(noting("job"));
    chain.whenIdle([&] { order.emplace_back("idle"); });
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"job", "idle"}));
    chain.enqueue(noting("another"));
    loop.runPosted();
    EXPECT_EQ(order, (std::vector<std::string>{"job", "idle", "another"}));
}

TEST_F(JobChainTest, ForgetsWaitingJobsWhenItIsDestroyed) {
    const Continuation<Done> gate;
    {
        JobChain chain{loop};
        chain.enqueue([&]() -> Task<void> { co_await gate; });
        chain.enqueue(noting("never"));
        loop.runPosted();
    }
    gate.resume({});
    loop.runPosted();
    EXPECT_TRUE(order.empty());
}

TEST(Published, TellsItsObserversInOrderAfterTheChange) {
    Published<int> field{1};
    std::vector<std::string> seen;
    const auto first = field.observe([&](int value) {
        seen.push_back("first " + std::to_string(value) + " " + std::to_string(field.get()));
    });
    const auto second =
        field.observe([&](int value) { seen.push_back("second " + std::to_string(value)); });
    field.set(2);
    EXPECT_EQ(seen, (std::vector<std::string>{"first 2 2", "second 2"}));
}

TEST(Published, TellsNobodyOfAnEqualValue) {
    Published<int> field{1};
    int changes = 0;
    const auto observation = field.observe([&](int) { ++changes; });
    field.set(1);
    EXPECT_EQ(changes, 0);
    field.set(2);
    EXPECT_EQ(changes, 1);
}

TEST(Published, ForgetsAnObserverThatWasDestroyed) {
    Published<int> field{1};
    int changes = 0;
    auto observation = field.observe([&](int) { ++changes; });
    observation.reset();
    field.set(2);
    EXPECT_EQ(changes, 0);
}

TEST(Published, LetsAnObserverUnregisterItselfAndTheNext) {
    Published<int> field{1};
    int firstCalls = 0;
    int secondCalls = 0;
    std::unique_ptr<Observation> first;
    std::unique_ptr<Observation> second;
    first = field.observe([&](int) {
        ++firstCalls;
        first.reset();
        second.reset();
    });
    second = field.observe([&](int) { ++secondCalls; });
    field.set(2);
    field.set(3);
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(secondCalls, 0);
}

TEST(Published, DoesNotTellAnObserverOfTheChangeDuringWhichItCame) {
    Published<int> field{1};
    std::vector<int> seen;
    std::unique_ptr<Observation> late;
    const auto first = field.observe([&](int) {
        if (!late) {
            late = field.observe([&](int value) { seen.push_back(value); });
        }
    });
    field.set(2);
    EXPECT_TRUE(seen.empty());
    field.set(3);
    EXPECT_EQ(seen, (std::vector{3}));
}

TEST(Published, OutlivesNoneOfItsObservations) {
    std::unique_ptr<Observation> observation;
    {
        const Published<int> field{1};
        observation = field.observe([](int) {});
    }
    observation.reset();
}

} // namespace
} // namespace brindle
