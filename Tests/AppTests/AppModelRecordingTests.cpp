// How a recording begins and ends: files, sidecar, devices, permissions, space, quitting.
#include "BrindleRecorderApp/AppModel.hpp"

#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"
#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "Support/AppScene.hpp"
#include "Support/NamedTimeZone.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using Operation = test::InMemoryFileManager::Operation;
using Call = test::InMemoryFileManager::Call;

class AppModelRecording : public testing::Test, protected test::AppScene {
  protected:
    /// A call begins; whether it can be recorded is up to the scene.
    void callBegins() {
        launch();
        zoomTakesTheMicrophone();
        runFor(5s);
    }
    void callEnds() {
        zoomReleasesTheMicrophone();
        runFor(21s);
    }
    /// Of the recording made first.
    [[nodiscard]] Sidecar firstSidecar() const { return sidecar(firstBaseName); }
    /// The cameras and microphones that were opened, in order, refused ones included.
    [[nodiscard]] std::vector<std::string> opened() const {
        std::vector<std::string> devices;
        for (const auto& call : capture.calls()) {
            if (call.starts_with("open ")) {
                devices.push_back(call.substr(5));
            }
        }
        return devices;
    }
    void conversionsFail() { exporter().script().canBeMade = false; }
};

// --- The road of one recording ---

TEST_F(AppModelRecording, ACallBecomesAnMp4AndASidecar) {
    recordZoomCall();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mov"));
    runFor(60s);
    callEnds();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_EQ(files.contents(folder.mp4URL(firstBaseName)), "whole movie");
    EXPECT_THAT(notices(), IsEmpty()) << "all is well, so nobody is told";
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
}

TEST_F(AppModelRecording, TheSidecarDescribesTheCall) {
    const Date begin = clock.now() + 5s;
    recordZoomCall();
    Sidecar expected{
        .roomCode = "zoom#1",
        .startedAt = begin,
        .endedAt = std::nullopt,
        .videoDevice = "Integrated Camera",
        .audioDevice = "Integrated Microphone",
        .fallbackUsed = false,
        .interrupted = false,
        .notes = {},
        .source = CallSource{"zoom.us", zoom, CallSource::Kind::app, std::nullopt, zoom},
        .callName = "Zoom · Sat 09:30"};
    EXPECT_EQ(firstSidecar(), expected);
    runFor(60s);
    callEnds();
    expected.endedAt = begin + 80s;
    EXPECT_EQ(firstSidecar(), expected);
}

TEST_F(AppModelRecording, TheSidecarIsWrittenBeforeCaptureStarts) {
    // Each attempt to write it leaves a line.
    files.failEveryCall(Operation::createSyncedFile);
    recordZoomCall();
    EXPECT_THAT(
        diagnostics.messages(), ElementsAre(
                                    StartsWith("call detected"), StartsWith("begin recording"),
                                    StartsWith("sidecar not written"), StartsWith("recorder start"),
                                    StartsWith("sidecar not written"), StartsWith("recording: ")));
}

TEST_F(AppModelRecording, NamesAndTimesAreThoseOfTheZoneOfTheMoment) {
    timeZone = test::timeZoneNamed("Asia/Kathmandu");
    recordZoomCall();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_1515.json", "2026-03-14_1515.mov"));
    EXPECT_EQ(sidecar("2026-03-14_1515").callName, "Zoom · Sat 15:15");
    EXPECT_THAT(
        files.contents(folder.sidecarURL("2026-03-14_1515")),
        testing::Optional(HasSubstr("2026-03-14T15:15:17+05:45")));
}

TEST_F(AppModelRecording, ASecondRecordingInTheSameMinuteHasANameOfItsOwn) {
    launch();
    model().recordNowFromMenu();
    runFor(2s);
    model().stopRecordingFromMenu();
    runFor(2s);
    model().recordNowFromMenu();
    runFor(2s);
    EXPECT_THAT(
        folderContents(), ElementsAre(
                              "2026-03-14_0930-2.json", "2026-03-14_0930-2.mov",
                              "2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

TEST_F(AppModelRecording, EveryStepIsLogged) {
    recordZoomCall();
    runFor(60s);
    callEnds();
    EXPECT_THAT(
        diagnostics.messages(),
        ElementsAre(
            "call detected: zoom.us [us.zoom.xos] site=- → zoom#1",
            "begin recording: room=zoom#1 continuing=- audioOnly=false",
            "recorder start: 2026-03-14_0930.mov video=Integrated Camera "
            "audio=Integrated Microphone",
            "recording: 2026-03-14_0930 video=Integrated Camera audio=Integrated Microphone "
            "fallback=false",
            "call ended: zoom#1", "end recording: 2026-03-14_0930 keep=true",
            "recording finished: 2026-03-14_0930.mov exists, 8 bytes error=none",
            "remux start: 2026-03-14_0930.mov exists, 8 bytes -> 2026-03-14_0930.mp4",
            "remux done: 2026-03-14_0930.mov 60s -> 2026-03-14_0930.mp4 60s exists, 11 bytes",
            "remux completed: 2026-03-14_0930.mp4 exists, 11 bytes; deleting "
            "2026-03-14_0930.mov"));
    EXPECT_THAT(systemLog.lines(), Contains("stop and keep: 2026-03-14_0930"));
    EXPECT_THAT(systemLog.lines(), Contains("kept: 2026-03-14_0930.mp4 exists, 11 bytes"));
}

TEST_F(AppModelRecording, TheFolderSizeFollowsEachFinishedRecording) {
    recordZoomCall();
    EXPECT_EQ(model().folderSizeText.get(), "0 bytes");
    runFor(10s);
    model().stopRecordingFromMenu();
    settle();
    EXPECT_THAT(model().folderSizeText.get(), Not("0 bytes"));
    model().recordNowFromMenu();
    settle();
    const auto before = model().folderSizeText.get();
    files.putFile(folder.root / "other.mp4", std::string(50'000'000, 'x'));
    model().stopAndDiscard();
    settle();
    EXPECT_THAT(model().folderSizeText.get(), Not(before));
}

TEST_F(AppModelRecording, TheFolderIsMadeAgainWhenSomebodyRemovedIt) {
    launch();
    files.removeTree(folder.root);
    model().recordNowFromMenu();
    runFor(2s);
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mov"));
}

TEST_F(AppModelRecording, TheLastProblemIsForgottenWhenARecordingStarts) {
    recordZoomCall();
    deviceDies();
    settle();
    EXPECT_NE(model().lastRecordingError.get(), std::nullopt);
    callEnds();
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_NE(model().lastRecordingError.get(), std::nullopt);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(model().lastRecordingError.get(), std::nullopt);
}

TEST_F(AppModelRecording, ASidecarThatCannotBeWrittenDoesNotStopTheRecording) {
    files.failEveryCall(Operation::createSyncedFile, std::errc::permission_denied);
    recordZoomCall();
    runFor(30s);
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    callEnds();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.mp4"));
    EXPECT_THAT(linesAbout("sidecar not written: 2026-03-14_0930"), Not(IsEmpty()));
}

// --- Space ---

TEST_F(AppModelRecording, ARefusalForLackOfSpaceMutesTheCall) {
    files.setAvailableCapacity(999'000'000);
    callBegins();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_EQ(statusLine(), "Not recording this call");
    EXPECT_THAT(notices(), ElementsAre("Only 1.0 GB free — not recording this call."));
    runFor(10min);
    EXPECT_THAT(notices(), SizeIs(1)) << "the same call is not tried at every pass";
    EXPECT_THAT(linesAbout("begin recording"), SizeIs(1));
    EXPECT_THAT(folderContents(), IsEmpty());
    EXPECT_THAT(capture.sessions(), IsEmpty());
}

TEST_F(AppModelRecording, TheSpaceThatCountsIsThatOfTheRecordingsVolume) {
    callBegins();
    std::vector<std::filesystem::path> asked;
    for (const Call& call : files.calls()) {
        if (call.operation == Operation::availableCapacity) {
            asked.push_back(call.path);
        }
    }
    EXPECT_THAT(asked, ElementsAre(folder.root));
}

TEST_F(AppModelRecording, SpaceThatCannotBeReadIsNone) {
    files.failEveryCall(Operation::availableCapacity);
    callBegins();
    EXPECT_THAT(notices(), ElementsAre("Only 0.0 GB free — not recording this call."));
    EXPECT_THAT(captured, IsEmpty());
}

TEST_F(AppModelRecording, AWarningAboutSpaceDoesNotStopTheRecording) {
    files.setAvailableCapacity(4'321'000'000);
    callBegins();
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    EXPECT_THAT(notices(), ElementsAre("Only 4.3 GB free — recording anyway."));
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(AppModelRecording, TheNextCallIsTriedAgainAfterARefusal) {
    files.setAvailableCapacity(0);
    callBegins();
    callEnds();
    files.setAvailableCapacity(50'000'000'000);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
    EXPECT_THAT(captured, SizeIs(1));
}

// --- Permissions ---

TEST_F(AppModelRecording, WithoutTheMicrophoneNothingIsRecorded) {
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::denied);
    callBegins();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_THAT(
        notices(), ElementsAre("Microphone access is denied, so nothing could be recorded."));
    runFor(60s);
    EXPECT_THAT(notices(), SizeIs(1));
    EXPECT_THAT(folderContents(), IsEmpty());
}

TEST_F(AppModelRecording, AMicrophoneThatNobodyDecidedAboutIsAskedFor) {
    capture.answerAccessAtOnce(MediaType::audio, true);
    callBegins(); // which asks at launch already
    callEnds();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    zoomTakesTheMicrophone();
    runFor(5s);
    EXPECT_THAT(capture.calls(), Contains("request access audio"));
    EXPECT_EQ(sessionInWords(), "recording zoom#2");
    EXPECT_THAT(captured, SizeIs(2));
}

TEST_F(AppModelRecording, AMicrophoneThatIsRefusedWhenAskedForCannotBeRecorded) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    capture.answerAccessAtOnce(MediaType::audio, false);
    model().recordNowFromMenu();
    settle();
    EXPECT_EQ(sessionInWords(), "armed manual#1");
    EXPECT_THAT(
        notices(), ElementsAre("Microphone access is denied, so nothing could be recorded."));
}

TEST_F(AppModelRecording, TheCameraIsNotAskedForWhereTheMicrophoneIsGranted) {
    launch();
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::notDetermined);
    model().recordNowFromMenu();
    settle();
    EXPECT_THAT(capture.calls(), Not(Contains("request access video")));
    EXPECT_THAT(opened(), ElementsAre("mic-1"));
}

TEST_F(AppModelRecording, WithoutTheCameraTheSoundIsRecorded) {
    capture.addCamera(webcam);
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::denied);
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("mic-1"));
    EXPECT_EQ(firstSidecar().videoDevice, "none");
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(firstSidecar().notes, ElementsAre("Camera access is denied; recorded audio only."));
    EXPECT_THAT(
        notices(), ElementsAre("Recording audio only, with no camera: Integrated Microphone. "
                               "Camera access is denied; recorded audio only."));
    EXPECT_EQ(statusLine(), "Recording 00:00 — zoom.us — none / Integrated Microphone");
}

TEST_F(AppModelRecording, AStopRequestedDuringAStartFindsWhatTheStartMade) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    model().recordNowFromMenu();
    runFor(3s);
    model().stopRecordingFromMenu();
    runFor(3s);
    EXPECT_THAT(linesAbout("end recording"), IsEmpty()) << "the start still waits for the user";
    capture.answerAccess(MediaType::audio, true);
    settle();
    EXPECT_THAT(linesAbout("end recording"), SizeIs(1));
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
}

TEST_F(AppModelRecording, AStopThatFindsNothingBeingRecordedDoesNothing) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    model().recordNowFromMenu();
    settle();
    model().stopRecordingFromMenu();
    capture.answerAccess(MediaType::audio, false);
    settle();
    EXPECT_THAT(linesAbout("end recording"), IsEmpty());
    EXPECT_THAT(folderContents(), IsEmpty());
}

// --- Devices ---

TEST_F(AppModelRecording, TheDevicesThatTheUserChoseAreUsed) {
    capture.addCamera(webcam);
    capture.addMicrophone(headset);
    model().settings.preferredVideoDeviceID.set(webcam.uniqueID);
    model().settings.preferredAudioDeviceID.set(headset.uniqueID);
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-2", "mic-2"));
    EXPECT_FALSE(firstSidecar().fallbackUsed);
    EXPECT_THAT(notices(), IsEmpty());
}

TEST_F(AppModelRecording, TheDefaultMicrophoneOfTheMomentIsUsed) {
    constexpr AudioObjectID secondDevice = 2;
    capture.addMicrophone(headset);
    audio.setDevice(secondDevice, {.uniqueID = headset.uniqueID});
    audio.setDefaultInputDevice(secondDevice);
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-1", "mic-2"));
    EXPECT_EQ(firstSidecar().audioDevice, "Headset");
    EXPECT_FALSE(firstSidecar().fallbackUsed);
    EXPECT_THAT(statusLine(), testing::EndsWith(" — Integrated Camera / Headset"));
}

TEST_F(AppModelRecording, ADeviceThatNobodyReportedIsFoundByTheStart) {
    launch();
    capture.addCamera(webcam);
    capture.addMicrophone(headset);
    model().settings.preferredVideoDeviceID.set(webcam.uniqueID);
    model().settings.preferredAudioDeviceID.set(headset.uniqueID);
    model().recordNowFromMenu();
    settle(); // before the next poll
    EXPECT_THAT(opened(), ElementsAre("cam-2", "mic-2"));
    EXPECT_FALSE(firstSidecar().fallbackUsed);
}

TEST_F(AppModelRecording, ACameraThatIsPulledAfterItWasChosenIsNotNamed) {
    capture.addCamera(webcam);
    capture.script().pulled = {builtInCamera.uniqueID};
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-2", "mic-1"));
    EXPECT_EQ(firstSidecar().videoDevice, "Desk Webcam");
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Camera Integrated Camera refused to open; recorded with Desk Webcam."));
}

TEST_F(AppModelRecording, TheOnlyCameraThatIsPulledAfterItWasChosenIsNotNamed) {
    capture.script().pulled = {builtInCamera.uniqueID};
    callBegins();
    EXPECT_EQ(firstSidecar().videoDevice, "none");
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Camera Integrated Camera refused to open; recorded audio only."));
}

TEST_F(AppModelRecording, AMicrophoneThatIsPulledAfterItWasChosenIsNotNamed) {
    capture.script().pulled = {builtInMicrophone.uniqueID};
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-1"));
    EXPECT_EQ(firstSidecar().audioDevice, "none");
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(
        firstSidecar().notes, ElementsAre("No microphone was available; recorded without audio."));
    EXPECT_THAT(statusLine(), testing::EndsWith(" — Integrated Camera / none"));
}

TEST_F(AppModelRecording, TheNotesOfTheStartAreStillThereAfterTheStop) {
    model().settings.preferredVideoDeviceID.set("gone");
    callBegins();
    const auto atTheStart = firstSidecar().notes;
    ASSERT_THAT(atTheStart, SizeIs(1));
    callEnds();
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
    EXPECT_EQ(firstSidecar().notes, atTheStart);
}

TEST_F(AppModelRecording, TheNotesOfTheStartComeBeforeThatOfAFailedConversion) {
    model().settings.preferredVideoDeviceID.set("gone");
    callBegins();
    conversionsFail();
    callEnds();
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre(
            "Preferred camera was unavailable; used Integrated Camera instead.",
            StartsWith("MP4 conversion failed (")));
}

TEST_F(AppModelRecording, APreferredCameraThatIsNotThereIsReplacedAndNoted) {
    model().settings.preferredVideoDeviceID.set("gone");
    callBegins();
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Preferred camera was unavailable; used Integrated Camera instead."));
    EXPECT_THAT(
        notices(), ElementsAre("Recording with Integrated Camera / Integrated Microphone."));
}

TEST_F(AppModelRecording, APreferredMicrophoneThatIsNotThereIsReplacedAndNoted) {
    model().settings.preferredAudioDeviceID.set("gone");
    callBegins();
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Preferred microphone was unavailable; used Integrated Microphone instead."));
    EXPECT_THAT(
        notices(), ElementsAre("Recording with Integrated Camera / Integrated Microphone."));
}

TEST_F(AppModelRecording, BothReplacedDevicesAreNotedTheCameraFirst) {
    model().settings.preferredVideoDeviceID.set("gone");
    model().settings.preferredAudioDeviceID.set("gone too");
    callBegins();
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre(
            "Preferred camera was unavailable; used Integrated Camera instead.",
            "Preferred microphone was unavailable; used Integrated Microphone instead."));
}

TEST_F(AppModelRecording, WithoutAMicrophoneThePictureIsRecorded) {
    capture.removeDevice(builtInMicrophone.uniqueID);
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-1"));
    EXPECT_EQ(firstSidecar().audioDevice, "none");
    EXPECT_THAT(
        firstSidecar().notes, ElementsAre("No microphone was available; recorded without audio."));
    EXPECT_THAT(linesAbout("recording: "), ElementsAre(HasSubstr("audio=none")));
}

TEST_F(AppModelRecording, WithoutACameraTheSoundIsRecorded) {
    capture.removeDevice(builtInCamera.uniqueID);
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("mic-1"));
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(firstSidecar().notes, ElementsAre("No camera was available; recorded audio only."));
    EXPECT_THAT(
        notices(), ElementsAre("Recording audio only, with no camera: Integrated Microphone. "
                               "No camera was available; recorded audio only."));
}

TEST_F(AppModelRecording, ACameraThatWillNotOpenIsFollowedByTheNext) {
    const CaptureDeviceInfo third{"cam-3", "Third Camera", false};
    capture.addCamera(webcam);
    capture.addCamera(third);
    capture.script().refuseOpen = {builtInCamera.uniqueID, webcam.uniqueID};
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-1", "cam-2", "cam-3", "mic-1"));
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Camera Integrated Camera refused to open; recorded with Third Camera."));
    EXPECT_THAT(notices(), ElementsAre("Recording with Third Camera / Integrated Microphone."));
    EXPECT_THAT(
        linesAbout("recording: "),
        ElementsAre("recording: 2026-03-14_0930 video=Third Camera audio=Integrated Microphone "
                    "fallback=true"));
}

TEST_F(AppModelRecording, TheChosenCameraIsTriedFirstAndOnlyOnce) {
    capture.addCamera(webcam);
    model().settings.preferredVideoDeviceID.set(webcam.uniqueID);
    capture.script().refuseOpen = {webcam.uniqueID, builtInCamera.uniqueID};
    callBegins();
    EXPECT_THAT(opened(), ElementsAre("cam-2", "cam-1", "mic-1"));
}

TEST_F(AppModelRecording, WhenEveryCameraRefusesTheSoundIsRecorded) {
    capture.addCamera(webcam);
    capture.script().refuseOpen = {builtInCamera.uniqueID, webcam.uniqueID};
    callBegins();
    EXPECT_EQ(firstSidecar().videoDevice, "none");
    EXPECT_TRUE(firstSidecar().fallbackUsed);
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("Camera Integrated Camera refused to open; recorded audio only."));
    EXPECT_THAT(
        notices(), ElementsAre("Recording audio only, with no camera: Integrated Microphone. "
                               "Camera Integrated Camera refused to open; recorded audio only."));
    EXPECT_THAT(
        linesAbout("recording: "),
        ElementsAre("recording: 2026-03-14_0930 video=none audio=Integrated Microphone "
                    "fallback=true"));
}

TEST_F(AppModelRecording, WhenNothingOpensTheUserIsToldAndTheCallIsMuted) {
    capture.script().refuseOpen = {builtInCamera.uniqueID, builtInMicrophone.uniqueID};
    callBegins();
    EXPECT_EQ(sessionInWords(), "armed zoom#1");
    EXPECT_THAT(
        notices(), ElementsAre("Could not open any camera or microphone. Nothing was recorded."));
    EXPECT_EQ(model().captureWarning.get(), std::nullopt);
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("No camera or microphone could be opened; nothing was recorded."));
    EXPECT_EQ(firstSidecar().endedAt, clock.now());
    EXPECT_FALSE(firstSidecar().interrupted);
    EXPECT_THAT(
        linesAbout("nothing could be opened"),
        ElementsAre("nothing could be opened for 2026-03-14_0930"));
    runFor(10min);
    EXPECT_THAT(linesAbout("begin recording"), SizeIs(1));
}

// --- Stopping without a whole movie ---

TEST_F(AppModelRecording, WhenTheConversionFailsTheMovIsKept) {
    recordZoomCall();
    conversionsFail();
    callEnds();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mov"));
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("MP4 conversion failed (Converting to MP4 failed: Could not create a "
                    "passthrough export session.); kept the original recording as "
                    "2026-03-14_0930.mov"));
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
    EXPECT_THAT(
        notices(), ElementsAre("The MP4 conversion failed, so the recording was kept as "
                               "2026-03-14_0930.mov."));
    EXPECT_THAT(
        systemLog.lines(),
        Contains("stop and keep failed: 2026-03-14_0930 error=Converting to MP4 failed: Could not "
                 "create a passthrough export session.; .mov exists, 8 bytes; .mp4 missing; "
                 "capture finished with: no error reported"));
}

TEST_F(AppModelRecording, TheEndIsTheOneOfTheConversionWhetherItSucceedsOrFails) {
    for (const auto outcome : {ExportSession::Status::completed, ExportSession::Status::failed}) {
        recordZoomCall();
        const auto baseName = captured.back().stem().string();
        exporter().script().finishAtOnce = false;
        exporter().script().status = outcome;
        model().stopRecordingFromMenu();
        const Date stoppedAt = clock.now();
        runFor(5min);
        EXPECT_EQ(sidecar(baseName).endedAt, std::nullopt);
        exporter().finish();
        settle();
        EXPECT_EQ(sidecar(baseName).endedAt, stoppedAt + Seconds{300});
        kill();
        start();
    }
}

TEST_F(AppModelRecording, AMovOfOneByteIsKept) {
    recordZoomCall();
    files.setReportedSize(folder.movURL(firstBaseName), 1);
    conversionsFail();
    callEnds();
    EXPECT_THAT(
        notices(), ElementsAre("The MP4 conversion failed, so the recording was kept as "
                               "2026-03-14_0930.mov."));
}

TEST_F(AppModelRecording, AnEmptyMovCountsAsLostButStays) {
    recordZoomCall();
    files.setReportedSize(folder.movURL(firstBaseName), 0);
    conversionsFail();
    callEnds();
    EXPECT_THAT(
        notices(),
        ElementsAre("The recording 2026-03-14_0930 was lost: no video file was written."));
    EXPECT_THAT(
        firstSidecar().notes,
        ElementsAre("No video file was written; capture finished with: no error reported"));
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930.mov"));
}

TEST_F(AppModelRecording, AMissingMovIsLostAndTheErrorThatClosedItIsNoted) {
    recordZoomCall();
    files.removeFile(folder.movURL(firstBaseName));
    conversionsFail();
    capture.script().finishError = PlatformError{
        .domain = "POSIX", .code = 28, .description = "No space left on device", .underlying = {}};
    callEnds();
    EXPECT_THAT(
        notices(),
        ElementsAre("The recording 2026-03-14_0930 was lost: no video file was written."));
    EXPECT_THAT(
        firstSidecar().notes, ElementsAre("No video file was written; capture finished with: POSIX "
                                          "28: No space left on device"));
}

// --- Discarding ---

TEST_F(AppModelRecording, DiscardingRemovesTheMovieAndItsSidecar) {
    recordZoomCall();
    files.putFile(folder.mp4URL(firstBaseName), "an earlier conversion");
    model().stopAndDiscard();
    settle();
    EXPECT_THAT(folderContents(), IsEmpty());
    EXPECT_THAT(
        linesAbout("end recording"), ElementsAre("end recording: 2026-03-14_0930 keep=false"));
    EXPECT_THAT(notices(), IsEmpty());
}

TEST_F(AppModelRecording, WhatWasDiscardedStaysSoAfterALossOfPower) {
    recordZoomCall();
    files.putFile(folder.mp4URL(firstBaseName), "an earlier conversion");
    model().stopAndDiscard();
    settle();
    files.losePower();
    EXPECT_THAT(folderContents(), IsEmpty());
}

TEST_F(AppModelRecording, ALossOfPowerAmidADiscardLeavesNothingToRecover) {
    capture.script().finishWhenStopped = false;
    recordZoomCall();
    model().stopAndDiscard();
    settle();
    kill();
    files.losePower();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.mov")) << "it was still open";
    const auto found = InterruptedScan::scan(folder, files);
    ASSERT_TRUE(found);
    EXPECT_THAT(*found, IsEmpty());
}

TEST_F(AppModelRecording, ADiscardedSidecarIsGoneForGoodBeforeItsMovie) {
    recordZoomCall();
    files.forgetCalls();
    model().stopAndDiscard();
    settle();
    std::vector<Call> changes;
    for (const Call& call : files.calls()) {
        if (call.operation == Operation::removeFile || call.operation == Operation::syncDirectory) {
            changes.push_back(call);
        }
    }
    const Call synced{Operation::syncDirectory, folder.root};
    EXPECT_THAT(
        changes, ElementsAre(
                     Call{Operation::removeFile, folder.sidecarURL(firstBaseName)}, synced,
                     Call{Operation::removeFile, folder.movURL(firstBaseName)}, synced,
                     Call{Operation::removeFile, folder.mp4URL(firstBaseName)}));
}

TEST_F(AppModelRecording, DiscardingLeavesOtherRecordingsAlone) {
    recordZoomCall();
    callEnds();
    zoomTakesTheMicrophone();
    runFor(60s);
    model().stopAndDiscard();
    settle();
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

// --- One after the other ---

TEST_F(AppModelRecording, ARecordingBeginsOnlyWhenTheOneBeforeIsConverted) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    model().stopRecordingFromMenu();
    runFor(1s);
    model().recordNowFromMenu();
    runFor(10s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(firstSidecar().endedAt, std::nullopt);
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
}

// --- Quitting ---

TEST_F(AppModelRecording, QuittingWhenIdleIsDoneAtOnce) {
    launch();
    int finished = 0;
    model().prepareToQuit([&] { ++finished; });
    settle();
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(loop().pendingTimers(), 0U);
    runFor(60s);
    EXPECT_EQ(finished, 1);
}

TEST_F(AppModelRecording, QuittingKeepsTheRunningRecordingFirst) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    int finished = 0;
    model().prepareToQuit([&] { ++finished; });
    runFor(10s);
    EXPECT_EQ(finished, 0) << "the conversion still runs";
    exporter().finish();
    settle();
    EXPECT_EQ(finished, 1);
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
    EXPECT_NE(firstSidecar().endedAt, std::nullopt);
}

TEST_F(AppModelRecording, QuittingDuringAStartKeepsWhatItMade) {
    launch();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::notDetermined);
    model().recordNowFromMenu();
    settle();
    int finished = 0;
    model().prepareToQuit([&] { ++finished; });
    runFor(10s);
    EXPECT_EQ(finished, 0);
    capture.answerAccess(MediaType::audio, true);
    settle();
    EXPECT_EQ(finished, 1);
    EXPECT_THAT(folderContents(), ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4"));
}

TEST_F(AppModelRecording, QuittingWhileAFailedSegmentIsConvertedKeepsAllThereIs) {
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    deviceDies();
    settle();
    int finished = 0;
    model().prepareToQuit([&] { ++finished; });
    runFor(10s);
    EXPECT_EQ(finished, 0);
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_EQ(finished, 1);
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930.mp4"));
    for (const auto& name : folderContents()) {
        EXPECT_THAT(name, Not(HasSubstr(".mov")));
    }
}

TEST_F(AppModelRecording, QuittingAfterADiscardWaitsForIt) {
    recordZoomCall();
    holdCaptureQueue(true);
    model().stopAndDiscard();
    int finished = 0;
    model().prepareToQuit([&] { ++finished; });
    settle();
    EXPECT_EQ(finished, 0);
    holdCaptureQueue(false);
    settle();
    EXPECT_EQ(finished, 1);
    EXPECT_THAT(folderContents(), IsEmpty());
}

} // namespace
} // namespace brindle
