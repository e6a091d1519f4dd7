// A camera that somebody else uses: the call is recorded without a picture, and with one as soon as
// that is possible.
#include "Support/AppScene.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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

const std::string secondBaseName = "2026-03-14_0930-2";

class CameraInUse : public testing::Test, protected test::AppScene {
  protected:
    static constexpr std::int32_t zoomPid = 7001;

    CameraInUse() { processes.bundleIDs[zoomPid] = zoom; }

    void zoomTakesTheCamera() {
        capture.setHolder(builtInCamera.uniqueID, CameraHolder{.pid = zoomPid});
        settle();
    }
    void zoomOpensTheCamera() {
        capture.setOpeners(builtInCamera.uniqueID, {zoomPid});
        settle();
    }
    void zoomClosesTheCamera() {
        capture.setOpeners(builtInCamera.uniqueID, {});
        settle();
    }
    void theCameraIsFree() {
        capture.setHolder(builtInCamera.uniqueID, std::nullopt);
        settle();
    }
    void pullCamera() {
        capture.removeDevice(builtInCamera.uniqueID);
        capture.fireDevicesChanged();
        settle();
    }
    void plugInCamera() {
        capture.addCamera(builtInCamera);
        capture.setDefaultCamera(builtInCamera);
        capture.fireDevicesChanged();
        settle();
    }
};

TEST_F(CameraInUse, TheSoundIsRecordedAndTheHolderNamed) {
    zoomTakesTheCamera();
    recordZoomCall();
    const auto first = sidecar(firstBaseName);
    EXPECT_EQ(first.videoDevice, "none");
    EXPECT_EQ(first.audioDevice, "Integrated Microphone");
    EXPECT_TRUE(first.fallbackUsed);
    EXPECT_THAT(first.notes, ElementsAre("zoom.us is using the camera; recording sound only."));
    EXPECT_THAT(notices(), ElementsAre("zoom.us is using the camera; recording sound only."));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr(builtInCamera.uniqueID))))
        << "a camera that is somebody else's is not even opened";
}

TEST_F(CameraInUse, AHolderThatNobodyKnowsIsAnotherProgram) {
    capture.setHolder(builtInCamera.uniqueID, CameraHolder{});
    recordZoomCall();
    EXPECT_THAT(
        notices(), ElementsAre("Another program is using the camera; recording sound only."));
}

TEST_F(CameraInUse, AHolderIsNamedByItsFileWhereNothingElseIsKnown) {
    constexpr std::int32_t pid = 7002;
    processes.executablePaths[pid] = "/usr/bin/guvcview";
    capture.setHolder(builtInCamera.uniqueID, CameraHolder{.pid = pid});
    recordZoomCall();
    EXPECT_THAT(notices(), ElementsAre("guvcview is using the camera; recording sound only."));
}

TEST_F(CameraInUse, AnotherCameraThatIsFreeIsUsed) {
    capture.addCamera(webcam);
    zoomTakesTheCamera();
    recordZoomCall();
    EXPECT_EQ(sidecar(firstBaseName).videoDevice, "Desk Webcam");
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("Camera Integrated Camera refused to open; recorded with Desk Webcam."));
    theCameraIsFree();
    runFor(120s);
    EXPECT_THAT(captured, SizeIs(1)) << "one camera is as good as another";
}

TEST_F(CameraInUse, TheRecordingGoesOnWithAPictureWhenTheCameraIsFree) {
    zoomTakesTheCamera();
    recordZoomCall();
    runFor(25s);
    theCameraIsFree();
    runFor(2s);
    EXPECT_THAT(captured, SizeIs(1)) << "somebody may be about to take it again";
    runFor(2s);
    EXPECT_THAT(camerasUsed(), ElementsAre("none", "Integrated Camera"));
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre(
            "zoom.us is using the camera; recording sound only.",
            "capture failed at 2026-03-14T09:30:45Z: The camera is available again.; continued in "
            "2026-03-14_0930-2.mp4"));
    EXPECT_NE(sidecar(firstBaseName).endedAt, std::nullopt);
    EXPECT_THAT(
        sidecar(secondBaseName).notes,
        ElementsAre("continues 2026-03-14_0930.mp4 after capture failure"));
    EXPECT_THAT(folderContents(), Contains("2026-03-14_0930.mp4"));
    EXPECT_EQ(
        notices().back(), "The camera is available again. Restarting capture into a new file.");
    EXPECT_EQ(model().captureWarning.get(), std::nullopt) << "nothing is wrong";
    EXPECT_TRUE(model().sessionState.get().isRecording());
}

TEST_F(CameraInUse, ACameraThatIsTakenAgainAtOnceStaysWhereItIs) {
    zoomTakesTheCamera();
    recordZoomCall();
    for (int time = 0; time < 5; ++time) {
        theCameraIsFree();
        runFor(2s);
        zoomTakesTheCamera();
        runFor(2s);
    }
    EXPECT_THAT(captured, SizeIs(1));
}

TEST_F(CameraInUse, ThePictureReturnsOnceAMinuteAtMost) {
    zoomTakesTheCamera();
    recordZoomCall();
    theCameraIsFree();
    runFor(4s);
    ASSERT_THAT(captured, SizeIs(2));
    deviceDies(); // the camera was blocked by that, until it is plugged in again
    settle();
    pullCamera();
    plugInCamera();
    runFor(30s);
    EXPECT_THAT(camerasUsed(), ElementsAre("none", "Integrated Camera", "none"));
    runFor(30s);
    EXPECT_THAT(
        camerasUsed(), ElementsAre("none", "Integrated Camera", "none", "Integrated Camera"));
}

TEST_F(CameraInUse, ACameraThatIsPluggedInAgainIsUsedAgain) {
    recordZoomCall();
    runFor(10s);
    deviceDies();
    settle();
    pullCamera();
    runFor(10s);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none"));
    plugInCamera();
    runFor(4s);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none", "Integrated Camera"));
}

TEST_F(CameraInUse, ACameraThatFailedStaysBlockedWhileItIsPluggedIn) {
    recordZoomCall();
    runFor(10s);
    deviceDies();
    settle();
    theCameraIsFree();
    runFor(120s);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none"));
}

TEST_F(CameraInUse, ACameraThatCannotBeOpenedIsNotTriedAgainAndAgain) {
    capture.script().refuseOpen = {builtInCamera.uniqueID};
    recordZoomCall();
    runFor(300s);
    EXPECT_THAT(captured, SizeIs(1));
    capture.script().refuseOpen = {};
    pullCamera();
    plugInCamera();
    runFor(4s);
    EXPECT_THAT(camerasUsed(), ElementsAre("none", "Integrated Camera"));
}

TEST_F(CameraInUse, ACameraThatArrivesInMidCallIsUsed) {
    capture.removeDevice(builtInCamera.uniqueID);
    recordZoomCall();
    plugInCamera();
    runFor(4s);
    EXPECT_THAT(camerasUsed(), ElementsAre("none", "Integrated Camera"));
}

TEST_F(CameraInUse, NothingBeginsWhenTheCallIsOver) {
    zoomTakesTheCamera();
    recordZoomCall();
    runFor(10s);
    zoomReleasesTheMicrophone();
    runFor(21s);
    ASSERT_EQ(sessionInWords(), "idle");
    theCameraIsFree();
    runFor(120s);
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_EQ(capture.useListeners(), 0U);
}

TEST_F(CameraInUse, ACallThatEndsWhileTheFirstPartIsConvertedGetsNoSecond) {
    zoomTakesTheCamera();
    recordZoomCall();
    exporter().script().finishAtOnce = false;
    theCameraIsFree();
    runFor(4s);
    zoomReleasesTheMicrophone();
    runFor(25s);
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        Contains("capture failed at 2026-03-14T09:30:20Z: The camera is available again."));
    EXPECT_EQ(sessionInWords(), "idle");
}

// --- Somebody wants the camera that is being recorded ---

TEST_F(CameraInUse, WhoeverOpensTheCameraHasItAtOnce) {
    recordZoomCall();
    runFor(10s);
    zoomOpensTheCamera();
    EXPECT_THAT(capture.calls(), Contains("release camera"));
    EXPECT_TRUE(model().sessionState.get().isRecording());
    EXPECT_THAT(captured, SizeIs(1)) << "the sound goes on in the same file";
}

TEST_F(CameraInUse, ACameraThatWasOnlyLookedAtIsTakenAgain) {
    recordZoomCall();
    zoomOpensTheCamera();
    zoomClosesTheCamera();
    runFor(4s);
    EXPECT_THAT(capture.calls(), Not(Contains("retake camera")));
    runFor(2s);
    EXPECT_THAT(capture.calls(), Contains("retake camera"));
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_THAT(notices(), IsEmpty());
}

TEST_F(CameraInUse, ACameraThatIsUsedIsLostAndTheSoundGoesOn) {
    recordZoomCall();
    runFor(10s);
    zoomOpensTheCamera();
    zoomTakesTheCamera();
    runFor(6s);
    EXPECT_THAT(capture.calls(), Not(Contains("retake camera")));
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none"));
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("capture failed at 2026-03-14T09:30:32Z: Capture stopped: zoom.us is using the "
                    "camera.; continued in 2026-03-14_0930-2.mp4"));
    EXPECT_THAT(
        notices(),
        ElementsAre(
            "Capture stopped: zoom.us is using the camera. Restarting capture into a new file.",
            "zoom.us is using the camera; recording sound only."));
}

TEST_F(CameraInUse, ACameraThatWasLostToAnotherProgramReturns) {
    recordZoomCall();
    zoomOpensTheCamera();
    zoomTakesTheCamera();
    runFor(6s);
    zoomClosesTheCamera();
    theCameraIsFree();
    runFor(4s);
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "none", "Integrated Camera"));
}

TEST_F(CameraInUse, WhoHadTheCameraOpenBeforeAndDoesNotUseItIsLeftAlone) {
    zoomOpensTheCamera();
    recordZoomCall();
    runFor(60s);
    capture.setOpeners(builtInCamera.uniqueID, {zoomPid});
    runFor(60s);
    EXPECT_THAT(capture.calls(), Not(Contains("release camera")));
}

TEST_F(CameraInUse, WhoKeepsTheCameraOpenWithoutUsingItDoesNotStopThePictureAgainAndAgain) {
    recordZoomCall();
    zoomOpensTheCamera();
    runFor(60s);
    const auto calls = capture.calls();
    EXPECT_EQ(std::ranges::count(calls, "release camera"), 1);
    EXPECT_EQ(std::ranges::count(calls, "retake camera"), 1);
}

TEST_F(CameraInUse, AFailureMeanwhileIsLeftToItsOwnRules) {
    recordZoomCall();
    zoomOpensTheCamera();
    writingStops();
    zoomClosesTheCamera();
    runFor(10s);
    EXPECT_THAT(capture.calls(), Not(Contains("retake camera")));
    EXPECT_THAT(camerasUsed(), ElementsAre("Integrated Camera", "Integrated Camera"));
}

TEST_F(CameraInUse, WithoutLeaveForTheCameraNobodyWaitsForIt) {
    capture.setAuthorizationStatus(MediaType::video, AuthorizationStatus::denied);
    recordZoomCall();
    EXPECT_EQ(capture.useListeners(), 0U);
}

TEST_F(CameraInUse, SoundAloneAfterManyFailuresStaysSo) {
    recordZoomCall();
    for (int failure = 0; failure < 4; ++failure) {
        runFor(60s);
        writingStops();
        settle();
    }
    ASSERT_EQ(camerasUsed().back(), "none");
    pullCamera();
    plugInCamera();
    runFor(120s);
    EXPECT_THAT(captured, SizeIs(5));
}

} // namespace
} // namespace brindle
