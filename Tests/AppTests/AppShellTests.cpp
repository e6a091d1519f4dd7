#include "BrindleRecorderApp/Shell/AppShell.hpp"

#include "AppTests/ShellFixture.hpp"
#include "Support/FakeControlPort.hpp"
#include "Support/FakeMenuWindow.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class AppShellTest : public test::ShellFixture {
  protected:
    test::FakeControlPort controlPort_;
    test::FakeMenuWindow menuWindow_{statusItem};
    std::optional<AppShell> shell_{std::in_place, model,        environment,
                                   statusItem,    controlPort_, &menuWindow_};

    /// Another launch on the same desktop, as far as the notice is concerned.
    void launchAgain() {
        MissingTrayNotice notice{model, environment, statusItem};
        notice.launch();
        runFor(60);
    }
    /// The words of that line of the menu on the screen; empty without the line.
    std::string textOf(const std::string& id) {
        for (const auto& item : statusItem.menu()) {
            if (item.id == id && item.asText() != nullptr) {
                return item.asText()->text;
            }
        }
        return {};
    }
};

TEST_F(AppShellTest, ShowsIconAndMenuAtOnce) {
    EXPECT_THAT(statusItem.icons, SizeIs(1));
    EXPECT_THAT(statusItem.menus, SizeIs(1));
    EXPECT_THAT(statusItem.windows, IsEmpty());
}

TEST_F(AppShellTest, KeepsTheMenuOnTheScreenTrue) {
    test::publish(model.statusLine, "another");
    settle();
    EXPECT_EQ(textOf("status"), "another");
}

TEST_F(AppShellTest, CarriesOutWhatTheUserPicks) {
    statusItem.activate("recording.start");
    settle();
    EXPECT_TRUE(model.sessionState.get().isRecording());
    EXPECT_EQ(statusItem.icon().accessibilityDescription, "Brindle Recorder: recording");
}

TEST_F(AppShellTest, HearsThatTheMenuOpens) {
    loginItems.current = LoginItemStatus::requiresApproval;
    statusItem.openMenu();
    EXPECT_EQ(textOf("login.approval"), "Approve in System Settings > General > Login Items");
}

TEST_F(AppShellTest, TellsOnceHowToLiveWithoutATray) {
    statusItem.hasTray = false;
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    runFor(29);
    EXPECT_THAT(notifications.posted, IsEmpty()) << "the panel may still be starting";
    runFor(2);
    ASSERT_THAT(notifications.posted, SizeIs(1));
    EXPECT_EQ(notifications.posted[0].title, "Brindle Recorder is running");
    EXPECT_EQ(
        notifications.posted[0].body,
        "This desktop shows no icon for it. Launch it again to see what it is doing, and to steer "
        "it.");

    launchAgain();
    EXPECT_THAT(notifications.posted, SizeIs(1));
}

TEST_F(AppShellTest, TellsOfAMissingTrayAgainUntilSomebodyHasShownIt) {
    statusItem.hasTray = false;
    notifications.shows = false; // no notification server
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    runFor(31);
    ASSERT_THAT(notifications.posted, SizeIs(1));
    notifications.shows = true;
    launchAgain();
    EXPECT_THAT(notifications.posted, SizeIs(2));
    launchAgain();
    EXPECT_THAT(notifications.posted, SizeIs(2));
}

TEST_F(AppShellTest, RemembersThatItHasToldBesideThePreferencesNotAmongThem) {
    statusItem.hasTray = false;
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    model.settings.preferredVideoDeviceID.set("cam-1");
    model.settings.preferredAudioDeviceID.set("mic-1");
    model.settings.disabledCallFamilies.set({"zoom"});
    model.settings.askBeforeRecording.set(true);
    runFor(31);
    std::vector<std::string> keys;
    for (const auto& [key, value] : defaults.values) {
        keys.push_back(key);
    }
    EXPECT_THAT(
        keys, testing::ElementsAre(
                  "askBeforeRecording", "disabledCallFamilies", "hasShownFirstRunWindow",
                  "preferredAudioDeviceID", "preferredVideoDeviceID"));
    EXPECT_EQ(state.boolean("hasToldOfMissingTray"), true);
}

TEST_F(AppShellTest, AMarkThatAnEarlierVersionLeftAmongThePreferencesIsLeftAlone) {
    defaults.values["hasToldOfMissingTray"] = true;
    statusItem.hasTray = false;
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    runFor(31);
    EXPECT_THAT(notifications.posted, SizeIs(1));
    EXPECT_THAT(defaults.writtenKeys, testing::Not(testing::Contains("hasToldOfMissingTray")));
}

TEST_F(AppShellTest, SaysNothingOfATrayThatComesLate) {
    statusItem.hasTray = false;
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    runFor(20);
    statusItem.hasTray = true;
    runFor(60);
    EXPECT_THAT(notifications.posted, IsEmpty());
}

TEST_F(AppShellTest, AnotherLaunchShowsTheWindowWhereNoPanelShowsTheIcon) {
    statusItem.hasTray = false;
    EXPECT_TRUE(controlPort_.ask(ControlCommand::Kind::show));
    EXPECT_EQ(menuWindow_.timesShown, 1);
}

TEST_F(AppShellTest, AnotherLaunchHasThePanelOpenTheMenu) {
    EXPECT_TRUE(controlPort_.ask(ControlCommand::Kind::show));
    EXPECT_EQ(menuWindow_.timesAsked, 1);
    statusItem.openMenu();
    runFor(60);
    EXPECT_EQ(menuWindow_.timesShown, 0);
}

TEST_F(AppShellTest, WhereNoIconShowsANotificationSaysThatSomethingIsRecorded) {
    statusItem.hasTray = false;
    shell_->launch();
    settle();
    notifications.answerAuthorization(true);
    runFor(10);
    record();
    ASSERT_THAT(notifications.posted, SizeIs(1));
    const auto notice = notifications.posted[0];
    EXPECT_TRUE(notice.isResident);
    notifications.respond(
        {.label = {},
         .actionIdentifier = NotificationResponse::defaultAction,
         .identifier = notice.identifier});
    EXPECT_EQ(menuWindow_.timesShown, 1);
    shell_.reset();
    EXPECT_THAT(notifications.shown, IsEmpty());
}

TEST_F(AppShellTest, ADesktopThatAlwaysShowsTheIconHasNeitherWindowNorNotice) {
    shell_.reset();
    statusItem.hasTray = false;
    AppShell shell{model, environment, statusItem, controlPort_};
    EXPECT_FALSE(controlPort_.ask(ControlCommand::Kind::show));
    runFor(10);
    record();
    runFor(3);
    EXPECT_THAT(notifications.posted, IsEmpty());
}

TEST_F(AppShellTest, TheFirstLaunchShowsTheWindowBeforeAnythingIsAsked) {
    shell_->launch();
    EXPECT_THAT(statusItem.windows, SizeIs(1));
    EXPECT_EQ(defaults.boolean("hasShownFirstRunWindow"), true);
    EXPECT_THAT(notifications.authorizationRequests, IsEmpty());
    settle();
    EXPECT_THAT(notifications.authorizationRequests, SizeIs(1));
}

TEST_F(AppShellTest, LaterLaunchesShowNoWindow) {
    model.settings.hasShownFirstRunWindow.set(true);
    shell_->launch();
    settle();
    EXPECT_THAT(statusItem.windows, IsEmpty());
    EXPECT_THAT(notifications.authorizationRequests, SizeIs(1));
}

TEST_F(AppShellTest, AClickAfterTheEndDoesNothing) {
    shell_.reset();
    statusItem.activate("recording.start");
    statusItem.openMenu();
    settle();
    EXPECT_TRUE(model.sessionState.get().isIdle());
}

} // namespace
} // namespace brindle
