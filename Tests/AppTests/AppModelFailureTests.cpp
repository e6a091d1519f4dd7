// How a recording survives that its capture fails: the segment is closed, and where allowed the
// next one begins.
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include "Support/AppScene.hpp"
#include "Support/NamedTimeZone.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

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

const std::string secondBaseName = "2026-03-14_0930-2";
const std::string deviceDead = "Capture stopped: No such device";
const std::string writingStopped = "Recording stopped on its own (no error reported).";

class AppModelFailure : public testing::Test, protected test::AppScene {
  protected:
    /// Lets the running capture fail as often, each failure a minute after the one before.
    void writingStopsTimes(int times) {
        for (int i = 0; i < times; ++i) {
            runFor(60s);
            writingStops();
            settle();
        }
    }
    [[nodiscard]] std::optional<std::string> decisionOfFailure(int number) const {
        const auto lines = linesAbout(fmt::format("capture failure #{} ", number));
        if (lines.size() != 1) {
            return std::nullopt;
        }
        const auto at = lines.front().find("decision=");
        return lines.front().substr(at + std::string{"decision="}.size());
    }
    /// The call is over, and the program has noticed.
    void callEnds() {
        zoomReleasesTheMicrophone();
        runFor(21s);
    }
    static constexpr const char* onlyRestart =
        "restart=true blockCurrentCamera=false audioOnly=false";
    static constexpr const char* blockCamera =
        "restart=true blockCurrentCamera=true audioOnly=false";
    static constexpr const char* soundOnly = "restart=true blockCurrentCamera=true audioOnly=true";
    static constexpr const char* noRestart =
        "restart=false blockCurrentCamera=false audioOnly=false";
};

// --- Restarting ---

TEST_F(AppModelFailure, TheNextSegmentIsExpectedWhileTheFailedOneIsClosed) {
    recordZoomCall();
    runFor(10s);
    exporter().script().finishAtOnce = false;
    writingStops();
    runFor(1s);
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false, true));
    exporter().finish();
    settle();
    EXPECT_THAT(capture.expectations(), ElementsAre(true, false, true, false));
}

TEST_F(AppModelFailure, AFailureIsFollowedByANewSegmentChainedByNotes) {
    recordZoomCall();
    runFor(10s);
    writingStops();
    settle();
    EXPECT_THAT(
        folderContents(), ElementsAre(
                              "2026-03-14_0930-2.json", "2026-03-14_0930-2.mov",
                              "2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    const auto failed = sidecar(firstBaseName);
    EXPECT_THAT(
        failed.notes,
        ElementsAre("capture failed at 2026-03-14T09:30:27Z: Recording stopped on its own (no "
                    "error reported).; continued in 2026-03-14_0930-2.mp4"));
    EXPECT_EQ(failed.endedAt, clock.now());
    EXPECT_FALSE(failed.interrupted);
    const auto next = sidecar(secondBaseName);
    EXPECT_THAT(next.notes, ElementsAre("continues 2026-03-14_0930.mp4 after capture failure"));
    EXPECT_EQ(next.roomCode, "zoom#1");
    EXPECT_EQ(next.startedAt, clock.now());
    EXPECT_EQ(next.endedAt, std::nullopt);
    EXPECT_EQ(next.source, failed.source);
    callEnds();
    EXPECT_NE(sidecar(secondBaseName).endedAt, std::nullopt);
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930-2.mp4"));
}

TEST_F(AppModelFailure, TheUserIsToldThatCaptureRestarts) {
    recordZoomCall();
    runFor(10s);
    writingStops();
    settle();
    const std::string warning = "Capture problem at 09:30: Recording stopped on its own (no error "
                                "reported). Recording continues in 2026-03-14_0930-2.mp4.";
    EXPECT_EQ(model().captureWarning.get(), warning);
    EXPECT_EQ(model().lastRecordingError.get(), warning);
    EXPECT_THAT(
        notices(), ElementsAre("Recording stopped on its own (no error reported). Restarting "
                               "capture into a new file."));
}

TEST_F(AppModelFailure, TheTimeInTheWarningIsThatOfTheZone) {
    timeZone = test::timeZoneNamed("Asia/Kathmandu");
    recordZoomCall();
    writingStops();
    settle();
    EXPECT_THAT(
        model().captureWarning.get().value_or(""),
        testing::StartsWith("Capture problem at 15:15: "));
}

TEST_F(AppModelFailure, TheSessionIsNotTouchedByARestart) {
    recordZoomCall();
    std::vector<std::string> states;
    const auto observed = model().sessionState.observe(
        [&](const SessionState&) { states.push_back(sessionInWords()); });
    runFor(60s);
    writingStops();
    runFor(5s);
    EXPECT_THAT(states, IsEmpty());
    EXPECT_EQ(
        statusLine(), "Recording 01:05 — zoom.us — Integrated Camera / Integrated Microphone");
}

TEST_F(AppModelFailure, ARestartIsLogged) {
    recordZoomCall();
    runFor(10s);
    writingStops();
    settle();
    EXPECT_THAT(
        linesAbout("capture failure"),
        ElementsAre("capture failure #1 in room zoom#1: Recording stopped on its own (no error "
                    "reported). file=2026-03-14_0930 decision=restart=true "
                    "blockCurrentCamera=false audioOnly=false"));
    EXPECT_THAT(
        linesAbout("begin recording"),
        ElementsAre(
            "begin recording: room=zoom#1 continuing=- audioOnly=false",
            "begin recording: room=zoom#1 continuing=2026-03-14_0930-2 audioOnly=false"));
}

TEST_F(AppModelFailure, AFailedSegmentIsConvertedOnlyOnceTheCaptureQueueHasDoneWithItsFile) {
    recordZoomCall();
    capture.script().finishWhenStopped = false;
    const auto output = capture.session().output();
    holdCaptureQueue(true);
    deviceDies();
    settle();
    EXPECT_THAT(linesAbout("remux start"), IsEmpty()) << "nobody has closed the file yet";
    holdCaptureQueue(false);
    settle();
    EXPECT_THAT(linesAbout("remux start"), IsEmpty()) << "it was asked to close, and has not yet";
    output->finish();
    capture.script().finishWhenStopped = true;
    settle();
    EXPECT_THAT(linesAbout("remux start"), SizeIs(1));
    EXPECT_THAT(captured, SizeIs(2));
}

TEST_F(AppModelFailure, AFileThatIsClosedWithoutAReportIsConvertedAllTheSame) {
    recordZoomCall();
    capture.script().finishWhenStopped = false;
    const auto output = capture.session().output();
    deviceDies();
    runFor(10s);
    EXPECT_THAT(linesAbout("remux start"), IsEmpty());
    output->closeSilently();
    runFor(2s);
    EXPECT_THAT(linesAbout("remux start"), SizeIs(1));
}

TEST_F(AppModelFailure, TheNextSegmentBeginsOnlyWhenTheFailedOneIsConverted) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    runFor(10s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(sidecar(firstBaseName).endedAt, std::nullopt);
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(2));
}

TEST_F(AppModelFailure, ASegmentThatCannotBeConvertedIsKeptAsItIs) {
    recordZoomCall();
    exporter().script().canBeMade = false;
    deviceDies();
    settle();
    EXPECT_EQ(files.contents(folder.movURL(firstBaseName)), "captured");
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre(
            EndsWith("continued in 2026-03-14_0930-2.mp4"),
            "Converting the partial recording to .mp4 failed; the .mov was left in place."));
    EXPECT_EQ(sidecar(firstBaseName).endedAt, clock.now());
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
}

TEST_F(AppModelFailure, ASegmentWithoutAFileSaysSo) {
    recordZoomCall();
    files.removeFile(folder.movURL(firstBaseName));
    deviceDies();
    settle();
    EXPECT_THAT(
        sidecar(firstBaseName).notes, ElementsAre(
                                          EndsWith("continued in 2026-03-14_0930-2.mp4"),
                                          "No partial recording file was found."));
    EXPECT_EQ(sidecar(firstBaseName).endedAt, clock.now());
    EXPECT_THAT(linesAbout("remux"), IsEmpty());
}

TEST_F(AppModelFailure, TheFolderSizeFollowsAFailedSegment) {
    recordZoomCall();
    EXPECT_EQ(model().folderSizeText.get(), "0 bytes");
    deviceDies();
    settle();
    EXPECT_THAT(model().folderSizeText.get(), Not("0 bytes"));
}

// --- How often, and with what ---

TEST_F(AppModelFailure, TheFirstTimeWritingStopsTheSameCameraIsUsedAgain) {
    capture.addCamera(webcam);
    recordZoomCall();
    writingStopsTimes(1);
    EXPECT_EQ(decisionOfFailure(1), onlyRestart);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "Integrated Camera"));
}

TEST_F(AppModelFailure, TheSecondTimeWritingStopsTheCameraIsBlocked) {
    capture.addCamera(webcam);
    recordZoomCall();
    writingStopsTimes(2);
    EXPECT_EQ(decisionOfFailure(2), blockCamera);
    EXPECT_THAT(
        camerasUsed(), ElementsAre("Integrated Camera", "Integrated Camera", "Desk Webcam"));
}

TEST_F(AppModelFailure, ADeadCameraIsBlockedAtOnce) {
    capture.addCamera(webcam);
    recordZoomCall();
    deviceDies();
    settle();
    EXPECT_EQ(decisionOfFailure(1), blockCamera);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "Desk Webcam"));
}

TEST_F(AppModelFailure, TheCameraThatIsUsedInsteadOfABlockedDefaultIsNotedAndTold) {
    capture.addCamera(webcam);
    recordZoomCall();
    deviceDies();
    settle();
    EXPECT_THAT(
        sidecar(secondBaseName).notes,
        ElementsAre(
            "continues 2026-03-14_0930.mp4 after capture failure",
            "System default camera was unavailable; used Desk Webcam instead."));
    EXPECT_THAT(
        notices(), ElementsAre(
                       deviceDead + " Restarting capture into a new file.",
                       "Recording with Desk Webcam / Integrated Microphone."));
}

TEST_F(AppModelFailure, ACameraThatRefusedToOpenIsNotBlockedInPlaceOfTheOneInUse) {
    capture.addCamera(webcam);
    capture.script().refuseOpen = {builtInCamera.uniqueID};
    recordZoomCall();
    EXPECT_THAT(camerasUsed(), ElementsAre("Desk Webcam"));
    capture.script().refuseOpen.clear();
    deviceDies();
    settle();
    EXPECT_THAT(camerasUsed(), ElementsAre("Desk Webcam", "Integrated Camera"));
}

TEST_F(AppModelFailure, WithItsOnlyCameraBlockedACallIsRecordedAsSound) {
    recordZoomCall();
    deviceDies();
    settle();
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none"));
    EXPECT_THAT(
        sidecar(secondBaseName).notes, ElementsAre(
                                           "continues 2026-03-14_0930.mp4 after capture failure",
                                           "No camera was available; recorded audio only."));
}

TEST_F(AppModelFailure, FromTheFourthFailureOnOnlySoundIsRecorded) {
    for (int number = 2; number <= 6; ++number) {
        capture.addCamera({fmt::format("cam-{}", number), fmt::format("Camera {}", number), false});
    }
    recordZoomCall();
    writingStopsTimes(5);
    EXPECT_EQ(decisionOfFailure(3), blockCamera);
    EXPECT_EQ(decisionOfFailure(4), soundOnly);
    EXPECT_EQ(decisionOfFailure(5), soundOnly);
    EXPECT_THAT(
        camerasUsed(),
        ElementsAre(
            "Integrated Camera", "Integrated Camera", "Camera 2", "Camera 3", "none", "none"));
    EXPECT_THAT(linesAbout("begin recording").back(), EndsWith("audioOnly=true"));
}

TEST_F(AppModelFailure, AfterTheTwentiethFailureThereIsNoRestart) {
    recordZoomCall();
    writingStopsTimes(20);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_EQ(decisionOfFailure(20), soundOnly);
    EXPECT_THAT(captured, SizeIs(21));
    runFor(60s);
    writingStops();
    settle();
    EXPECT_EQ(decisionOfFailure(21), noRestart);
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_THAT(captured, SizeIs(21));
    const std::string warning = "Recording stopped at 09:51: " + writingStopped;
    EXPECT_EQ(model().captureWarning.get(), warning);
    EXPECT_EQ(model().lastRecordingError.get(), warning);
    EXPECT_EQ(notices().back(), writingStopped);
    runFor(10min);
    EXPECT_THAT(captured, SizeIs(21)) << "the call is muted";
    for (const auto& path : captured) {
        const auto closed = sidecar(path.stem().string());
        EXPECT_NE(closed.endedAt, std::nullopt);
        EXPECT_TRUE(files.contents(folder.mp4URL(path.stem().string())));
    }
}

TEST_F(AppModelFailure, ANewCallStartsWithACleanFailureHistory) {
    capture.addCamera(webcam);
    recordZoomCall();
    writingStopsTimes(2);
    callEnds();
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(camerasUsed().back(), "Integrated Camera");
    writingStops();
    settle();
    EXPECT_THAT(
        linesAbout("capture failure").back(), HasSubstr("capture failure #1 in room zoom#2: "));
    EXPECT_EQ(camerasUsed().back(), "Integrated Camera");
}

TEST_F(AppModelFailure, ARecordingThatFollowsAtOnceStartsWithACleanFailureHistory) {
    capture.addCamera(webcam);
    recordZoomCall();
    deviceDies();
    settle();
    ASSERT_NE(model().captureWarning.get(), std::nullopt);
    model().stopAndDiscard();
    model().recordNowFromMenu(); // before the next pass
    settle();
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_EQ(camerasUsed().back(), "Integrated Camera");
}

TEST_F(AppModelFailure, TheSecondPassWithoutACallForgetsItsFailures) {
    capture.addCamera(webcam);
    recordZoomCall();
    deviceDies();
    settle();
    model().stopPolling(); // so that only these passes count
    zoomReleasesTheMicrophone();
    model().evaluateCalls(true);
    clock.advance(20s);
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_NE(model().captureWarning.get(), std::nullopt);
    model().evaluateCalls(false);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    model().recordNowFromMenu();
    settle();
    EXPECT_THAT(
        camerasUsed(), ElementsAre("Integrated Camera", "Desk Webcam", "Integrated Camera"));
}

// --- When it does not go on ---

TEST_F(AppModelFailure, WhenNothingReopensTheRecordingIsOver) {
    recordZoomCall();
    capture.script().refuseOpen = {builtInCamera.uniqueID, builtInMicrophone.uniqueID};
    deviceDies();
    settle();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    const std::string warning = "Recording stopped: no camera or microphone could be reopened.";
    EXPECT_EQ(model().captureWarning.get(), warning);
    EXPECT_EQ(model().lastRecordingError.get(), warning);
    EXPECT_THAT(notices(), ElementsAre(deviceDead + " Restarting capture into a new file."));
    EXPECT_THAT(
        sidecar(secondBaseName).notes,
        ElementsAre(
            "continues 2026-03-14_0930.mp4 after capture failure",
            "No camera or microphone could be opened; nothing was recorded."));
    EXPECT_EQ(sidecar(secondBaseName).endedAt, clock.now());
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930.mp4"));
    runFor(60s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(model().lastRecordingError.get(), warning) << "stays until the next recording";
}

TEST_F(AppModelFailure, AWarningThatComesWhenItsCallIsOverStandsBesideNoCall) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    callEnds();
    runFor(2s);
    ASSERT_EQ(sessionInWords(), "idle");
    exporter().finish();
    settle();
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_THAT(model().lastRecordingError.get().value_or(""), EndsWith(deviceDead))
        << "the last recording's problem, until the next one starts";
    EXPECT_THAT(notices(), ElementsAre(deviceDead)) << "and not that capture restarts";
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(model().lastRecordingError.get(), std::nullopt);
}

TEST_F(AppModelFailure, AWarningThatComesLateIsNotAboutTheNextRecording) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    callEnds();
    runFor(2s);
    takesTheMicrophone(teams);
    runFor(5s);
    ASSERT_EQ(sessionInWords(), "recording teams#2");
    exporter().finish();
    settle();
    ASSERT_THAT(captured, SizeIs(2));
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_EQ(model().lastRecordingError.get(), std::nullopt);
    EXPECT_THAT(notices(), ElementsAre(deviceDead));
}

TEST_F(AppModelFailure, TheTimesInAFailedSegmentAreThoseBeforeAndAfterItsConversion) {
    recordZoomCall();
    runFor(10s);
    exporter().script().finishAtOnce = false;
    writingStops();
    const Date failedAt = clock.now();
    runFor(5min);
    exporter().finish();
    settle();
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre(testing::StartsWith(
            "capture failed at " + InternetDateTime::format(failedAt, TimeZone::utc()) + ": ")));
    EXPECT_EQ(sidecar(firstBaseName).endedAt, failedAt + Seconds{300});
    EXPECT_EQ(sidecar("2026-03-14_0930-2").startedAt, failedAt + Seconds{300});
}

TEST_F(AppModelFailure, ARestartIsSubjectToTheSpaceLeft) {
    recordZoomCall();
    files.setAvailableCapacity(10);
    deviceDies();
    settle();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_EQ(notices().back(), "Only 0.0 GB free — not recording this call.");
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

TEST_F(AppModelFailure, AFailureAfterTheCallHasEndedClosesTheSegmentAndDoesNotRestart) {
    recordZoomCall();
    runFor(10s);
    deviceDies();
    model().stopRecordingFromMenu(); // before anybody could see to the failure
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    settle();
    EXPECT_EQ(decisionOfFailure(1), noRestart);
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("capture failed at 2026-03-14T09:30:27Z: " + deviceDead));
    EXPECT_EQ(model().captureWarning.get(), "Recording stopped at 09:30: " + deviceDead);
    EXPECT_THAT(notices(), ElementsAre(deviceDead));
    EXPECT_THAT(linesAbout("end recording"), IsEmpty());
}

TEST_F(AppModelFailure, ACallThatEndsWhileItsSegmentIsConvertedLeavesNoRecordingRunning) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    settle();
    zoomReleasesTheMicrophone();
    runFor(30s);
    EXPECT_EQ(sessionInWords(), "idle");
    exporter().script().finishAtOnce = true;
    exporter().finish();
    runFor(5s);
    for (const auto& session : capture.sessions()) {
        EXPECT_FALSE(session->output()->isRecording());
    }
    for (const auto& path : captured) {
        EXPECT_NE(sidecar(path.stem().string()).endedAt, std::nullopt);
    }
}

TEST_F(AppModelFailure, ARecordingThatFailedJustBeforeItsStopIsConvertedAllTheSame) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    deviceDies(); // the stop has not begun yet
    settle();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("capture failed at 2026-03-14T09:30:17Z: " + deviceDead));
    EXPECT_NE(sidecar(firstBaseName).endedAt, std::nullopt);
    EXPECT_THAT(notices(), ElementsAre(deviceDead));
}

TEST_F(AppModelFailure, AFailureThatComesUpOnlyWhenItsCallIsForgottenClosesTheSegment) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    deviceDies();
    zoomReleasesTheMicrophone();
    runFor(30s);
    EXPECT_EQ(sessionInWords(), "idle");
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

TEST_F(AppModelFailure, ASegmentSaysThatItGoesOnOnlyWhenItDoes) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    settle();
    model().stopRecordingFromMenu(); // while the failed segment is being converted
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(1)) << "nothing is recorded after the user's stop";
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("capture failed at 2026-03-14T09:30:17Z: " + deviceDead));
    EXPECT_EQ(model().captureWarning.get(), "Recording stopped at 09:30: " + deviceDead);
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

TEST_F(AppModelFailure, ARecordingThatFailedJustBeforeItsDiscardIsRemoved) {
    recordZoomCall();
    model().stopAndDiscard();
    deviceDies();
    settle();
    EXPECT_THAT(folderContents(), IsEmpty());
}

// --- A failure is only ever about its own recording ---

TEST_F(AppModelFailure, ALateFailureLeavesTheNextRecordingAlone) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    model().recordNowFromMenu();
    deviceDies(); // the first recording's stop and the second one's start both wait
    runFor(10s);
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    ASSERT_THAT(captured, SizeIs(2));
    EXPECT_EQ(files.contents(captured.back()), "captured") << "still being written";
    EXPECT_THAT(sidecar(secondBaseName).notes, IsEmpty());
    EXPECT_TRUE(capture.output().isRecording());
    EXPECT_TRUE(files.contents(folder.mp4URL(firstBaseName))) << "the first one is converted";
    model().stopRecordingFromMenu();
    settle();
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930-2.mp4"));
}

TEST_F(AppModelFailure, ALateFailureOfADiscardedRecordingLeavesTheNextOfTheSameNameAlone) {
    recordZoomCall();
    model().stopAndDiscard();
    model().recordNowFromMenu();
    deviceDies(); // the discard and the second recording's start both wait
    runFor(10s);
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    ASSERT_EQ(captured.back(), folder.movURL(firstBaseName)) << "in the same minute";
    EXPECT_EQ(sidecar(firstBaseName).endedAt, std::nullopt);
    EXPECT_THAT(sidecar(firstBaseName).notes, IsEmpty());
    EXPECT_TRUE(capture.output().isRecording());
    model().stopRecordingFromMenu();
    settle();
    EXPECT_FALSE(capture.output().isRecording());
    EXPECT_NE(sidecar(firstBaseName).endedAt, std::nullopt);
}

TEST_F(AppModelFailure, AFailureBetweenAStopAndTheNextStartLeavesTheNextRecordingAlone) {
    recordZoomCall();
    model().stopRecordingFromMenu();
    deviceDies();
    model().recordNowFromMenu(); // all before any of it is seen to
    runFor(10s);
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    model().stopRecordingFromMenu();
    settle();
    EXPECT_FALSE(capture.output().isRecording()) << "nothing runs on that nobody can stop";
}

TEST_F(AppModelFailure, ARestartThatWaitsUntilTheNextRecordingIsDueIsNotBegun) {
    recordZoomCall();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    deviceDies();
    settle();
    // While the restart waits for the user this recording ends and another one begins.
    model().stopRecordingFromMenu();
    runFor(2s);
    model().recordNowFromMenu();
    capture.answerAccess(MediaType::audio, true);
    runFor(5s);
    EXPECT_THAT(
        linesAbout("recording not begun"), ElementsAre("recording not begun: room=zoom#1 is over"));
    EXPECT_EQ(sessionInWords(), "recording manual#2");
    EXPECT_THAT(sidecar(firstBaseName).notes, ElementsAre(Not(HasSubstr("continued in"))));
    ASSERT_THAT(captured, SizeIs(2));
    EXPECT_TRUE(capture.output().isRecording());
    model().stopRecordingFromMenu();
    settle();
    EXPECT_FALSE(capture.output().isRecording()) << "nothing runs on that nobody can stop";
}

TEST_F(AppModelFailure, ARecordingWhoseCallIsOverBeforeItsTurnIsNotBegun) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    model().stopRecordingFromMenu();
    runFor(2s);
    model().recordNowFromMenu(); // waits until the first recording is converted
    runFor(2s);
    model().stopRecordingFromMenu();
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_THAT(
        linesAbout("recording not begun"),
        ElementsAre("recording not begun: room=manual#2 is over"));
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

} // namespace
} // namespace brindle
