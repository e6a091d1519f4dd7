// Processes, windows, login items, power, the log, and copies of the program.
#include "BrindleRecorderMac/AppKit/RunningCopies.hpp"
#include "BrindleRecorderMac/CoreGraphics/QuartzWindowList.hpp"
#include "BrindleRecorderMac/IOKit/PowerEvents.hpp"
#include "BrindleRecorderMac/Processes/RunningProcessRegistry.hpp"
#include "BrindleRecorderMac/ServiceManagement/MainAppService.hpp"
#include "BrindleRecorderMac/UnifiedLog/UnifiedSystemLog.hpp"

#include "GNUstep/SystemStandIn.hpp"
#include "Support/TemporaryFolder.hpp"

#import <IOKit/IOMessage.h>

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace brindle {
namespace {

using test::systemStandIn;
using testing::ElementsAre;
using testing::IsEmpty;

class SystemTest : public testing::Test {
  protected:
    SystemTest() { test::SystemStandIn::reset(); }
    ~SystemTest() override { test::SystemStandIn::reset(); }
};

using RunningProcessRegistryTest = SystemTest;

TEST_F(RunningProcessRegistryTest, KnowsWhatTheDesktopTellsOfAProcess) {
    const RunningProcessRegistry registry;
    systemStandIn.applications = {{.pid = 77, .identifier = "us.zoom.xos"}, {.pid = 78}};
    EXPECT_EQ(registry.bundleIdentifier(77), "us.zoom.xos");
    EXPECT_EQ(registry.bundleIdentifier(78), std::nullopt) << "an application without identifier";
    EXPECT_EQ(registry.bundleIdentifier(79), std::nullopt);
    EXPECT_EQ(registry.programName(77), std::nullopt);
    EXPECT_EQ(registry.ownProcessIdentifier(), ::getpid());
}

TEST_F(RunningProcessRegistryTest, KnowsWhichFileAProcessRuns) {
    const RunningProcessRegistry registry;
    const std::string path = "/Applications/A.app/Contents/MacOS/\xC3\xB6";
    systemStandIn.executables = {{77, path}};
    EXPECT_EQ(registry.executablePath(77), path);
    EXPECT_EQ(registry.executablePath(78), std::nullopt);
}

TEST_F(RunningProcessRegistryTest, KnowsTheIdentifierOfAnApplicationFolder) {
    const RunningProcessRegistry registry;
    const test::TemporaryFolder folder;
    const auto application = folder.path() / "Zoom.app";
    std::filesystem::create_directory(application);
    systemStandIn.applicationFolders = {{"us.zoom.xos", application}};
    EXPECT_EQ(registry.bundleIdentifierOfApplication(application), "us.zoom.xos");
    EXPECT_EQ(registry.bundleIdentifierOfApplication(folder.path() / "None.app"), std::nullopt);
}

using QuartzWindowListTest = SystemTest;

TEST_F(QuartzWindowListTest, ListsWindowsInTheirOrderWithWhatTheyTell) {
    const QuartzWindowList list;
    systemStandIn.windows = {
        {.pid = [NSNumber numberWithInt:77], .name = @"Meet \u2013 abc"},
        {.pid = [NSNumber numberWithInt:78]},
        {.name = @""},
        {.pid = @"no number", .name = [NSNumber numberWithInt:1]}};
    EXPECT_THAT(
        list.windows(),
        testing::Optional(ElementsAre(
            WindowRecord{.ownerPid = 77, .name = "Meet \xE2\x80\x93 abc"},
            WindowRecord{.ownerPid = 78}, WindowRecord{.name = ""}, WindowRecord{})));
}

TEST_F(QuartzWindowListTest, SaysWhenItCannotBeReadAndWhetherTitlesMay) {
    const QuartzWindowList list;
    EXPECT_TRUE(list.titlesPermitted());
    systemStandIn.titlesPermitted = false;
    EXPECT_FALSE(list.titlesPermitted());
    systemStandIn.windowsCanBeRead = false;
    EXPECT_EQ(list.windows(), std::nullopt);
}

using MainAppServiceTest = SystemTest;

TEST_F(MainAppServiceTest, ReadsEveryStatusAfresh) {
    const MainAppService service;
    const LoginItemStatus statuses[] = {
        LoginItemStatus::notRegistered, LoginItemStatus::enabled, LoginItemStatus::requiresApproval,
        LoginItemStatus::notFound, LoginItemStatus::notFound};
    for (const auto status : statuses) {
        EXPECT_EQ(service.status(), status) << systemStandIn.loginStatus;
        ++systemStandIn.loginStatus;
    }
}

TEST_F(MainAppServiceTest, RegistersAndUnregisters) {
    MainAppService service;
    EXPECT_TRUE(service.registerApplication());
    EXPECT_EQ(service.status(), LoginItemStatus::enabled);
    EXPECT_TRUE(service.unregisterApplication());
    EXPECT_EQ(service.status(), LoginItemStatus::notRegistered);
    systemStandIn.statusAfterRegistering = 2;
    EXPECT_TRUE(service.registerApplication());
    EXPECT_EQ(service.status(), LoginItemStatus::requiresApproval);
}

TEST_F(MainAppServiceTest, SaysWhyItFailed) {
    MainAppService service;
    systemStandIn.loginFailure = "Operation not permitted";
    const auto failed = service.registerApplication();
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().description, "Operation not permitted");
    EXPECT_EQ(failed.error().domain, "SMAppServiceErrorDomain");
    EXPECT_FALSE(service.unregisterApplication());
}

class PowerEventsTest : public SystemTest {
  protected:
    ~PowerEventsTest() override {
        EXPECT_EQ(systemStandIn.powerRegistrations, 0);
        EXPECT_EQ(systemStandIn.powerConnections, 0);
    }

    void say(unsigned message, long change) {
        test::announcePower(message, change);
        test::drainMainQueue();
    }

    SystemEvents::Listener listener() {
        return {
            .willSleep =
                [this](std::function<void()> ready) {
                    heard_ += 's';
                    ready_ = std::move(ready);
                },
            .didWake = [this] { heard_ += 'w'; },
            .sessionWillEnd =
                [this] {
                    heard_ += 'e';
                }};
    }

    PowerEvents events_;
    std::string heard_;
    std::function<void()> ready_;
};

TEST_F(PowerEventsTest, SleepWaitsUntilItIsAllowed) {
    const auto observation = events_.observe(listener());
    say(kIOMessageSystemWillSleep, 5);
    EXPECT_EQ(heard_, "s");
    EXPECT_THAT(systemStandIn.allowedPowerChanges, IsEmpty());
    ready_();
    ready_();
    EXPECT_THAT(systemStandIn.allowedPowerChanges, ElementsAre(5));
    say(kIOMessageSystemHasPoweredOn, 0);
    EXPECT_EQ(heard_, "sw");
    ready_ = {};
}

TEST_F(PowerEventsTest, AnIdleMachineMaySleep) {
    const auto observation = events_.observe(listener());
    say(kIOMessageCanSystemSleep, 6);
    EXPECT_THAT(systemStandIn.allowedPowerChanges, ElementsAre(6));
    say(kIOMessageSystemWillNotSleep, 6);
    EXPECT_EQ(heard_, "") << "nobody was told of sleep";
    say(kIOMessageSystemWillSleep, 7);
    say(kIOMessageSystemWillNotSleep, 7);
    EXPECT_EQ(heard_, "sw");
    ready_ = {};
}

TEST_F(PowerEventsTest, WhoIsReadyLateDoesNoHarm) {
    auto observation = events_.observe(listener());
    say(kIOMessageSystemWillSleep, 8);
    observation.reset();
    EXPECT_EQ(systemStandIn.powerRegistrations, 0);
    ready_();
    EXPECT_THAT(systemStandIn.allowedPowerChanges, ElementsAre(8));
    ready_ = {};
}

TEST_F(PowerEventsTest, AListenerMayEndItself) {
    std::unique_ptr<Observation> observation;
    observation = events_.observe(
        {.willSleep =
             [&](std::function<void()> ready) {
                 observation.reset();
                 ready();
             },
         .didWake = [] {},
         .sessionWillEnd =
             [] {
             }});
    say(kIOMessageSystemWillSleep, 9);
    EXPECT_THAT(systemStandIn.allowedPowerChanges, ElementsAre(9));
}

TEST_F(PowerEventsTest, SaysWhenNothingIsAnnounced) {
    systemStandIn.refusesPowerEvents = true;
    EXPECT_EQ(events_.observe(listener()), nullptr);
}

using UnifiedSystemLogTest = SystemTest;

TEST_F(UnifiedSystemLogTest, WritesPublicLinesOfEitherLevel) {
    UnifiedSystemLog log{"com.tamsworth.brindlerecorder"};
    log.write(SystemLog::Level::info, "100 % %s \xFF");
    log.write(SystemLog::Level::error, std::string_view{"cut here", 3});
    EXPECT_THAT(
        systemStandIn.logLines, ElementsAre(
                                    "com.tamsworth.brindlerecorder/recorder 0 100 % %s \xFF",
                                    "com.tamsworth.brindlerecorder/recorder 16 cut"));
}

class RunningCopiesTest : public SystemTest {
  protected:
    const std::string own_ = "com.tamsworth.brindlerecorder";
    test::TemporaryFolder folder_;
    const std::filesystem::path lock_ = folder_.path() / "running";
};

TEST_F(RunningCopiesTest, OfTwoThatStartTogetherOneIsToldOfTheOther) {
    const RunningCopies first{own_, lock_};
    const RunningCopies second{own_, lock_};
    systemStandIn.applications = {
        {.pid = ::getpid(), .identifier = own_}, {.pid = 4321, .identifier = own_}};
    EXPECT_THAT(
        first.withBundleIdentifier(own_), ElementsAre(RunningApplication{::getpid(), false}));
    EXPECT_THAT(second.withBundleIdentifier(own_), testing::SizeIs(2));
}

TEST_F(RunningCopiesTest, TheSecondIsToldAlsoBeforeTheDesktopListsTheFirst) {
    const RunningCopies first{own_, lock_};
    std::ofstream{lock_} << 4321;
    const RunningCopies second{own_, lock_};
    EXPECT_THAT(second.withBundleIdentifier(own_), ElementsAre(RunningApplication{4321, false}));
    EXPECT_THAT(second.withBundleIdentifier("another"), IsEmpty());
    EXPECT_THAT(first.withBundleIdentifier(own_), IsEmpty());
}

TEST_F(RunningCopiesTest, ACopyUnderAnotherIdentifierIsToldToBoth) {
    const std::string earlier = "com.tamsworth.callminder";
    systemStandIn.applications = {{.pid = 99, .identifier = earlier, .isTerminated = true}};
    const RunningCopies first{own_, lock_};
    const RunningCopies second{own_, lock_};
    for (const auto* copies : {&first, &second}) {
        EXPECT_THAT(
            copies->withBundleIdentifier(earlier), ElementsAre(RunningApplication{99, true}));
    }
}

TEST_F(RunningCopiesTest, TheNextOneAfterItIsFirstAgain) {
    { const RunningCopies gone{own_, lock_}; }
    systemStandIn.applications = {{.pid = 4321, .identifier = own_}};
    const RunningCopies next{own_, lock_};
    EXPECT_THAT(next.withBundleIdentifier(own_), IsEmpty());
}

TEST_F(RunningCopiesTest, WithoutALockAllAreToldOfOneAnother) {
    systemStandIn.applications = {{.pid = 4321, .identifier = own_}};
    const RunningCopies copies{own_, folder_.path() / "no" / "such"};
    EXPECT_THAT(copies.withBundleIdentifier(own_), ElementsAre(RunningApplication{4321, false}));
}

} // namespace
} // namespace brindle
