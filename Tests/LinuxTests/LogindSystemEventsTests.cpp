#include "BrindleRecorderLinux/Logind/LogindSystemEvents.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/ScriptedLogin1.hpp"
#include "LinuxTests/SignalForger.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {
namespace {

/// The session's own bus stands for the system's.
class LogindSystemEventsTest : public testing::Test {
  protected:
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            if (manager_) {
                manager_->serve();
            }
            return condition();
        });
    }
    void listen() {
        observation_ = events_.observe({
            .willSleep = [this](std::function<void()> ready) { ready_ = std::move(ready); },
            .didWake = [this] { ++woken_; },
            .sessionWillEnd = [this] { ++ends_; },
        });
        ASSERT_TRUE(observation_);
    }
    [[nodiscard]] bool hasLocks(std::size_t count) {
        return becomes([&] { return manager_->locks().size() == count; });
    }

    /// Somebody else says it, and is heard to the end.
    template <class... Arguments>
    void forge(const test::SignalForger::Signal& signal, const char* types, Arguments... values) {
        forger_.send(manager_->locks().at(0).holder, signal, types, values...);
        ASSERT_TRUE(becomes([&] { return forger_.isHandled(); }));
        manager_->catchUp();
    }
    static test::SignalForger::Signal ofTheManager(const char* member) {
        return {"/org/freedesktop/login1", "org.freedesktop.login1.Manager", member};
    }

    EventLoop loop_;
    test::SignalForger forger_;
    test::EnvironmentVariable bus_{
        "DBUS_SYSTEM_BUS_ADDRESS", std::string{std::getenv("DBUS_SESSION_BUS_ADDRESS")}};
    std::optional<test::ScriptedLogin1> manager_{std::in_place};
    LogindSystemEvents events_{loop_};
    std::function<void()> ready_;
    int woken_ = 0;
    int ends_ = 0;
    std::unique_ptr<Observation> observation_;
};

TEST_F(LogindSystemEventsTest, AsksForADelayOfSleepAndShutdown) {
    ASSERT_TRUE(hasLocks(1));
    EXPECT_EQ(manager_->locks()[0].what, "sleep:shutdown");
    EXPECT_EQ(manager_->locks()[0].who, "Brindle Recorder");
    EXPECT_EQ(manager_->locks()[0].mode, "delay");
    EXPECT_TRUE(manager_->isHeld(0));
}

TEST_F(LogindSystemEventsTest, TheMachineSleepsWhenTheProgramIsReadyAndIsDelayedAgainAfterwards) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    manager_->announce("PrepareForSleep", true);
    ASSERT_TRUE(becomes([&] { return ready_ != nullptr; }));
    EXPECT_TRUE(manager_->isHeld(0));
    ready_();
    EXPECT_TRUE(becomes([&] { return !manager_->isHeld(0); }));

    manager_->announce("PrepareForSleep", false);
    ASSERT_TRUE(becomes([&] { return woken_ == 1; }));
    ASSERT_TRUE(hasLocks(2));
    EXPECT_TRUE(manager_->isHeld(1));
}

TEST_F(LogindSystemEventsTest, ALateWordDoesNotGiveAwayTheLockOfTheNextSleep) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    manager_->announce("PrepareForSleep", true);
    ASSERT_TRUE(becomes([&] { return ready_ != nullptr; }));
    const auto late = ready_;
    manager_->announce("PrepareForSleep", false); // it slept without waiting for us
    ASSERT_TRUE(becomes([&] { return woken_ == 1; }));
    late();
    EXPECT_TRUE(manager_->isHeld(0));
}

TEST_F(LogindSystemEventsTest, WithoutAListenerTheMachineDoesNotWait) {
    ASSERT_TRUE(hasLocks(1));
    ASSERT_TRUE(becomes([&] { return manager_->isHeld(0); }));
    // The lock is ours only once the answer has come, which only its release can show.
    ASSERT_TRUE(becomes([&] {
        manager_->announce("PrepareForSleep", true);
        return !manager_->isHeld(0);
    }));
}

TEST_F(LogindSystemEventsTest, AShutdownIsAnnouncedAndWaitsForTheEndOfTheProgram) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    manager_->announce("PrepareForShutdown", false);
    manager_->announce("PrepareForShutdown", true);
    ASSERT_TRUE(becomes([&] { return ends_ > 0; }));
    EXPECT_EQ(ends_, 1);
    EXPECT_TRUE(manager_->isHeld(0));
}

TEST_F(LogindSystemEventsTest, ALoginManagerThatIsStartedAgainIsFollowed) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    manager_.reset();
    manager_.emplace();
    ASSERT_TRUE(hasLocks(1)) << "a lock of the new one";
    manager_->announce("PrepareForSleep", true);
    EXPECT_TRUE(becomes([&] { return ready_ != nullptr; }));
}

TEST_F(LogindSystemEventsTest, WhoeverDoesNotListenAnyMoreHearsNothing) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    observation_.reset();
    ASSERT_TRUE(becomes([&] {
        manager_->announce("PrepareForSleep", true);
        return !manager_->isHeld(0);
    }));
    EXPECT_EQ(ready_, nullptr);
}

TEST_F(LogindSystemEventsTest, OnlyTheLoginManagerAnnouncesSleep) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    forge(ofTheManager("PrepareForSleep"), "b", 1);
    EXPECT_EQ(ready_, nullptr);
    manager_->announce("PrepareForSleep", true);
    EXPECT_TRUE(becomes([&] { return ready_ != nullptr; }));
}

TEST_F(LogindSystemEventsTest, OnlyTheLoginManagerAnnouncesWaking) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    manager_->announce("PrepareForSleep", true);
    ASSERT_TRUE(becomes([&] { return ready_ != nullptr; }));
    forge(ofTheManager("PrepareForSleep"), "b", 0);
    EXPECT_EQ(woken_, 0);
    manager_->announce("PrepareForSleep", false);
    EXPECT_TRUE(becomes([&] { return woken_ == 1; }));
}

TEST_F(LogindSystemEventsTest, OnlyTheLoginManagerAnnouncesTheShutdown) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    forge(ofTheManager("PrepareForShutdown"), "b", 1);
    EXPECT_EQ(ends_, 0);
    manager_->announce("PrepareForShutdown", true);
    EXPECT_TRUE(becomes([&] { return ends_ == 1; }));
}

TEST_F(LogindSystemEventsTest, OnlyTheBusItselfSaysWhoTheLoginManagerIs) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    const std::string forger = forger_.ownName();
    forge(
        test::SignalForger::nameOwnerChanged(), "sss", "org.freedesktop.login1", "",
        forger.c_str());
    EXPECT_EQ(manager_->locks().size(), 1U) << "no lock is asked of it";
    forge(ofTheManager("PrepareForShutdown"), "b", 1);
    EXPECT_EQ(ends_, 0);
    manager_->announce("PrepareForShutdown", true);
    EXPECT_TRUE(becomes([&] { return ends_ == 1; }));
}

TEST_F(LogindSystemEventsTest, ALoginManagerThatHasGoneAnnouncesNothingMore) {
    listen();
    ASSERT_TRUE(hasLocks(1));
    const std::string holder = manager_->locks().at(0).holder;
    manager_.reset();
    forger_.send(holder, ofTheManager("PrepareForShutdown"), "b", 1);
    ASSERT_TRUE(becomes([&] { return forger_.isHandled(); }));
    EXPECT_EQ(ends_, 0) << "nobody has its name, and so nobody speaks for it";
}

TEST(LogindSystemEvents, WithoutASystemBusThereIsNothingToHear) {
    const test::EnvironmentVariable bus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus"};
    EventLoop loop;
    LogindSystemEvents events{loop};
    EXPECT_EQ(events.observe({}), nullptr);
}

} // namespace
} // namespace brindle
