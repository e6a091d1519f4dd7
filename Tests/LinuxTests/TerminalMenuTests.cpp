#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string programName{AppInfo::bundleIdentifier};

class TerminalMenuTest : public testing::Test {
  protected:
    TerminalMenuTest() {
        menu_.onActivation = [this](const std::string& name) {
            picked_.push_back(name);
        };
        EXPECT_TRUE(menu_.exportOn(program_));
        test::requireOfBus(
            sd_bus_request_name(program_.get(), programName.c_str(), 0), "the name is taken");
        menu_.show(
            {{"status", MenuItem::Text{"Idle — watching for calls"}},
             {"rule", MenuItem::Divider{}},
             {"start", MenuItem::Button{"Record now", std::nullopt}},
             {"camera",
              MenuItem::Submenu{"Camera", {{"usb", MenuItem::Button{"USB__2_", std::nullopt}}}}},
             {"settings",
              MenuItem::Submenu{
                  "Settings", {{"ask", MenuItem::Toggle{"Ask before recording", true}}}}}});
    }

    /// The command waits for its answers, as in its own process, while the program answers here.
    template <class Command>
    ExitStatus run(Command command) {
        std::atomic<bool> isOver{false};
        ExitStatus status{};
        std::thread terminal{[&] {
            status = command(TerminalMenu{output_.stream(), errors_.stream()});
            isOver = true;
        }};
        EXPECT_TRUE(waitUntil(loop_, [&] { return isOver.load(); }));
        terminal.join();
        return status;
    }
    ExitStatus print() {
        return run([](const TerminalMenu& menu) { return menu.print(); });
    }
    ExitStatus pick(const std::vector<std::string>& words) {
        return run([&](const TerminalMenu& menu) { return menu.pick(words); });
    }

    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    ExportedMenu menu_;
    std::vector<std::string> picked_;
    test::OutputCapture output_;
    test::OutputCapture errors_;
};

TEST_F(TerminalMenuTest, PrintsTheMenu) {
    EXPECT_EQ(print(), ExitStatus::success);
    EXPECT_EQ(
        output_.text(), "Idle — watching for calls\n\nRecord now\nCamera\n    USB__2_\nSettings\n"
                        "    [x] Ask before recording\n");
}

TEST_F(TerminalMenuTest, PicksALine) {
    EXPECT_EQ(pick({"Record now"}), ExitStatus::success);
    EXPECT_EQ(pick({"Settings", "Ask before recording"}), ExitStatus::success);
    EXPECT_EQ(pick({"Camera", "USB__2_"}), ExitStatus::success);
    EXPECT_THAT(picked_, ElementsAre("start", "ask", "usb"));
}

TEST_F(TerminalMenuTest, WhatIsPickedMayHaveComeWithTheOpening) {
    menu_.onOpening = [this] {
        menu_.show({{"new", MenuItem::Button{"New", std::nullopt}}});
    };
    EXPECT_EQ(pick({"New"}), ExitStatus::success);
    EXPECT_THAT(picked_, ElementsAre("new"));
}

TEST_F(TerminalMenuTest, SaysWhatCannotBePicked) {
    EXPECT_EQ(pick({"Stop recording"}), ExitStatus::couldNotRun);
    EXPECT_EQ(pick({"Idle — watching for calls"}), ExitStatus::couldNotRun);
    EXPECT_EQ(pick({"Settings"}), ExitStatus::couldNotRun);
    EXPECT_THAT(picked_, IsEmpty());
    EXPECT_EQ(
        errors_.text(),
        "brindle-recorder: the menu has no 'Stop recording' to pick there\n"
        "brindle-recorder: the menu has no 'Idle — watching for calls' to pick there\n"
        "brindle-recorder: that is a submenu; say which of its lines\n");
}

TEST_F(TerminalMenuTest, SaysSoWhenNothingRuns) {
    test::requireOfBus(
        sd_bus_release_name(program_.get(), programName.c_str()), "the name is not ours");
    EXPECT_EQ(print(), ExitStatus::notRunning);
    EXPECT_EQ(errors_.text(), "brindle-recorder: no copy of the program runs in this session\n");
}

} // namespace
} // namespace brindle
