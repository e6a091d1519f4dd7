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
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
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
    void writingStopsAsOftenAsAllowed() {
        for (int failure = 1; failure <= 20; ++failure) {
            runFor(60s);
            writingStops();
            settle();
        }
    }
    [[nodiscard]] bool isCapturing() { return capture.output().isRecording(); }

    inline static const std::string dictation = "com.apple.assistantd";
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

TEST_F(AppModelSleep, ARecordingByHandEndsWithTheSleepAlsoBeforeTheProgramWatches) {
    model().launch();
    settle(); // the question about notifications is not answered yet
    model().recordNowFromMenu();
    settle();
    ASSERT_TRUE(isCapturing());
    fallAsleep();
    systemEvents.announceWaking();
    settle();
    EXPECT_FALSE(model().sessionState.get().isRecording());
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

// --- What was under way, or is asked for, when the machine sleeps ---

TEST_F(AppModelSleep, AStartThatStillWaitsIsMadeOnce) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    zoomReleasesTheMicrophone();
    runFor(21s); // the long conversion of the first call begins
    takesTheMicrophone(teams);
    runFor(5s);
    ASSERT_EQ(sessionInWords(), "recording teams#2");
    ASSERT_THAT(captured, SizeIs(1)) << "the start waits for the conversion";
    fallAsleep();
    wakeAfter(60s);
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(isCapturing());
    EXPECT_THAT(
        folderContents(), ElementsAre(
                              "2026-03-14_0930.json", "2026-03-14_0930.mp4", "2026-03-14_0931.json",
                              "2026-03-14_0931.mov"));
}

TEST_F(AppModelSleep, ASegmentThatFailedBeforeTheSleepIsContinuedOnce) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    settle(); // the failed segment is being converted
    fallAsleep();
    wakeAfter(60s);
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(isCapturing());
}

TEST_F(AppModelSleep, AStartThatWaitsForTheMicrophoneIsTakenBack) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    zoomTakesTheMicrophone();
    runFor(5s);
    fallAsleep();
    wakeAfter(60s);
    capture.answerAccess(MediaType::audio, true);
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_TRUE(isCapturing());
}

TEST_F(AppModelSleep, ARestartThatASleepOvertakesIsNotSaidToGoOnInAFileThatNeverCame) {
    recordZoomCall();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    deviceDies();
    settle();
    ASSERT_THAT(
        sidecar(firstBaseName).notes, ElementsAre(EndsWith("continued in 2026-03-14_0930-2.mp4")));
    const auto closedAt = sidecar(firstBaseName).endedAt;
    fallAsleep();
    wakeAfter(3600s);
    capture.answerAccess(MediaType::audio, true);
    settle();
    ASSERT_THAT(captured, SizeIs(2));
    EXPECT_EQ(captured.back().stem(), "2026-03-14_1030");
    EXPECT_THAT(sidecar(firstBaseName).notes, ElementsAre(Not(HasSubstr("continued in"))));
    EXPECT_EQ(sidecar(firstBaseName).endedAt, closedAt);
}

TEST_F(AppModelSleep, ARecordingThatIsNotToBeRestartedIsNotResumedEither) {
    recordZoomCall();
    writingStopsAsOftenAsAllowed();
    ASSERT_THAT(captured, SizeIs(21));
    exporter().script().finishAtOnce = false;
    writingStops(); // once more than is allowed
    settle();
    fallAsleep();
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    wakeAfter(60s);
    runFor(10min);
    EXPECT_THAT(captured, SizeIs(21));
    EXPECT_FALSE(isCapturing());
}

TEST_F(AppModelSleep, ARecordingThatIsNotToBeRestartedIsNotResumedBeforeItIsConverted) {
    recordZoomCall();
    writingStopsAsOftenAsAllowed();
    exporter().script().finishAtOnce = false;
    writingStops();
    settle();
    fallAsleep();
    wakeAfter(60s); // the start after waking waits for the conversion
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(21));
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
}

TEST_F(AppModelSleep, AFailureTooManyOnTheWayIntoSleepEndsTheRecordingOfItsCall) {
    recordZoomCall();
    writingStopsAsOftenAsAllowed();
    ASSERT_THAT(captured, SizeIs(21));
    systemEvents.announceSleep(); // the segment is ended before anybody sees to its failure
    deviceDies();
    settle();
    EXPECT_EQ(systemEvents.ready, 1);
    wakeAfter(60s);
    runFor(60s);
    EXPECT_THAT(captured, SizeIs(21));
    EXPECT_FALSE(isCapturing());
}

TEST_F(AppModelSleep, AnAnswerThatComesDuringSleepCountsAfterWaking) {
    defaults.setBoolean("askBeforeRecording", true);
    kill();
    start();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    fallAsleep();
    ASSERT_EQ(systemEvents.ready, 1);
    userAnswers("zoom#1", true);
    settle();
    EXPECT_THAT(captured, IsEmpty()) << "it was said that nothing runs any more";
    wakeAfter(60s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelSleep, NothingIsRecordedByHandDuringSleep) {
    launch();
    fallAsleep();
    ASSERT_EQ(systemEvents.ready, 1);
    model().recordNowFromMenu();
    settle();
    EXPECT_THAT(captured, IsEmpty());
    EXPECT_EQ(sessionInWords(), "idle");
    wakeAfter(60s);
    EXPECT_THAT(captured, IsEmpty()) << "nobody is in a call";
    model().recordNowFromMenu();
    settle();
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelSleep, TheWatchThatALaunchBeginsWaitsForTheWaking) {
    model().launch();
    settle();
    fallAsleep();
    notifications.answerAuthorization(true);
    zoomTakesTheMicrophone();
    runFor(60s);
    EXPECT_THAT(captured, IsEmpty());
    EXPECT_EQ(loop().pendingTimers(), 0U);
    wakeAfter(60s);
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelSleep, AnIgnoredProgramDoesNotResumeARecording) {
    recordZoomCall();
    fallAsleep();
    zoomReleasesTheMicrophone();
    takesTheMicrophone(dictation);
    wakeAfter(10s);
    EXPECT_FALSE(isCapturing());
    runFor(60s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(sessionInWords(), "idle");
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
