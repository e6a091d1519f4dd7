// How a recording is set up, and what happens when a step of it fails.
#include "RecorderFixture.hpp"

#include <gmock/gmock.h>

namespace brindle {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

using RecorderStart = test::RecorderFixture;

TEST_F(RecorderStart, TakesEveryStepInOrder) {
    ASSERT_TRUE(startBoth(mov));
    const std::vector<std::string> onMainThread{
        "make session",
        "begin configuration",
        "lock cam",
        "frame duration cam 1/30 to 1/30",
        "unlock cam",
        "open cam",
        "can add input cam?",
        "add input cam",
        "open mic",
        "can add input mic?",
        "add input mic",
        "can set preset hd1920x1080?",
        "set preset hd1920x1080",
        "make output",
        "fragment interval 5",
        "can add output?",
        "add output",
        "commit configuration",
        "connection video?",
        "video settings 1920x1080 5000000 bit/s 30 fps key frame every 60 "
        "first picture within 2 s",
        "connection audio?",
        "audio settings 1 channel 48000 Hz 96000 bit/s",
        "observe runtime errors"};
    EXPECT_THAT(capture.calls(), ElementsAreArray(onMainThread));
    EXPECT_EQ(status(), RecorderStatus::recording(clock.now()));

    capture.script().journal.clear();
    queue.runAll();
    EXPECT_THAT(capture.calls(), ElementsAre("start running", "start recording a.mov"));
}

TEST_F(RecorderStart, RunsNothingThatBlocksOnTheMainThread) {
    ASSERT_TRUE(startBoth(mov));
    loop.runPosted();
    EXPECT_THAT(capture.calls(), Not(Contains("start running")));
    EXPECT_EQ(queue.pending(), 1U);
}

TEST_F(RecorderStart, NamesItsQueue) {
    EXPECT_STREQ(Recorder::sessionQueueLabel, "com.tamsworth.brindlerecorder.capture-session");
}

TEST_F(RecorderStart, OpensOnlyTheMicrophoneForSoundAlone) {
    ASSERT_TRUE(startSound(mov));
    EXPECT_THAT(
        capture.calls(),
        ElementsAre(
            "make session", "begin configuration", "open mic", "can add input mic?",
            "add input mic", "can set preset high?", "set preset high", "make output",
            "fragment interval 5", "can add output?", "add output", "commit configuration",
            "connection audio?", "audio settings 1 channel 48000 Hz 96000 bit/s",
            "observe runtime errors"));
}

TEST_F(RecorderStart, OpensOnlyTheCameraForPicturesAlone) {
    ASSERT_TRUE(recorder->start(capture.device("cam"), nullptr, mov));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr("mic"))));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr("audio"))));
}

TEST_F(RecorderStart, LogsTheFileAndTheDevices) {
    ASSERT_TRUE(startBoth(mov));
    EXPECT_THAT(
        diagnostics.messages(), ElementsAre("recorder start: a.mov video=Camera audio=Microphone"));
    EXPECT_EQ(systemLog.lines(), diagnostics.messages());
}

TEST_F(RecorderStart, LogsAMissingDeviceAsNone) {
    ASSERT_TRUE(startSound(mov));
    EXPECT_THAT(
        diagnostics.messages(), ElementsAre("recorder start: a.mov video=none audio=Microphone"));
}

TEST_F(RecorderStart, LogsAMissingMicrophoneAsNone) {
    ASSERT_TRUE(recorder->start(capture.device("cam"), nullptr, mov));
    EXPECT_THAT(
        diagnostics.messages(), ElementsAre("recorder start: a.mov video=Camera audio=none"));
}

TEST_F(RecorderStart, WithNeitherDeviceFailsAndLeavesTheStatus) {
    const auto started = recorder->start(nullptr, nullptr, mov);
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), RecorderError::noInputsAvailable());
    EXPECT_EQ(status(), RecorderStatus::idle());
    EXPECT_TRUE(capture.calls().empty());
}

TEST_F(RecorderStart, WithNeitherDeviceLeavesAFailedStatusToo) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    settle();
    const auto before = status();
    ASSERT_FALSE(recorder->start(nullptr, nullptr, nextMov));
    EXPECT_TRUE(before.isFailed());
    EXPECT_EQ(status(), before);
}

TEST_F(RecorderStart, WhileRecordingFailsAndLeavesTheRecording) {
    record(mov);
    const auto before = status();
    clock.advance(Seconds{1});
    const auto again = startBoth(nextMov);
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error(), RecorderError::alreadyRecording());
    EXPECT_EQ(status(), before);
    EXPECT_EQ(capture.sessions().size(), 1U);
}

TEST_F(RecorderStart, ReplacesAFailedStatus) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    ASSERT_TRUE(status().isFailed());
    settle();
    ASSERT_TRUE(startBoth(nextMov));
    EXPECT_TRUE(status().isRecording());
}

TEST_F(RecorderStart, ForgetsTheFinishErrorOfTheLastRecording) {
    record(mov);
    capture.output().finish(deviceError);
    settle();
    EXPECT_EQ(recorder->lastRecordingFinishError(), deviceError);
    ASSERT_TRUE(startBoth(nextMov));
    EXPECT_EQ(recorder->lastRecordingFinishError(), std::nullopt);
}

// --- Every step that may fail ---

struct FailingStep {
    const char* name;
    void (*arrange)(test::CaptureScript&);
    RecorderError error;
    const char* lastCallBeforeCommit;
};

void PrintTo(const FailingStep& step, std::ostream* out) {
    *out << step.name;
}

class RecorderStartFailure : public test::RecorderFixture,
                             public testing::WithParamInterface<FailingStep> {};

INSTANTIATE_TEST_SUITE_P(
    Steps, RecorderStartFailure,
    testing::Values(
        FailingStep{
            "CameraCannotBeOpened", [](auto& script) { script.refuseOpen = {"cam"}; },
            RecorderError::cannotAddVideoInput(), "open cam"},
        FailingStep{
            "CameraCannotBeAdded", [](auto& script) { script.refuseAddInput = {"cam"}; },
            RecorderError::cannotAddVideoInput(), "can add input cam?"},
        FailingStep{
            "MicrophoneCannotBeOpened", [](auto& script) { script.refuseOpen = {"mic"}; },
            RecorderError::cannotAddAudioInput(), "open mic"},
        FailingStep{
            "MicrophoneCannotBeAdded", [](auto& script) { script.refuseAddInput = {"mic"}; },
            RecorderError::cannotAddAudioInput(), "can add input mic?"},
        FailingStep{
            "OutputCannotBeAdded", [](auto& script) { script.refuseAddOutput = true; },
            RecorderError::cannotAddOutput(), "can add output?"}),
    [](const auto& step) { return std::string{step.param.name}; });

TEST_P(RecorderStartFailure, CommitsTheHalfBuiltConfigurationAndLeavesTheStatus) {
    GetParam().arrange(capture.script());
    const auto started = startBoth(mov);
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), GetParam().error);
    EXPECT_EQ(status(), RecorderStatus::idle());
    const auto calls = capture.calls();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[calls.size() - 1], "commit configuration");
    EXPECT_EQ(calls[calls.size() - 2], GetParam().lastCallBeforeCommit);
    EXPECT_EQ(queue.pending(), 0U);
    EXPECT_TRUE(failures.empty());
}

TEST_P(RecorderStartFailure, KeepsNoSession) {
    GetParam().arrange(capture.script());
    ASSERT_FALSE(startBoth(mov));
    const std::weak_ptr session = capture.sessions().back();
    capture.forgetSessions();
    EXPECT_TRUE(session.expired());
}

TEST_P(RecorderStartFailure, LeavesAFailedStatusToo) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    settle();
    const auto before = status();
    GetParam().arrange(capture.script());
    ASSERT_FALSE(startBoth(nextMov));
    EXPECT_EQ(status(), before);
}

TEST_P(RecorderStartFailure, DoesNotHinderTheNextStart) {
    GetParam().arrange(capture.script());
    ASSERT_FALSE(startBoth(mov));
    auto& script = capture.script();
    script.refuseOpen.clear();
    script.refuseAddInput.clear();
    script.refuseAddOutput = false;
    EXPECT_TRUE(startBoth(mov));
}

// --- The frame rate ---

TEST_F(RecorderStart, LeavesACameraThatCannotBeLockedAsItIs) {
    capture.script().refuseLock = {"cam"};
    EXPECT_TRUE(startBoth(mov));
    EXPECT_THAT(capture.calls(), Contains("lock cam"));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr("frame duration"))));
    EXPECT_THAT(capture.calls(), Not(Contains("unlock cam")));
}

struct FrameRates {
    const char* name;
    std::vector<FrameRateRange> offered;
    bool pinned;
};

void PrintTo(const FrameRates& rates, std::ostream* out) {
    *out << rates.name;
}

class RecorderFrameRate : public test::RecorderFixture,
                          public testing::WithParamInterface<FrameRates> {};

INSTANTIATE_TEST_SUITE_P(
    Offers, RecorderFrameRate,
    testing::Values(
        FrameRates{"Around", {{5, 60}}, true}, FrameRates{"ExactlyThirty", {{30, 30}}, true},
        FrameRates{"UpToThirty", {{1, 30}}, true}, FrameRates{"FromThirty", {{30, 60}}, true},
        FrameRates{"SecondRange", {{60, 60}, {15, 30}}, true},
        FrameRates{"OnlySlower", {{1, 29.97}}, false}, FrameRates{"OnlyFaster", {{50, 60}}, false},
        FrameRates{"GapAtThirty", {{1, 25}, {50, 60}}, false}, FrameRates{"Nothing", {}, false}),
    [](const auto& rates) { return std::string{rates.param.name}; });

TEST_P(RecorderFrameRate, IsPinnedAtThirtyWhereTheCameraOffersIt) {
    capture.removeDevice("cam");
    capture.addCamera({"cam", "Camera", true}, GetParam().offered);
    ASSERT_TRUE(startBoth(mov));
    const auto pinned = Contains("frame duration cam 1/30 to 1/30");
    if (GetParam().pinned) {
        EXPECT_THAT(capture.calls(), pinned);
    } else {
        EXPECT_THAT(capture.calls(), Not(pinned));
    }
    EXPECT_THAT(capture.calls(), Contains("unlock cam"));
}

// --- The preset and the output settings ---

TEST_F(RecorderStart, FallsBackToTheHighPresetWithoutAskingAgain) {
    capture.script().refusePreset = {SessionPreset::hd1920x1080, SessionPreset::high};
    ASSERT_TRUE(startBoth(mov));
    EXPECT_THAT(capture.calls(), Contains("set preset high"));
    EXPECT_THAT(capture.calls(), Not(Contains("set preset hd1920x1080")));
    EXPECT_THAT(capture.calls(), Not(Contains("can set preset high?")));
}

TEST_F(RecorderStart, SkipsTheSettingsOfAConnectionThatDoesNotExist) {
    capture.script().withoutConnection = {MediaType::video};
    ASSERT_TRUE(startBoth(mov));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr("video settings"))));
    EXPECT_THAT(capture.calls(), Contains(HasSubstr("audio settings")));
}

TEST_F(RecorderStart, SkipsTheSoundSettingsWithoutASoundConnection) {
    capture.script().withoutConnection = {MediaType::audio};
    ASSERT_TRUE(startBoth(mov));
    EXPECT_THAT(capture.calls(), Contains(HasSubstr("video settings")));
    EXPECT_THAT(capture.calls(), Not(Contains(HasSubstr("audio settings"))));
}

} // namespace
} // namespace brindle
