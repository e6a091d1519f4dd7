// How a running recording is watched, and how it fails.
#include "RecorderFixture.hpp"

#include "BrindleRecorderApp/Recording/CaptureWatchdog.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <thread>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using RecorderWatch = test::RecorderFixture;

// --- The watchdog ---

TEST_F(RecorderWatch, ACameraWithoutFramesFailsAtTheFirstTickAtOrAfterFiveSeconds) {
    record(mov);
    loop.advance(5999ms);
    EXPECT_THAT(failures, IsEmpty());
    loop.advance(1ms);
    EXPECT_THAT(failures, ElementsAre(RecorderError::noFramesReceived()));
    EXPECT_EQ(status(), RecorderStatus::failed(RecorderError::noFramesReceived()));
}

TEST_F(RecorderWatch, ACameraWithoutADurationFailsToo) {
    record(mov);
    capture.output().setRecordedDuration(Seconds{std::numeric_limits<double>::quiet_NaN()});
    loop.advance(6s);
    EXPECT_THAT(failures, ElementsAre(RecorderError::noFramesReceived()));
}

TEST_F(RecorderWatch, FramesAreOnlyAskedForOnce) {
    record(mov);
    capture.output().setRecordedDuration(Seconds{1});
    loop.advance(6s);
    capture.output().setRecordedDuration(Seconds{0});
    loop.advance(2s);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderWatch, NothingIsAskedBeforeFiveSeconds) {
    record(mov);
    loop.advance(5s);
    capture.output().setRecordedDuration(Seconds{0.1});
    loop.advance(1s);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderWatch, SoundAloneIsNeverFailedForMissingFramesButForAStall) {
    ASSERT_TRUE(startSound(mov));
    settle();
    loop.advance(8s);
    EXPECT_THAT(failures, IsEmpty());
    loop.advance(30s);
    EXPECT_THAT(failures, ElementsAre(RecorderError::stalled(10)));
}

TEST_F(RecorderWatch, ARecordingThatStopsGrowingFailsAfterTenSeconds) {
    record(mov);
    capture.output().setRecordedDuration(Seconds{3.5});
    loop.advance(4s); // the last progress is seen at the first tick, 2 s in
    loop.advance(7999ms);
    EXPECT_THAT(failures, IsEmpty());
    loop.advance(1ms);
    ASSERT_THAT(failures, ElementsAre(RecorderError::stalled(10)));
    EXPECT_EQ(failures.front().userMessage(), "Nothing was written for 10 s.");
    EXPECT_THAT(
        diagnostics.messages(), Contains("stall: a.mov recorded=3.5s size=4 no progress for 10s"));
    EXPECT_THAT(
        diagnostics.messages(), Contains("recorder failed: a.mov Nothing was written for 10 s."));
}

TEST_F(RecorderWatch, AStallWithoutAFileIsLoggedWithoutASize) {
    record(mov);
    files.removeFile(mov);
    capture.output().setRecordedDuration(Seconds{3});
    loop.advance(12s);
    EXPECT_THAT(
        diagnostics.messages(), Contains("stall: a.mov recorded=3s size=-1 no progress for 10s"));
}

TEST_F(RecorderWatch, AGrowingFileIsProgress) {
    record(mov);
    capture.output().setRecordedDuration(Seconds{3});
    for (int second = 0; second < 30; ++second) {
        files.appendToFile(mov, "more");
        loop.advance(1s);
    }
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderWatch, AGrowingDurationIsProgress) {
    capture.script().clock = &clock;
    record(mov);
    loop.advance(60s);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_TRUE(status().isRecording());
}

TEST_F(RecorderWatch, TicksEveryTwoSecondsOnceTheDevicesRun) {
    ASSERT_TRUE(startBoth(mov));
    loop.advance(100s);
    EXPECT_THAT(failures, IsEmpty()) << "while the start is still queued";
    EXPECT_EQ(loop.pendingTimers(), 0U);
    settle();
    EXPECT_EQ(loop.pendingTimers(), 1U);
    loop.advance(6s);
    EXPECT_THAT(failures, ElementsAre(RecorderError::noFramesReceived()));
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RecorderWatch, AWatchdogThatComesLateDoesNotActOnANewerRecording) {
    ASSERT_TRUE(startBoth(mov));
    queue.runAll(); // the first recording's watchdog is posted, but does not start yet
    capture.session().fireRuntimeError(deviceError);
    failures.clear();
    ASSERT_TRUE(startSound(nextMov)); // expects no frames
    loop.runPosted();
    EXPECT_EQ(loop.pendingTimers(), 0U);
    loop.advance(9s);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderWatch, TheWatchdogOfAFailedRecordingIsGone) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    settle();
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST(CaptureWatchdog, ReportsMissingFramesBeforeAStall) {
    CaptureWatchdog watchdog{dateFromUnixSeconds(0), true};
    EXPECT_EQ(watchdog.observe(Seconds{0}, std::nullopt, dateFromUnixSeconds(4.99)), std::nullopt);
    EXPECT_EQ(
        watchdog.observe(Seconds{0}, std::nullopt, dateFromUnixSeconds(12)),
        RecorderError::noFramesReceived());
}

// --- Runtime errors ---

TEST_F(RecorderWatch, ARuntimeErrorFailsTheRecordingWithItsDescription) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    const auto expected = RecorderError::sessionRuntimeFailure("Input/output error");
    EXPECT_THAT(failures, ElementsAre(expected));
    EXPECT_EQ(statusAtFailure, RecorderStatus::failed(expected));
    EXPECT_THAT(
        diagnostics.messages(),
        Contains("recorder failed: a.mov Capture stopped: Input/output error"));
}

TEST_F(RecorderWatch, ARuntimeErrorThatNobodyKnowsIsUnknown) {
    record(mov);
    capture.session().fireRuntimeError(std::nullopt);
    EXPECT_THAT(failures, ElementsAre(RecorderError::sessionRuntimeFailure("unknown error")));
}

TEST_F(RecorderWatch, ARecordingFailsOnlyOnce) {
    record(mov);
    const auto session = capture.sessions().back();
    session->fireRuntimeError(deviceError);
    EXPECT_EQ(session->runtimeErrorListeners(), 0U);
    session->fireRuntimeError(deviceError);
    settle(); // the file is closed, and reported
    loop.advance(60s);
    EXPECT_EQ(failures.size(), 1U);
}

TEST_F(RecorderWatch, AFailureStopsTheFileAndThenTheDevices) {
    record(mov);
    capture.script().journal.clear();
    capture.session().fireRuntimeError(deviceError);
    EXPECT_THAT(capture.calls(), IsEmpty()) << "on the main thread";
    queue.runAll();
    EXPECT_THAT(capture.calls(), ElementsAre("stop recording", "stop running"));
}

TEST_F(RecorderWatch, AFailureDoesNotStopAFileThatIsNotWrittenAnyMore) {
    record(mov);
    capture.output().closeSilently();
    capture.script().journal.clear();
    capture.session().fireRuntimeError(deviceError);
    queue.runAll();
    EXPECT_THAT(capture.calls(), ElementsAre("stop running"));
}

TEST_F(RecorderWatch, AFailureWithNobodyToTellIsStillAFailure) {
    recorder->onFailure = nullptr;
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    EXPECT_TRUE(status().isFailed());
}

TEST_F(RecorderWatch, AFailedRecordingLetsGoOfItsDevices) {
    record(mov);
    const std::weak_ptr session = capture.sessions().back();
    capture.session().fireRuntimeError(deviceError);
    settle();
    const test::TaskProbe waited{recorder->waitUntilFileIsClosed()};
    ASSERT_TRUE(waited.isDone());
    capture.forgetSessions();
    EXPECT_TRUE(session.expired());
}

// --- A finish that nobody asked for ---

TEST_F(RecorderWatch, AFinishWithAnErrorFailsTheRecording) {
    record(mov);
    capture.output().finishOnAnotherThread(deviceError);
    EXPECT_THAT(failures, IsEmpty()) << "before the main thread has its turn";
    loop.runPosted();
    EXPECT_THAT(failures, ElementsAre(RecorderError::sessionRuntimeFailure("Input/output error")));
    EXPECT_EQ(recorder->lastRecordingFinishError(), deviceError);
}

TEST_F(RecorderWatch, AFinishWithoutAnErrorIsUnexpected) {
    record(mov);
    capture.output().finish();
    loop.runPosted();
    EXPECT_THAT(
        failures, ElementsAre(RecorderError::recordingStoppedUnexpectedly("no error reported")));
    EXPECT_EQ(recorder->lastRecordingFinishError(), std::nullopt);
}

TEST_F(RecorderWatch, AFinishOfACompleteFileIsStillUnexpected) {
    record(mov);
    auto complete = deviceError;
    complete.recordingSuccessfullyFinished = true;
    capture.output().finish(complete);
    loop.runPosted();
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(
        failures.front(),
        RecorderError::recordingStoppedUnexpectedly("FFmpeg -5: Input/output error"));
    EXPECT_EQ(
        failures.front().userMessage(),
        "Recording stopped on its own (FFmpeg -5: Input/output error).");
}

TEST_F(RecorderWatch, AStartThatFailsOnTheSessionQueueFailsTheRecording) {
    capture.script().startError = deviceError;
    record(mov);
    EXPECT_THAT(failures, ElementsAre(RecorderError::sessionRuntimeFailure("Input/output error")));
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RecorderWatch, AFinishOfAnOldOutputIsIgnored) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const auto old = capture.session().output();
    capture.session().fireRuntimeError(deviceError);
    settle();
    failures.clear();
    record(nextMov);
    old->finish(deviceError);
    settle();
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_TRUE(status().isRecording());
    EXPECT_EQ(recorder->lastRecordingFinishError(), std::nullopt);
    EXPECT_THAT(diagnostics.messages(), Contains(HasSubstr("recording finished: a.mov")))
        << "but logged";
}

// --- Whatever the failure is ---

struct WayToFail {
    const char* name;
    /// While a recording runs.
    void (*happen)(test::ScriptedCaptureSystem&, test::ManualMainLoop&);
    RecorderError error;
};

void PrintTo(const WayToFail& way, std::ostream* out) {
    *out << way.name;
}

const PlatformError diskError{
    .domain = "POSIX", .code = 28, .description = "No space left on device", .underlying = {}};

class RecorderFailure : public test::RecorderFixture,
                        public testing::WithParamInterface<WayToFail> {
  protected:
    void failInTheWay() {
        record(mov);
        GetParam().happen(capture, loop);
    }
};

INSTANTIATE_TEST_SUITE_P(
    Ways, RecorderFailure,
    testing::Values(
        WayToFail{
            "NoFrames", [](auto&, auto& loop) { loop.advance(6s); },
            RecorderError::noFramesReceived()},
        WayToFail{
            "Stall",
            [](auto& capture, auto& loop) {
                capture.output().setRecordedDuration(Seconds{3.5});
                loop.advance(12s);
            },
            RecorderError::stalled(10)},
        WayToFail{
            "RuntimeError",
            [](auto& capture, auto&) { capture.session().fireRuntimeError(diskError); },
            RecorderError::sessionRuntimeFailure("No space left on device")},
        WayToFail{
            "FinishWithAnError",
            [](auto& capture, auto& loop) {
                capture.output().finish(diskError);
                loop.runPosted();
            },
            RecorderError::sessionRuntimeFailure("No space left on device")},
        WayToFail{
            "FinishWithoutAnError",
            [](auto& capture, auto& loop) {
                capture.output().finish();
                loop.runPosted();
            },
            RecorderError::recordingStoppedUnexpectedly("no error reported")}),
    [](const auto& way) { return std::string{way.param.name}; });

TEST_P(RecorderFailure, BecomesTheStatusAndIsToldOnceAfterwards) {
    failInTheWay();
    const auto failed = RecorderStatus::failed(GetParam().error);
    EXPECT_EQ(status(), failed);
    EXPECT_EQ(statusAtFailure, failed);
    settle();
    loop.advance(60s);
    EXPECT_THAT(failures, ElementsAre(GetParam().error));
    EXPECT_EQ(status(), failed);
    EXPECT_EQ(files.contents(mov), "data");
}

TEST_P(RecorderFailure, IsLoggedOnce) {
    failInTheWay();
    settle();
    const auto line = "recorder failed: a.mov " + GetParam().error.userMessage();
    const auto messages = diagnostics.messages();
    EXPECT_EQ(std::ranges::count(messages, line), 1);
    const auto lines = systemLog.lines();
    EXPECT_EQ(std::ranges::count(lines, line), 1);
}

TEST_P(RecorderFailure, LeavesNothingToKeep) {
    failInTheWay();
    const test::TaskProbe stopped{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(stopped.isDone());
    EXPECT_EQ(stopped.value().error(), RecorderError::notRecording());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_P(RecorderFailure, MayBeDiscarded) {
    failInTheWay();
    const test::TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_THAT(files.files(), IsEmpty());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

// --- What a finish is logged as ---

TEST_F(RecorderWatch, LogsAFinishWithoutAnError) {
    record(mov);
    capture.output().finish();
    EXPECT_THAT(
        diagnostics.messages(), Contains("recording finished: a.mov exists, 4 bytes error=none"));
    EXPECT_THAT(systemLog.lines(), Contains("recording finished: a.mov exists, 4 bytes, no error"));
}

TEST_F(RecorderWatch, LogsAFinishWithItsError) {
    record(mov);
    files.removeFile(mov);
    capture.output().finish(PlatformError{
        .domain = "FFmpeg",
        .code = -28,
        .description = "No space left on device",
        .underlying = PlatformError::Underlying{.domain = "POSIX", .code = 28},
        .recordingSuccessfullyFinished = true,
        .userInfo = {{"stream", "1"}}});
    EXPECT_THAT(
        diagnostics.messages(),
        Contains("recording finished: a.mov missing error=FFmpeg -28 / underlying POSIX 28: No "
                 "space left on device userInfo={recordingSuccessfullyFinished=true, stream=1}"));
    const auto lines = systemLog.lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_THAT(
        std::vector(lines.end() - 3, lines.end()),
        ElementsAre(
            "recording finished with error: a.mov missing",
            "recording finish error: domain=FFmpeg code=-28 underlying=POSIX 28 "
            "successfullyFinished=true description=No space left on device",
            "recording finish userInfo: {recordingSuccessfullyFinished=true, stream=1}"));
}

TEST_F(RecorderWatch, LogsAFinishOnTheThreadThatReportsIt) {
    record(mov);
    capture.output().finishOnAnotherThread();
    EXPECT_THAT(diagnostics.messages(), Contains(HasSubstr("recording finished: a.mov")));
}

// --- A recorder that is gone ---

TEST_F(RecorderWatch, AQueuedStartDoesNothingOnceTheRecorderIsGone) {
    ASSERT_TRUE(startBoth(mov));
    recorder.reset();
    capture.script().journal.clear();
    settle();
    EXPECT_THAT(capture.calls(), ElementsAre("stop running"));
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RecorderWatch, ARecorderThatGoesHasItsFileClosed) {
    record(mov);
    recorder.reset();
    capture.script().journal.clear();
    settle();
    EXPECT_THAT(capture.calls(), ElementsAre("stop recording", "stop running"));
    EXPECT_EQ(files.contents(mov), "data");
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderWatch, AFinishThatComesAfterTheRecorderIsGoneIsOnlyLogged) {
    record(mov);
    capture.output().finishOnAnotherThread(deviceError);
    recorder.reset();
    settle();
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_THAT(diagnostics.messages(), Contains(HasSubstr("recording finished: a.mov")));
}

} // namespace
} // namespace brindle
