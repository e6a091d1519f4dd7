// The words that stay: in sidecars, in notifications, in the menu's warning.
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"

#include "Support/NamedTimeZone.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace brindle {
namespace {

const CaptureDeviceInfo camera{"cam-1", "Integrated Camera", true};
const CaptureDeviceInfo webcam{"cam-2", "Desk Webcam", false};
constexpr Date moment = dateFromUnixSeconds(1'773'480'612); // 2026-03-14T09:30:12Z

TEST(RecordingNotes, FixedTexts) {
    EXPECT_STREQ(
        RecordingNotes::noMicrophone, "No microphone was available; recorded without audio.");
    EXPECT_STREQ(
        RecordingNotes::nothingOpened,
        "No camera or microphone could be opened; nothing was recorded.");
    EXPECT_STREQ(RecordingNotes::noPartialFile, "No partial recording file was found.");
    EXPECT_STREQ(
        RecordingNotes::partialConversionFailed,
        "Converting the partial recording to .mp4 failed; the .mov was left in place.");
    EXPECT_STREQ(
        RecordingNotes::interruptedWithoutMovie,
        "Recording was interrupted and no .mov file was found.");
}

TEST(RecordingNotes, ANewSegmentNamesTheOneBeforeIt) {
    EXPECT_EQ(
        RecordingNotes::continues("2026-03-14_0930"),
        "continues 2026-03-14_0930.mp4 after capture failure");
}

TEST(RecordingNotes, AnUnavailableDeviceSaysWhoHadWantedIt) {
    EXPECT_EQ(
        RecordingNotes::deviceUnavailable(true, "camera", "Integrated Camera"),
        "Preferred camera was unavailable; used Integrated Camera instead.");
    EXPECT_EQ(
        RecordingNotes::deviceUnavailable(false, "microphone", "Headset"),
        "System default microphone was unavailable; used Headset instead.");
}

TEST(RecordingNotes, TheCameraNoteSaysWhatBecameOfTheCamera) {
    struct Case {
        std::optional<CaptureDeviceInfo> resolved;
        std::optional<CaptureDeviceInfo> used;
        bool denied;
        std::string note;
    };
    for (const auto& [resolved, used, denied, note] : {
             Case{
                 camera, std::nullopt, false,
                 "Camera Integrated Camera refused to open; recorded audio only."},
             Case{
                 camera, webcam, false,
                 "Camera Integrated Camera refused to open; recorded with Desk Webcam."},
             Case{
                 std::nullopt, std::nullopt, true, "Camera access is denied; recorded audio only."},
             Case{
                 std::nullopt, std::nullopt, false,
                 "No camera was available; recorded audio only."},
             Case{
                 std::nullopt, webcam, false, "No camera was resolved; recorded with Desk Webcam."},
         }) {
        EXPECT_EQ(RecordingNotes::cameraNote(resolved, used, denied), note);
    }
}

TEST(RecordingNotes, ACaptureFailureIsDatedInTheZoneOfTheDay) {
    EXPECT_EQ(
        RecordingNotes::captureFailure(
            moment, "The camera delivered no frames.", std::nullopt, TimeZone::utc()),
        "capture failed at 2026-03-14T09:30:12Z: The camera delivered no frames.");
    const TimeZone kathmandu = test::timeZoneNamed("Asia/Kathmandu");
    EXPECT_EQ(
        RecordingNotes::captureFailure(
            moment, "Nothing was written for 10 s.", "2026-03-14_0930-2", kathmandu),
        "capture failed at 2026-03-14T15:15:12+05:45: Nothing was written for 10 s.; continued in "
        "2026-03-14_0930-2.mp4");
}

TEST(RecordingNotes, AFailedStopSaysWhatIsLeft) {
    EXPECT_EQ(
        RecordingNotes::conversionFailed("Not recording.", "2026-03-14_0930"),
        "MP4 conversion failed (Not recording.); kept the original recording as "
        "2026-03-14_0930.mov");
    EXPECT_EQ(
        RecordingNotes::noVideoFile("no error reported"),
        "No video file was written; capture finished with: no error reported");
}

TEST(RecordingMessages, FixedTexts) {
    EXPECT_STREQ(RecordingMessages::title, "Brindle Recorder");
    EXPECT_EQ(RecordingMessages::noDiskSpace(), "Not enough free disk space.");
    EXPECT_EQ(
        RecordingMessages::microphoneDenied(),
        "Microphone access is denied, so nothing could be recorded.");
    EXPECT_EQ(
        RecordingMessages::nothingOpened(),
        "Could not open any camera or microphone. Nothing was recorded.");
    EXPECT_EQ(
        RecordingMessages::nothingReopened(),
        "Recording stopped: no camera or microphone could be reopened.");
}

TEST(RecordingMessages, AFallbackNamesTheDevicesInUse) {
    EXPECT_EQ(
        RecordingMessages::fallbackUsed("Desk Webcam", "Headset", "a note"),
        "Recording with Desk Webcam / Headset.");
    EXPECT_EQ(
        RecordingMessages::fallbackUsed(std::nullopt, "Headset", std::nullopt),
        "Recording audio only, with no camera: Headset.");
    EXPECT_EQ(
        RecordingMessages::fallbackUsed(
            std::nullopt, "Headset", "No camera was available; recorded audio only."),
        "Recording audio only, with no camera: Headset. No camera was available; recorded audio "
        "only.");
}

TEST(RecordingMessages, AFailedStopSaysWhereTheRecordingIs) {
    EXPECT_EQ(
        RecordingMessages::keptAsMov("2026-03-14_0930"),
        "The MP4 conversion failed, so the recording was kept as 2026-03-14_0930.mov.");
    EXPECT_EQ(
        RecordingMessages::lost("2026-03-14_0930"),
        "The recording 2026-03-14_0930 was lost: no video file was written.");
}

TEST(RecordingMessages, ACaptureFailureSaysHowItGoesOn) {
    const std::string error = "The camera delivered no frames.";
    EXPECT_EQ(
        RecordingMessages::restarting(error),
        "The camera delivered no frames. Restarting capture into a new file.");
    EXPECT_EQ(
        RecordingMessages::stoppedAt("09:30", error),
        "Recording stopped at 09:30: The camera delivered no frames.");
    EXPECT_EQ(
        RecordingMessages::problemAt("09:30", error, "2026-03-14_0930-2"),
        "Capture problem at 09:30: The camera delivered no frames. Recording continues in "
        "2026-03-14_0930-2.mp4.");
    EXPECT_EQ(
        RecordingMessages::problemAt("09:30", error, std::nullopt),
        "Capture problem at 09:30: The camera delivered no frames. Recording continues in a new "
        "file.");
}

TEST(RecordingMessages, ARepairCountsItsRecordings) {
    EXPECT_EQ(RecordingMessages::recovered(1), "Recovered 1 interrupted recording(s).");
    EXPECT_EQ(RecordingMessages::recovered(12), "Recovered 12 interrupted recording(s).");
}

TEST(RecordingMessages, TheTimeOfDayIsThatOfTheZone) {
    EXPECT_EQ(RecordingMessages::timeOfDay(moment, TimeZone::utc()), "09:30");
    const TimeZone kathmandu = test::timeZoneNamed("Asia/Kathmandu");
    EXPECT_EQ(RecordingMessages::timeOfDay(moment, kathmandu), "15:15");
    EXPECT_EQ(RecordingMessages::timeOfDay(dateFromUnixSeconds(0), TimeZone::utc()), "00:00");
}

} // namespace
} // namespace brindle
