#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gtest/gtest.h>

#include <string>

namespace brindle {
namespace {

class BusOnLoopTest : public testing::Test {
  protected:
    /// Asks the bus who it is.
    BusSlot ask() {
        sd_bus_slot* slot = nullptr;
        EXPECT_GE(
            sd_bus_call_method_async(
                bus_.get(), &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                "org.freedesktop.DBus", "GetId",
                [](sd_bus_message* answer, void* self, sd_bus_error*) {
                    const char* identity = nullptr;
                    if (sd_bus_message_read(answer, "s", &identity) > 0) {
                        static_cast<BusOnLoopTest*>(self)->answer_ = identity;
                    }
                    return 0;
                },
                this, nullptr),
            0);
        return BusSlot{slot};
    }
    bool isAnswered() {
        return waitUntil(loop_, [this] { return !answer_.empty(); });
    }

    test::BareBus daemon_;
    EventLoop loop_;
    BusOnLoop bus_{loop_, BusOnLoop::Which::session};
    std::string answer_;
};

TEST_F(BusOnLoopTest, WhatIsAskedAtOnceIsSentOnceThereIsAConnection) {
    ASSERT_TRUE(bus_.isConnected());
    const BusSlot question = ask();
    ASSERT_TRUE(isAnswered());
}

TEST_F(BusOnLoopTest, WhatIsAskedLaterFromOutsideIsSentToo) {
    const BusSlot first = ask();
    ASSERT_TRUE(isAnswered());
    answer_.clear();
    const BusSlot second = ask();
    ASSERT_TRUE(isAnswered());
}

TEST(BusOnLoop, WithoutABusThereIsNoConnection) {
    const test::EnvironmentVariable address{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus"};
    EventLoop loop;
    EXPECT_FALSE((BusOnLoop{loop, BusOnLoop::Which::session}.isConnected()));
}

} // namespace
} // namespace brindle
