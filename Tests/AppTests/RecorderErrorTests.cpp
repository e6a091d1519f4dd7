#include "BrindleRecorderApp/Recording/RecorderError.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace brindle {
namespace {

struct Row {
    RecorderError error;
    std::string userMessage;
    CaptureFailureKind kind;
};

std::vector<Row> rows() {
    using enum CaptureFailureKind;
    return {
        {RecorderError::sessionRuntimeFailure("camera unplugged"),
         "Capture stopped: camera unplugged", deviceDead},
        {RecorderError::cameraTaken("zoom.us"), "Capture stopped: zoom.us is using the camera.",
         deviceDead},
        {RecorderError::cameraTaken(std::nullopt),
         "Capture stopped: Another program is using the camera.", deviceDead},
        {RecorderError::remuxFailed("Export was cancelled."),
         "Converting to MP4 failed: Export was cancelled.", fatal},
        {RecorderError::recordingStoppedUnexpectedly("no error reported"),
         "Recording stopped on its own (no error reported).", writingStopped},
        {RecorderError::stalled(10), "Nothing was written for 10 s.", writingStopped},
        {RecorderError::alreadyRecording(), "Already recording.", fatal},
        {RecorderError::notRecording(), "Not recording.", fatal},
        {RecorderError::noInputsAvailable(), "No camera or microphone could be opened.", fatal},
        {RecorderError::cannotAddVideoInput(), "The camera could not be opened.", fatal},
        {RecorderError::cannotAddAudioInput(), "The microphone could not be opened.", fatal},
        {RecorderError::cannotAddOutput(), "The capture session could not write a file.", fatal},
        {RecorderError::noFramesReceived(), "The camera delivered no frames.", deviceDead},
    };
}

TEST(RecorderError, TellsTheUserWhatHappened) {
    for (const auto& row : rows()) {
        EXPECT_EQ(row.error.userMessage(), row.userMessage);
    }
}

TEST(RecorderError, IsClassedForTheRecovery) {
    for (const auto& row : rows()) {
        EXPECT_EQ(row.error.failureKind(), row.kind) << row.userMessage;
    }
}

TEST(RecorderError, EqualsOnlyTheSameCaseWithTheSamePayload) {
    const auto all = rows();
    for (std::size_t one = 0; one < all.size(); ++one) {
        for (std::size_t other = 0; other < all.size(); ++other) {
            EXPECT_EQ(all[one].error == all[other].error, one == other);
        }
    }
    EXPECT_NE(RecorderError::stalled(10), RecorderError::stalled(11));
    EXPECT_NE(RecorderError::remuxFailed("a"), RecorderError::remuxFailed("b"));
}

} // namespace
} // namespace brindle
