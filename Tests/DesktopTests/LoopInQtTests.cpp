#include "BrindleRecorderLinux/Qt/LoopInQt.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "DesktopTests/Bus.hpp"

#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using std::chrono::milliseconds;

class LoopInQtTest : public testing::Test {
  protected:
    EventLoop mainLoop_;
    LoopInQt loopInQt_{mainLoop_};
};

TEST_F(LoopInQtTest, PostedWorkRunsInOrderOnTheMainThread) {
    std::vector<int> done;
    std::thread::id ranOn;
    std::thread other{[&] {
        mainLoop_.post([&] { done.push_back(1); });
        mainLoop_.post([&] {
            done.push_back(2);
            ranOn = std::this_thread::get_id();
        });
    }};
    other.join();
    EXPECT_THAT(done, testing::IsEmpty());
    ASSERT_TRUE(waitUntil([&] { return done.size() == 2; }));
    EXPECT_THAT(done, testing::ElementsAre(1, 2));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(LoopInQtTest, TimersOfBothLoopsRunSideBySide) {
    std::string order;
    const auto ours = mainLoop_.after(milliseconds{60}, [&] { order += 'b'; });
    QTimer::singleShot(20, [&] { order += 'a'; });
    QTimer::singleShot(120, [&] { order += 'c'; });
    ASSERT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, "abc");
}

TEST_F(LoopInQtTest, WorkThatPostsWorkLeavesQtItsTurn) {
    bool stop = false;
    int posted = 0;
    std::function<void()> again = [&] {
        ++posted;
        if (!stop) {
            mainLoop_.post(again);
        }
    };
    mainLoop_.post(again);
    QTimer::singleShot(10, [&] { stop = true; });
    EXPECT_TRUE(waitUntil([&] { return stop; }));
    EXPECT_GT(posted, 1);
}

TEST_F(LoopInQtTest, AnIdleLoopDoesNotWakeQt) {
    settle(BusClient{}.bus());
    int wakeUps = 0;
    QSocketNotifier observer{mainLoop_.descriptor(), QSocketNotifier::Read};
    QObject::connect(&observer, &QSocketNotifier::activated, [&] { ++wakeUps; });
    bool isOver = false;
    QTimer::singleShot(200, [&] { isOver = true; });
    ASSERT_TRUE(waitUntil([&] { return isOver; }));
    EXPECT_EQ(wakeUps, 0);
}

} // namespace
} // namespace brindle
