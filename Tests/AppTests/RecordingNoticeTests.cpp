// The notification that says where no icon does that something is being recorded.
#include "BrindleRecorderApp/Shell/RecordingNotice.hpp"

#include "AppTests/ShellFixture.hpp"
#include "Support/FakeMenuWindow.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingNoticeTest : public test::ShellFixture {
  protected:
    RecordingNoticeTest() {
        statusItem.hasTray = false;
        notice_.emplace(model, statusItem, window_, loop, [this] { ++timesOpened_; });
        launch();
        runFor(5); // a panel would be there by now
    }

    /// The notifications on the screen that say so.
    std::vector<NotificationRequest> shown() {
        std::vector<NotificationRequest> result;
        for (const auto& [identifier, request] : notifications.shown) {
            if (request.isResident) {
                result.push_back(request);
            }
        }
        return result;
    }
    /// The user does something with the notification that shows.
    void answer(const std::string& action) {
        ASSERT_THAT(shown(), SizeIs(1));
        notifications.respond(
            {.label = {}, .actionIdentifier = action, .identifier = shown().front().identifier});
        settle();
    }

    bool hasMovie() {
        runFor(60);
        const auto movie = folder.root / "2026-03-14_0930";
        return files.fileExists(movie.string() + ".mp4") ||
               files.fileExists(movie.string() + ".mov");
    }

    test::FakeMenuWindow window_{statusItem};
    std::optional<RecordingNotice> notice_;
    int timesOpened_ = 0;
};

TEST_F(RecordingNoticeTest, ComesAndGoesWithTheRecording) {
    EXPECT_THAT(shown(), IsEmpty());
    record();
    ASSERT_THAT(shown(), SizeIs(1));
    EXPECT_EQ(shown()[0].title, "Brindle Recorder is recording");
    EXPECT_EQ(
        shown()[0].body, "Manual recording. To see more of it, launch Brindle Recorder again.");
    EXPECT_EQ(shown()[0].categoryIdentifier, "brindle.recording");
    EXPECT_THAT(
        notifications.categories.back(),
        (NotificationCategory{
            .identifier = "brindle.recording",
            .actions = {
                {.identifier = "brindle.stop", .title = "Stop recording"},
                {.identifier = "brindle.discard", .title = "Stop and Discard"}}}));
    runFor(3);
    EXPECT_THAT(shown(), SizeIs(1));
    model.stopRecordingFromMenu();
    settle();
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(RecordingNoticeTest, SaysWhichCallItIs) {
    zoomTakesTheMicrophone();
    runFor(6);
    ASSERT_THAT(shown(), SizeIs(1));
    EXPECT_EQ(shown()[0].body, "zoom.us. To see more of it, launch Brindle Recorder again.");
}

TEST_F(RecordingNoticeTest, IsNotShownWhereAnIconSaysTheSame) {
    window_.setTray(true);
    record();
    runFor(60);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(notifications.categories, SizeIs(1)) << "nobody needs its buttons";
}

TEST_F(RecordingNoticeTest, GoesWhenAPanelComesAndComesBackWhenItStaysAway) {
    record();
    window_.setTray(true);
    EXPECT_THAT(shown(), IsEmpty());
    window_.setTray(false);
    runFor(4);
    EXPECT_THAT(shown(), IsEmpty()) << "the panel may be starting again";
    runFor(2);
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(RecordingNoticeTest, APanelThatIsBackInTimeIsNotMissed) {
    window_.setTray(true);
    record();
    window_.setTray(false);
    runFor(3);
    window_.setTray(true);
    runFor(60);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(RecordingNoticeTest, WaitsForThePanelOfADesktopThatIsJustComingUp) {
    notice_.emplace(model, statusItem, window_, loop, [this] { ++timesOpened_; });
    record();
    EXPECT_THAT(shown(), IsEmpty());
    runFor(6);
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(RecordingNoticeTest, StopsAndKeeps) {
    record();
    answer("brindle.stop");
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_TRUE(hasMovie());
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(RecordingNoticeTest, StopsAndDiscards) {
    record();
    answer("brindle.discard");
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_FALSE(hasMovie());
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(RecordingNoticeTest, AClickOnItOpensTheMenuAndEndsNothing) {
    record();
    answer(NotificationResponse::defaultAction);
    EXPECT_EQ(timesOpened_, 1);
    EXPECT_TRUE(model.sessionState.get().isRecording());
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(RecordingNoticeTest, WhatTheUserClosesStaysAwayUntilTheNextRecording) {
    record();
    answer(NotificationResponse::dismissAction);
    EXPECT_TRUE(model.sessionState.get().isRecording());
    window_.setTray(true);
    window_.setTray(false);
    runFor(60);
    EXPECT_THAT(shown(), IsEmpty());
    model.stopRecordingFromMenu();
    settle();
    record();
    EXPECT_THAT(shown(), SizeIs(1));
}

TEST_F(RecordingNoticeTest, AnAnswerThatComesLateIsForNoOtherRecording) {
    record();
    const std::string first = shown().front().identifier;
    model.stopRecordingFromMenu();
    settle();
    record();
    notifications.respond(
        {.label = {}, .actionIdentifier = "brindle.discard", .identifier = first});
    settle();
    EXPECT_TRUE(model.sessionState.get().isRecording());
}

TEST_F(RecordingNoticeTest, LeavesTheQuestionAlone) {
    record();
    notifications.respond({.label = "zoom#1", .actionIdentifier = "brindle.stop"});
    notifications.respond({.label = {}, .actionIdentifier = "brindle.stop"});
    settle();
    EXPECT_TRUE(model.sessionState.get().isRecording());
}

TEST_F(RecordingNoticeTest, GoesWithTheProgram) {
    record();
    model.prepareToQuit([] {});
    settle();
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(RecordingNoticeTest, GoesWithWhoeverPostedIt) {
    record();
    notice_.reset();
    EXPECT_THAT(shown(), IsEmpty());
    notifications.respond({.label = {}, .actionIdentifier = "brindle.stop"});
    EXPECT_TRUE(model.sessionState.get().isRecording());
}

} // namespace
} // namespace brindle
