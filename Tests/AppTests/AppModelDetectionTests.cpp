// How the application finds calls, asks about them and drives the session.
#include "BrindleRecorderApp/AppModel.hpp"

#include "Support/AppScene.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Operation = test::InMemoryFileManager::Operation;

class AppModelDetection : public testing::Test, protected test::AppScene {
  protected:
    /// The texts of the prompts so far.
    [[nodiscard]] std::vector<std::string> prompts() const {
        std::vector<std::string> texts;
        for (const auto& request : notifications.posted) {
            if (request.categoryIdentifier == Notifier::askCategory) {
                texts.push_back(request.identifier + ": " + request.body);
            }
        }
        return texts;
    }

    void askBeforeRecording() { model().settings.askBeforeRecording.set(true); }
};

// --- Construction ---

TEST_F(AppModelDetection, IsIdleAtFirstAndDoesNotWatch) {
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_EQ(model().lastRecordingError.get(), std::nullopt);
    EXPECT_EQ(model().currentCallName(), std::nullopt);
    EXPECT_EQ(loop().pendingTimers(), 0U);
    EXPECT_EQ(audio.processesListeners(), 0U);
}

TEST_F(AppModelDetection, MakesTheRecordingsFolderWhenMade) {
    EXPECT_TRUE(files.isDirectory(folder.root));
    EXPECT_EQ(model().folderSizeText.get(), "0 bytes");
}

TEST_F(AppModelDetection, ShowsTheSizeOfWhatIsThereWhenMade) {
    kill();
    files.putFile(folder.mp4URL("old"), std::string(12'000, 'x'));
    start();
    EXPECT_EQ(model().folderSizeText.get(), "12 KB");
}

TEST_F(AppModelDetection, AFolderThatCannotBeMadeKeepsNobodyFromWatching) {
    kill();
    files.removeTree(folder.root);
    files.failEveryCall(Operation::createDirectory);
    start();
    EXPECT_EQ(model().folderSizeText.get(), "0 bytes");
    launch();
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
}

TEST_F(AppModelDetection, KnowsThePermissionsAtOnce) {
    kill();
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::denied);
    start();
    EXPECT_FALSE(model().permissions.cameraAuthorized.get());
    EXPECT_TRUE(model().permissions.microphoneAuthorized.get());
}

// --- Launching ---

TEST_F(AppModelDetection, WatchesOnlyOnceTheUserHasDecidedAboutNotifications) {
    model().launch();
    zoomTakesTheMicrophone();
    runFor(15s);
    EXPECT_EQ(sessionInWords(), "idle");
    notifications.answerAuthorization(false);
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, AQuestionAboutNotificationsThatNobodyAnswersCostsNoCall) {
    model().launch();
    zoomTakesTheMicrophone();
    runFor(20s + 5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_EQ(loop().pendingTimers(), 3U) << "poll, tick and the recorder's watchdog";
    notifications.answerAuthorization(true);
    settle();
    EXPECT_EQ(loop().pendingTimers(), 3U) << "watches once only";
}

TEST_F(AppModelDetection, AnAnswerAboutNotificationsThatComesTooLateBeginsNothingAnew) {
    model().launch();
    runFor(20s);
    model().stopPolling();
    ASSERT_EQ(loop().pendingTimers(), 0U);
    notifications.answerAuthorization(true);
    settle();
    EXPECT_EQ(loop().pendingTimers(), 0U) << "the launch has had its turn";
}

TEST_F(AppModelDetection, AsksForTheDevicesAfterTheRepair) {
    kill();
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::notDetermined);
    files.putFile(folder.movURL("old"), "captured");
    auto interrupted = std::string{R"({"roomCode":"zoom#1","startedAt":"2026-03-13T10:00:00Z",)"} +
                       R"("endedAt":null,"videoDevice":"c","audioDevice":"m",)" +
                       R"("fallbackUsed":false,"interrupted":false,"notes":[]})";
    files.putFile(folder.sidecarURL("old"), interrupted);
    start();
    exporter().script().finishAtOnce = false;
    launch();
    EXPECT_EQ(loop().pendingTimers(), 3U) << "watches while it repairs";
    ASSERT_EQ(capture.waitingAccessQuestions(MediaType::video), 0U);
    exporter().finish();
    settle();
    EXPECT_EQ(capture.waitingAccessQuestions(MediaType::video), 1U);
}

// --- The two timers ---

TEST_F(AppModelDetection, StartingToPollTwiceMakesOnePairOfTimers) {
    model().startPolling();
    model().startPolling();
    EXPECT_EQ(loop().pendingTimers(), 2U);
    EXPECT_EQ(audio.processesListeners(), 1U);
    runFor(1500ms);
    capture.addCamera(webcam);
    model().startPolling();
    settle();
    EXPECT_THAT(model().devices.cameras().get(), SizeIs(1)) << "no poll before its time";
    EXPECT_EQ(loop().pendingTimers(), 2U);
}

TEST_F(AppModelDetection, PollingStopsAndStartsAgain) {
    launch();
    model().stopPolling();
    EXPECT_EQ(loop().pendingTimers(), 0U);
    EXPECT_EQ(audio.processesListeners(), 0U);
    zoomTakesTheMicrophone();
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "idle");
    model().startPolling();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, PollingStopsFromWithinAPoll) {
    launch();
    const auto observed =
        model().devices.cameras().observe([this](const auto&) { model().stopPolling(); });
    capture.addCamera(webcam);
    runFor(60s);
    EXPECT_EQ(loop().pendingTimers(), 0U);
}

TEST_F(AppModelDetection, PollingStopsFromWithinATick) {
    launch();
    runFor(2s);
    zoomTakesTheMicrophone();
    const auto observed =
        model().sessionState.observe([this](const SessionState&) { model().stopPolling(); });
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_EQ(loop().pendingTimers(), 1U) << "the recorder's watchdog";
}

TEST_F(AppModelDetection, AUserOfTheMicrophoneThatNobodyReportedIsFoundByTheNextPoll) {
    launch();
    runFor(500ms);
    audio.setProcess(7, {.runningInput = true, .pid = 77, .bundleID = zoom});
    // The pass of the first second looks at the old snapshot, the poll of the second at a new one.
    runFor(6499ms);
    EXPECT_EQ(sessionInWords(), "idle");
    runFor(1ms);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, AReportedChangeIsEvaluatedAtOnce) {
    launch();
    runFor(500ms);
    zoomTakesTheMicrophone();
    runFor(4999ms);
    EXPECT_EQ(sessionInWords(), "idle");
    runFor(501ms); // the first pass five seconds after the report
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, EveryPollReadsPermissionsAndDevicesAgain) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::denied);
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::restricted);
    capture.addCamera(webcam);
    runFor(1999ms);
    EXPECT_TRUE(model().permissions.microphoneAuthorized.get());
    EXPECT_THAT(model().devices.cameras().get(), SizeIs(1));
    runFor(1ms);
    EXPECT_FALSE(model().permissions.microphoneAuthorized.get());
    EXPECT_FALSE(model().permissions.cameraAuthorized.get());
    EXPECT_THAT(model().devices.cameras().get(), SizeIs(2));
}

// --- Passes ---

TEST_F(AppModelDetection, ACallIsDetectedRecordedAndForgotten) {
    launch();
    zoomTakesTheMicrophone();
    runFor(4999ms);
    EXPECT_EQ(sessionInWords(), "idle");
    runFor(1ms);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_EQ(model().currentCallName(), "zoom.us");
    EXPECT_EQ(
        statusLine(), "Recording 00:00 — zoom.us — Integrated Camera / Integrated Microphone");
    runFor(60s);
    zoomReleasesTheMicrophone();
    runFor(19999ms);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    runFor(1ms);
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_EQ(statusLine(), "Not recording this call");
    runFor(1s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
    EXPECT_EQ(model().currentCallName(), std::nullopt);
}

TEST_F(AppModelDetection, LogsTheBeginningAndTheEndOfACall) {
    recordZoomCall();
    EXPECT_THAT(
        linesAbout("call "), ElementsAre("call detected: zoom.us [us.zoom.xos] site=- → zoom#1"));
    zoomReleasesTheMicrophone();
    runFor(20s);
    EXPECT_THAT(linesAbout("call ended"), ElementsAre("call ended: zoom#1"));
}

TEST_F(AppModelDetection, TwoPassesWithoutACallEndTheSession) {
    recordZoomCall();
    model().stopPolling(); // so that only these passes count
    zoomReleasesTheMicrophone();
    model().evaluateCalls(true);
    clock.advance(20s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "idle");
}

TEST_F(AppModelDetection, APassLooksAtTheLastSnapshotUnlessItIsToReadTheMicrophone) {
    audio.setProcess(7, {.runningInput = true, .pid = 77, .bundleID = zoom});
    model().evaluateCalls(false);
    clock.advance(5s);
    model().evaluateCalls(true);
    EXPECT_EQ(sessionInWords(), "idle") << "first seen just now";
    clock.advance(5s);
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, ADropOutDoesNotSplitACall) {
    recordZoomCall();
    zoomReleasesTheMicrophone();
    runFor(19s);
    zoomTakesTheMicrophone();
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelDetection, WindowTitlesOfBrowsersAreReadAgainAtEveryPass) {
    launch();
    chromeTakesTheMicrophone();
    showsWindow(chrome, "New Tab");
    runFor(7s);
    EXPECT_EQ(sessionInWords(), "idle") << "a browser without a meeting waits longer";
    showsWindow(chrome, "Meet - abc-defg-hij"); // which nobody reports
    runFor(1s);
    EXPECT_EQ(sessionInWords(), "recording chrome#1");
    EXPECT_EQ(model().currentCallName(), "Google Chrome (meet.google.com)");
    EXPECT_THAT(
        linesAbout("call detected"),
        ElementsAre(
            "call detected: Google Chrome [com.google.Chrome] site=meet.google.com → chrome#1"));
}

TEST_F(AppModelDetection, ABrowserWhoseTitlesMayNotBeReadIsACallAfterTwentySeconds) {
    windows.permitted = false;
    launch();
    chromeTakesTheMicrophone();
    showsWindow(chrome, "Meet - abc-defg-hij");
    runFor(19999ms);
    EXPECT_EQ(sessionInWords(), "idle");
    runFor(1ms);
    EXPECT_EQ(sessionInWords(), "recording chrome#1");
    EXPECT_EQ(model().currentCallName(), "Google Chrome");
}

TEST_F(AppModelDetection, WindowTitlesOfCallProgramsAreOfNoInterest) {
    launch();
    showsWindow(zoom, "Meet - abc-defg-hij");
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sidecar(firstBaseName).source->site, std::nullopt);
    EXPECT_EQ(model().currentCallName(), "zoom.us");
}

TEST_F(AppModelDetection, WhereOnlyTheDeviceIsKnownItsUseDuringARecordingSaysNothing) {
    audio.setCanListProcesses(false);
    audio.setDevice(1, {.uniqueID = builtInMicrophone.uniqueID, .runningSomewhere = true});
    model().setAutoRecord("other", true);
    launch();
    runFor(20s);
    EXPECT_EQ(sessionInWords(), "recording other:pid -1#1");
    // From here on the device is in use by the recording itself.
    runFor(30s);
    EXPECT_THAT(linesAbout("call ended"), ElementsAre("call ended: other:pid -1#1"));
}

// --- Settings ---

TEST_F(AppModelDetection, AProgramThatIsSwitchedOffIsNoCallFromTheNextPassOn) {
    launch();
    zoomTakesTheMicrophone();
    runFor(4s);
    model().setAutoRecord("zoom", false);
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "idle");
    model().setAutoRecord("zoom", true);
    runFor(6s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, AskingFirstTakesEffectOnTheNextPass) {
    launch();
    zoomTakesTheMicrophone();
    runFor(4s);
    askBeforeRecording();
    runFor(1s);
    EXPECT_THAT(prompts(), SizeIs(1));
    EXPECT_EQ(sessionInWords(), "idle");
}

TEST_F(AppModelDetection, UnknownProgramsAreNoCallsUntilTheUserSaysSo) {
    launch();
    takesTheMicrophone("com.example.tool");
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "idle");
    model().setAutoRecord("other", true);
    runFor(21s);
    EXPECT_EQ(sessionInWords(), "recording other:com.example.tool#1");
}

TEST_F(AppModelDetection, WithAnEmptyListStoredUnknownProgramsAreCallsToo) {
    kill();
    defaults.setStringArray("disabledCallFamilies", {});
    start();
    launch();
    takesTheMicrophone("com.example.tool");
    runFor(20s);
    EXPECT_EQ(sessionInWords(), "recording other:com.example.tool#1");
}

TEST_F(AppModelDetection, AutomaticRecordingOfAFamilyIsStored) {
    model().setAutoRecord("zoom", false);
    model().setAutoRecord("teams", false);
    model().setAutoRecord("zoom", true);
    EXPECT_EQ(
        defaults.stringArray("disabledCallFamilies"), (std::vector<std::string>{"other", "teams"}));
}

// --- The prompt ---

TEST_F(AppModelDetection, ThePromptNamesTheProgramAndNothingIsRecorded) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_THAT(prompts(), ElementsAre("ask-zoom#1: zoom.us is using the microphone."));
    EXPECT_EQ(statusLine(), "Call detected — record it? (see notification)");
    runFor(60s);
    EXPECT_THAT(prompts(), SizeIs(1));
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_THAT(captured, IsEmpty());
    EXPECT_THAT(linesAbout("call detected"), IsEmpty());
}

TEST_F(AppModelDetection, ThePromptNamesTheMeetingSiteOfABrowser) {
    askBeforeRecording();
    launch();
    showsWindow(chrome, "Meet - abc-defg-hij");
    chromeTakesTheMicrophone();
    runFor(5s);
    EXPECT_THAT(
        prompts(),
        ElementsAre("ask-chrome#1: Google Chrome (meet.google.com) is using the microphone."));
}

TEST_F(AppModelDetection, AnsweringRecordStartsAtOnce) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    userAnswers("zoom#1", true);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(sidecar(firstBaseName).startedAt, clock.now());
    EXPECT_THAT(
        linesAbout("call detected"),
        ElementsAre("call detected: zoom.us [us.zoom.xos] site=- → zoom#1"));
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelDetection, AnsweringSkipLeavesTheCallAloneUntilItIsOver) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    userAnswers("zoom#1", false);
    runFor(60s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
    EXPECT_THAT(prompts(), SizeIs(1));
    zoomReleasesTheMicrophone();
    runFor(20s);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_THAT(prompts(), SizeIs(2));
}

TEST_F(AppModelDetection, AClickOnThePromptItselfRecordsTheCall) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    notifications.respondToAsk("zoom#1", NotificationResponse::defaultAction);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    settle();
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelDetection, ClosingThePromptLeavesTheQuestionOpenUntilTheCallIsOver) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    notifications.respondToAsk("zoom#1", NotificationResponse::dismissAction);
    runFor(10min);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(statusLine(), "Call detected — record it? (see notification)");
    EXPECT_THAT(prompts(), SizeIs(1)) << "nobody is asked again";
    zoomReleasesTheMicrophone();
    runFor(19999ms);
    EXPECT_EQ(model().pendingAskLabel.get(), "zoom#1");
    runFor(1ms);
    EXPECT_EQ(model().pendingAskLabel.get(), std::nullopt);
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_THAT(prompts(), SizeIs(2)) << "the next call has a question of its own";
    EXPECT_THAT(captured, IsEmpty());
}

TEST_F(AppModelDetection, ThePromptIsTakenBackInThePassThatFindsTheCallOver) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    zoomReleasesTheMicrophone();
    runFor(19999ms);
    EXPECT_THAT(notifications.removed, IsEmpty());
    runFor(1ms);
    EXPECT_THAT(notifications.removed, ElementsAre("ask-zoom#1"));
    EXPECT_EQ(statusLine(), "Idle — watching for calls");
    runFor(5s);
    EXPECT_THAT(notifications.removed, SizeIs(1)) << "once";
}

TEST_F(AppModelDetection, RecordingByHandTakesThePromptBack) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    model().recordNowFromMenu();
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    runFor(1s);
    EXPECT_THAT(notifications.removed, ElementsAre("ask-zoom#1"));
}

TEST_F(AppModelDetection, AnAnswerToAnOldQuestionRecordsNothing) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    zoomReleasesTheMicrophone();
    runFor(21s);
    notifications.respond({.label = "zoom#1", .actionIdentifier = Notifier::recordAction});
    runFor(1s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_THAT(captured, IsEmpty());
}

TEST_F(AppModelDetection, AnAnswerToAnOldQuestionIsNoneToThePresentOne) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    zoomReleasesTheMicrophone();
    runFor(21s);
    zoomTakesTheMicrophone();
    runFor(5s);
    notifications.respond({.label = "zoom#1", .actionIdentifier = Notifier::recordAction});
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(model().pendingAskLabel.get(), "zoom#2") << "still asks";
    userAnswers("zoom#2", true);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
}

// --- What capture is told beforehand ---

TEST_F(AppModelDetection, ExpectsARecordingFromTheFirstSignOfACallUntilItRuns) {
    launch();
    runFor(10s);
    EXPECT_THAT(capture.expectations(), IsEmpty());
    zoomTakesTheMicrophone();
    settle();
    EXPECT_THAT(capture.expectations(), ElementsAre(true));
    runFor(4s);
    EXPECT_THAT(capture.expectations(), ElementsAre(true)) << "the call has not been detected yet";
    runFor(60s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false));
}

TEST_F(AppModelDetection, ExpectsNoRecordingAnyMoreWhenWhatLookedLikeACallWasNone) {
    launch();
    zoomTakesTheMicrophone();
    runFor(3s);
    zoomReleasesTheMicrophone();
    settle();
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false));
}

TEST_F(AppModelDetection, ExpectsNoRecordingOfWhatIsNeverRecorded) {
    model().setAutoRecord("zoom", false);
    launch();
    zoomTakesTheMicrophone();
    runFor(30s);
    EXPECT_THAT(capture.expectations(), IsEmpty());
}

TEST_F(AppModelDetection, ExpectsARecordingAsLongAsTheUserIsAsked) {
    askBeforeRecording();
    launch();
    zoomTakesTheMicrophone();
    runFor(10min);
    EXPECT_THAT(capture.expectations(), ElementsAre(true));
    userAnswers("zoom#1", false);
    runFor(1s);
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false));
}

TEST_F(AppModelDetection, ExpectsARecordingThatTheUserBeginsUntilItRuns) {
    launch();
    holdCaptureQueue(true);
    model().recordNowFromMenu();
    EXPECT_THAT(capture.expectations(), ElementsAre(true));
    holdCaptureQueue(false);
    settle();
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false));
}

TEST_F(AppModelDetection, ExpectsNoRecordingOfACallThatTheUserEnded) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    runFor(60s);
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false));
}

// --- The clock ---

TEST_F(AppModelDetection, TheClockFollowsTheWallTimeOnlyWhileNoCallGoesOn) {
    const auto takenOverIn = [this](std::chrono::seconds duration) {
        const int before = wallTimesTakenOver;
        runFor(duration);
        return wallTimesTakenOver - before;
    };
    launch();
    EXPECT_GT(takenOverIn(10s), 0);
    zoomTakesTheMicrophone();
    EXPECT_EQ(takenOverIn(4s), 0) << "a call that may be beginning";
    EXPECT_EQ(takenOverIn(60s), 0) << "a call";
    zoomReleasesTheMicrophone();
    EXPECT_EQ(takenOverIn(19s), 0) << "a call that may go on";
    runFor(5s);
    EXPECT_GT(takenOverIn(10s), 0);
}

TEST_F(AppModelDetection, TheClockDoesNotFollowTheWallTimeDuringARecordingByHand) {
    launch();
    model().recordNowFromMenu();
    settle();
    const int before = wallTimesTakenOver;
    runFor(60s);
    EXPECT_EQ(wallTimesTakenOver, before);
}

TEST_F(AppModelDetection, TheClockDoesNotFollowTheWallTimeWhileAMovieIsConverted) {
    recordZoomCall();
    zoomReleasesTheMicrophone();
    exporter().script().finishAtOnce = false;
    runFor(30s);
    const int before = wallTimesTakenOver;
    runFor(30s);
    EXPECT_EQ(wallTimesTakenOver, before);
    exporter().finish();
    runFor(5s);
    EXPECT_GT(wallTimesTakenOver, before);
}

// --- By hand ---

TEST_F(AppModelDetection, RecordsByHandWithoutACall) {
    launch();
    model().recordNowFromMenu();
    EXPECT_EQ(sessionInWords(), "recording manual#1");
    EXPECT_EQ(model().currentCallName(), "Manual recording");
    settle();
    EXPECT_EQ(
        statusLine(),
        "Recording 00:00 — Manual recording — Integrated Camera / Integrated Microphone");
    EXPECT_EQ(sidecar(firstBaseName).source->kind, CallSource::Kind::manual);
    runFor(10min);
    EXPECT_EQ(sessionInWords(), "recording manual#1") << "only the user ends it";
}

TEST_F(AppModelDetection, ARecordingByHandIsAttributedToTheProgramThatUsesTheMicrophone) {
    launch();
    zoomTakesTheMicrophone();
    runFor(1s);
    model().recordNowFromMenu();
    EXPECT_EQ(sessionInWords(), "recording manual#1");
    EXPECT_EQ(model().currentCallName(), "zoom.us");
}

TEST_F(AppModelDetection, RecordingByHandReadsTheMicrophoneForTheNextPass) {
    audio.setProcess(7, {.runningInput = true, .pid = 77, .bundleID = zoom});
    model().recordNowFromMenu();
    model().stopRecordingFromMenu();
    model().evaluateCalls(false);
    clock.advance(5s);
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
}

TEST_F(AppModelDetection, RecordingByHandWhileRecordingDoesNothing) {
    recordZoomCall();
    const auto lines = diagnostics.messages();
    model().recordNowFromMenu();
    settle();
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_EQ(diagnostics.messages(), lines);
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelDetection, RecordingByHandWhileRecordingDoesNotEvenReadTheMicrophone) {
    audio.setProcess(7, {.runningInput = true, .pid = 77, .bundleID = zoom});
    model().evaluateCalls(true);
    clock.advance(5s);
    model().evaluateCalls(false);
    audio.setRunningInput(7, false); // which nobody reports
    model().recordNowFromMenu();
    for (int pass = 0; pass < 3; ++pass) {
        clock.advance(60s);
        model().evaluateCalls(false);
    }
    EXPECT_EQ(sessionInWords(), "recording zoom#1") << "these passes look at the old snapshot";
}

TEST_F(AppModelDetection, StoppingByHandEndsTheRecordingAtOnceAndForThisCall) {
    recordZoomCall();
    runFor(10s);
    model().stopRecordingFromMenu();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_EQ(statusLine(), "Not recording this call");
    settle();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_THAT(linesAbout("call ended"), ElementsAre("call ended: zoom#1"));
    runFor(10min);
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelDetection, TheCallAfterOneThatWasStoppedByHandIsRecorded) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    runFor(30s);
    zoomReleasesTheMicrophone();
    runFor(20s);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
}

TEST_F(AppModelDetection, StoppingARecordingByHandThatNoCallCausedLeavesTheNextCallAlone) {
    launch();
    model().recordNowFromMenu();
    runFor(10s);
    model().stopRecordingFromMenu();
    EXPECT_EQ(sessionInWords(), "armed manual#1");
    runFor(1s);
    EXPECT_EQ(sessionInWords(), "idle");
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
}

TEST_F(AppModelDetection, DiscardingTellsTheDetectorThatTheCallIsNotToBeRecorded) {
    recordZoomCall();
    model().stopAndDiscard();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_EQ(statusLine(), "Not recording this call");
    runFor(1s);
    EXPECT_EQ(sessionInWords(), "idle") << "for the detector there is no call to record any more";
    runFor(10min);
    EXPECT_THAT(captured, SizeIs(1));
    zoomReleasesTheMicrophone();
    runFor(30s);
    EXPECT_THAT(linesAbout("call ended"), IsEmpty());
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
}

TEST_F(AppModelDetection, StopCommandsWithoutARecordingDoNothing) {
    launch();
    model().stopRecordingFromMenu();
    model().stopAndDiscard();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_THAT(linesAbout("end recording"), IsEmpty());
}

// --- What is shown ---

TEST_F(AppModelDetection, AnHourAndTwoMinutesShowAsSixtyTwoMinutes) {
    launch();
    model().recordNowFromMenu();
    runFor(3725s);
    EXPECT_THAT(statusLine(), StartsWith("Recording 62:05 — "));
}

TEST_F(AppModelDetection, TheStatusLineNamesTheDevicesOfTheRecordingNotThoseOfTheNextOne) {
    capture.addCamera(webcam);
    recordZoomCall();
    model().settings.preferredVideoDeviceID.set(webcam.uniqueID);
    runFor(1s);
    EXPECT_EQ(
        statusLine(), "Recording 00:01 — zoom.us — Integrated Camera / Integrated Microphone");
    EXPECT_EQ(model().selectedCameraName(), "Desk Webcam");
}

TEST_F(AppModelDetection, NamesTheDevicesThatTheNextRecordingWouldUse) {
    EXPECT_EQ(model().selectedCameraName(), "Integrated Camera");
    EXPECT_EQ(model().selectedMicrophoneName(), "Integrated Microphone");
    capture.addMicrophone(headset);
    capture.fireDevicesChanged();
    model().settings.preferredAudioDeviceID.set(headset.uniqueID);
    EXPECT_EQ(model().selectedMicrophoneName(), "Headset");
    for (const auto& device : {builtInCamera, builtInMicrophone, headset}) {
        capture.removeDevice(device.uniqueID);
    }
    capture.fireDevicesChanged();
    EXPECT_EQ(model().selectedCameraName(), "No camera");
    EXPECT_EQ(model().selectedMicrophoneName(), "No microphone");
}

TEST_F(AppModelDetection, NamesTheDefaultMicrophoneAmongSeveral) {
    constexpr AudioObjectID secondDevice = 2;
    capture.addMicrophone(headset);
    audio.setDevice(secondDevice, {.uniqueID = headset.uniqueID});
    audio.setDefaultInputDevice(secondDevice);
    launch();
    EXPECT_EQ(model().selectedMicrophoneName(), "Headset");
}

TEST_F(AppModelDetection, PublishedFieldsTellTheirObserversOncePerChange) {
    std::vector<std::string> states;
    std::vector<std::string> lines;
    int sizes = 0;
    const auto observedState = model().sessionState.observe(
        [&](const SessionState&) { states.push_back(sessionInWords()); });
    const auto observedLine =
        model().statusLine.observe([&](const std::string& line) { lines.push_back(line); });
    const auto observedSize = model().folderSizeText.observe([&](const std::string&) { ++sizes; });
    launch();
    runFor(10s);
    EXPECT_THAT(lines, IsEmpty());
    zoomTakesTheMicrophone();
    runFor(7s);
    model().stopRecordingFromMenu();
    runFor(10s);
    EXPECT_THAT(states, ElementsAre("recording zoom#1", "armed zoom#1", "idle"));
    EXPECT_THAT(
        lines, ElementsAre(
                   "Recording 00:00 — zoom.us — Integrated Camera / Integrated Microphone",
                   "Recording 00:01 — zoom.us — Integrated Camera / Integrated Microphone",
                   "Recording 00:02 — zoom.us — Integrated Camera / Integrated Microphone",
                   "Not recording this call", "Idle — watching for calls"));
    EXPECT_EQ(sizes, 1);
}

} // namespace
} // namespace brindle
