// What becomes of a recording when the machine sleeps, when the session ends, and on quitting.
#include "BrindleRecorderApp/AppModel.hpp"

#include "Support/AppScene.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppModelSleep : public testing::Test, protected test::AppScene {
  protected:
    void fallAsleep() {
        systemEvents.announceSleep();
        settle();
    }
    /// Nothing happens while the machine sleeps; all that was due meanwhile is due when it wakes.
    void wakeAfter(std::chrono::seconds asleep) {
        runFor(asleep);
        systemEvents.announceWaking();
        settle();
    }
    [[nodiscard]] bool isCapturing() { return capture.output().isRecording(); }
};

TEST_F(AppModelSleep, ARecordingIsKeptBeforeTheMachineSleeps) {
    recordZoomCall();
    runFor(30s);
    fallAsleep();
    EXPECT_EQ(systemEvents.ready, 1);
    EXPECT_FALSE(isCapturing());
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_NE(sidecar(firstBaseName).endedAt, std::nullopt);
    EXPECT_FALSE(sidecar(firstBaseName).interrupted);
}

TEST_F(AppModelSleep, TheMachineWaitsForTheFile) {
    recordZoomCall();
    capture.script().finishWhenStopped = false;
    fallAsleep();
    EXPECT_EQ(systemEvents.ready, 0);
    capture.output().finish();
    settle();
    EXPECT_EQ(systemEvents.ready, 1);
}

TEST_F(AppModelSleep, ACallThatGoesOnGetsANewRecording) {
    recordZoomCall();
    fallAsleep();
    wakeAfter(3600s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    ASSERT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(isCapturing());
    const auto second = captured.back().stem().string();
    EXPECT_EQ(sidecar(second).roomCode, "zoom#1");
    EXPECT_THAT(sidecar(second).notes, IsEmpty()) << "nothing has failed";
    zoomReleasesTheMicrophone();
    runFor(30s);
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(sessionInWords(), "idle");
}

TEST_F(AppModelSleep, ACallThatIsGoneAfterTheSleepIsNotRecordedAnyMore) {
    recordZoomCall();
    fallAsleep();
    zoomReleasesTheMicrophone();
    wakeAfter(3600s);
    runFor(60s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(sessionInWords(), "idle");
}

TEST_F(AppModelSleep, ACallThatComesBackSoonAfterTheSleepGoesOn) {
    recordZoomCall();
    zoomReleasesTheMicrophone(); // as call programs do when they hear of the sleep
    runFor(1s);
    fallAsleep();
    wakeAfter(10s);
    EXPECT_FALSE(isCapturing()) << "nobody is in a call at this moment";
    zoomTakesTheMicrophone();
    settle();
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_TRUE(isCapturing());
}

TEST_F(AppModelSleep, ARecordingByHandEndsWithTheSleepWhereNobodyIsInACall) {
    launch();
    model().recordNowFromMenu();
    runFor(10s);
    fallAsleep();
    EXPECT_FALSE(isCapturing());
    wakeAfter(3600s);
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelSleep, WatchingPausesDuringSleepAndGoesOnAfterwards) {
    launch();
    fallAsleep();
    EXPECT_EQ(systemEvents.ready, 1);
    EXPECT_EQ(loop().pendingTimers(), 0U);
    wakeAfter(60s);
    EXPECT_EQ(loop().pendingTimers(), 2U);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelSleep, ACaptureThatFailsOnTheWayIntoSleepMutesNothing) {
    recordZoomCall();
    systemEvents.announceSleep();
    deviceDies();
    settle();
    EXPECT_EQ(systemEvents.ready, 1);
    wakeAfter(60s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(isCapturing());
}

TEST_F(AppModelSleep, ARestartThatIsDueDuringSleepWaitsForTheWaking) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    settle(); // the failed segment is being converted
    systemEvents.announceSleep();
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_EQ(systemEvents.ready, 1);
    EXPECT_THAT(captured, SizeIs(1));
    wakeAfter(60s);
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(isCapturing());
}

TEST_F(AppModelSleep, WakingWithoutHavingSleptDoesNothing) {
    recordZoomCall();
    systemEvents.announceWaking();
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_TRUE(isCapturing());
}

// --- The end ---

TEST_F(AppModelSleep, TheEndOfTheSessionAsksTheProgramToQuit) {
    int requests = 0;
    model().onQuitRequest = [&] {
        ++requests;
    };
    systemEvents.announceEndOfSession();
    EXPECT_EQ(requests, 1);
}

TEST_F(AppModelSleep, NobodyIsToldWhenTheProgramIsGone) {
    EXPECT_TRUE(systemEvents.isObserved());
    kill();
    EXPECT_FALSE(systemEvents.isObserved());
}

TEST_F(AppModelSleep, QuittingTakesAnOpenPromptBack) {
    defaults.setBoolean("askBeforeRecording", true);
    kill();
    start();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    ASSERT_TRUE(notifications.shown.contains("ask-zoom#1"));
    model().prepareToQuit([] {});
    EXPECT_FALSE(notifications.shown.contains("ask-zoom#1"));
    notifications.respond({.label = "zoom#1", .actionIdentifier = Notifier::recordAction});
    settle();
    EXPECT_THAT(captured, IsEmpty()) << "an answer that comes too late";
}

TEST_F(AppModelSleep, NothingBeginsAgainWhileTheProgramQuits) {
    model().launch();
    settle();
    model().prepareToQuit([] {});
    notifications.answerAuthorization(true);
    zoomTakesTheMicrophone();
    runFor(60s);
    EXPECT_EQ(loop().pendingTimers(), 0U) << "the answer does not begin the watch";
    model().recordNowFromMenu();
    systemEvents.announceSleep();
    systemEvents.announceWaking();
    runFor(60s);
    EXPECT_EQ(loop().pendingTimers(), 0U);
    EXPECT_THAT(captured, IsEmpty());
}

} // namespace
} // namespace brindle
