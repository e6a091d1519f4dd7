// How a recording is stopped, kept or discarded, and what comes after a failure.
#include "RecorderFixture.hpp"

#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include <gmock/gmock.h>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::TaskProbe;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using RecorderStop = test::RecorderFixture;
using Operation = test::InMemoryFileManager::Operation;

// --- Stop and keep ---

TEST_F(RecorderStop, KeepConvertsTheClosedFileAndBecomesIdle) {
    record(mov);
    capture.script().journal.clear();
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    EXPECT_FALSE(stopped.isDone());
    settle();
    ASSERT_TRUE(stopped.isDone());
    ASSERT_TRUE(stopped.value());
    EXPECT_EQ(*stopped.value(), mp4);
    EXPECT_EQ(status(), RecorderStatus::idle());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
    EXPECT_THAT(capture.calls(), ElementsAre("stop recording", "stop running"));
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RecorderStop, KeepWaitsWithoutALimitForTheFileToBeFinished) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    loop.advance(3600s);
    settle();
    EXPECT_FALSE(stopped.isDone());
    EXPECT_THAT(exporter.calls(), IsEmpty());
    EXPECT_TRUE(status().isRecording());
    capture.output().finishOnAnotherThread();
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RecorderStop, KeepStaysRecordingUntilTheConversionHasEnded) {
    exporter.script().finishAtOnce = false;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    EXPECT_TRUE(status().isRecording());
    EXPECT_EQ(startBoth(nextMov).error(), RecorderError::alreadyRecording());
    exporter.finish();
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_F(RecorderStop, KeepHandsOnTheConversionsErrorAndBecomesIdle) {
    exporter.script().canBeMade = false;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    ASSERT_TRUE(stopped.isDone());
    ASSERT_FALSE(stopped.value());
    EXPECT_EQ(
        stopped.value().error(),
        RecorderError::remuxFailed("Could not create a passthrough export session."));
    EXPECT_EQ(status(), RecorderStatus::idle());
    EXPECT_EQ(files.contents(mov), "data");
}

TEST_F(RecorderStop, KeepConvertsAlsoWhatWasFinishedWithAnError) {
    capture.script().finishError = deviceError;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    ASSERT_TRUE(stopped.isDone());
    EXPECT_TRUE(stopped.value());
    EXPECT_EQ(recorder->lastRecordingFinishError(), deviceError);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderStop, KeepWithoutARecordingFails) {
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(stopped.isDone());
    EXPECT_EQ(stopped.value().error(), RecorderError::notRecording());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_F(RecorderStop, KeepOfAFailedRecordingFailsAndBecomesIdle) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(stopped.isDone());
    EXPECT_EQ(stopped.value().error(), RecorderError::notRecording());
    EXPECT_EQ(status(), RecorderStatus::idle());
    settle();
    EXPECT_EQ(files.contents(mov), "data");
}

TEST_F(RecorderStop, ASecondKeepWhileTheFirstStopsFails) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe first{recorder->stopAndKeep(mp4)};
    const TaskProbe second{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(second.isDone());
    EXPECT_EQ(second.value().error(), RecorderError::notRecording());
    EXPECT_TRUE(status().isRecording());
    settle();
    capture.output().finish();
    settle();
    ASSERT_TRUE(first.isDone());
    EXPECT_TRUE(first.value());
}

TEST_F(RecorderStop, ASecondKeepWhileTheFirstConvertsFails) {
    exporter.script().finishAtOnce = false;
    record(mov);
    const TaskProbe first{recorder->stopAndKeep(mp4)};
    settle();
    const TaskProbe second{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(second.isDone());
    EXPECT_EQ(second.value().error(), RecorderError::notRecording());
    exporter.finish();
    settle();
    EXPECT_TRUE(first.isDone());
}

// --- Stop and discard ---

TEST_F(RecorderStop, DiscardClosesAndRemovesTheFileAndBecomesIdle) {
    record(mov);
    capture.script().journal.clear();
    const TaskProbe stopped{recorder->stopAndDiscard()};
    EXPECT_FALSE(stopped.isDone());
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(status(), RecorderStatus::idle());
    EXPECT_THAT(files.files(), IsEmpty());
    EXPECT_THAT(capture.calls(), ElementsAre("stop recording", "stop running"));
    EXPECT_THAT(exporter.calls(), IsEmpty());
}

TEST_F(RecorderStop, ADiscardedFileStaysAwayAfterALossOfPower) {
    record(mov);
    files.putFile(mov, "data"); // its name has long been on the disk
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    ASSERT_TRUE(stopped.isDone());
    files.losePower();
    EXPECT_THAT(files.files(), IsEmpty());
}

TEST_F(RecorderStop, DiscardIgnoresAFileThatCannotBeRemoved) {
    record(mov);
    files.failEveryCall(Operation::removeFile);
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_F(RecorderStop, DiscardWhileAnotherStopIsUnderWayReturnsAtOnce) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe keeping{recorder->stopAndKeep(mp4)};
    const TaskProbe discarding{recorder->stopAndDiscard()};
    EXPECT_TRUE(discarding.isDone());
    EXPECT_TRUE(status().isRecording());
    settle();
    capture.output().finish();
    settle();
    ASSERT_TRUE(keeping.isDone());
    EXPECT_TRUE(keeping.value());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RecorderStop, DiscardWhileAKeptRecordingIsConvertedLeavesItAlone) {
    exporter.script().finishAtOnce = false;
    record(mov);
    const TaskProbe keeping{recorder->stopAndKeep(mp4)};
    settle();
    const TaskProbe discarding{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(discarding.isDone());
    EXPECT_EQ(files.contents(mov), "data");
    EXPECT_TRUE(status().isRecording()) << "no other recording may begin meanwhile";
    exporter.finish();
    settle();
    ASSERT_TRUE(keeping.isDone());
    EXPECT_TRUE(keeping.value());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RecorderStop, KeepWhileADiscardIsUnderWayFails) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe discarding{recorder->stopAndDiscard()};
    const TaskProbe keeping{recorder->stopAndKeep(mp4)};
    ASSERT_TRUE(keeping.isDone());
    EXPECT_EQ(keeping.value().error(), RecorderError::notRecording());
    settle();
    capture.output().finish();
    settle();
    EXPECT_TRUE(discarding.isDone());
}

TEST_F(RecorderStop, DiscardWithoutARecordingDoesNothing) {
    const TaskProbe stopped{recorder->stopAndDiscard()};
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_F(RecorderStop, DiscardOfAFailedRecordingRemovesItsFileOnceItIsClosed) {
    capture.script().finishWhenStopped = false;
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_FALSE(stopped.isDone());
    EXPECT_EQ(files.contents(mov), "data");
    capture.output().finish();
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_THAT(files.files(), IsEmpty());
    EXPECT_EQ(status(), RecorderStatus::idle());
}

TEST_F(RecorderStop, DiscardNeverRemovesAFileThatWasKept) {
    record(mov);
    capture.session().fireRuntimeError(deviceError);
    settle();
    const TaskProbe keeping{recorder->stopAndKeep(mp4)};
    const TaskProbe discarding{recorder->stopAndDiscard()};
    EXPECT_TRUE(discarding.isDone());
    EXPECT_EQ(files.contents(mov), "data");
}

// --- Stops, starts and failures that meet ---

TEST_F(RecorderStop, AStopWhileTheStartIsStillQueuedComesAfterIt) {
    ASSERT_TRUE(startBoth(mov));
    capture.script().journal.clear();
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    EXPECT_THAT(
        capture.calls(),
        ElementsAre("start running", "start recording a.mov", "stop recording", "stop running"));
    ASSERT_TRUE(stopped.isDone());
    EXPECT_TRUE(stopped.value());
    EXPECT_EQ(loop.pendingTimers(), 0U) << "the watchdog that came late is gone";
}

TEST_F(RecorderStop, AStopAfterTheStartFailedOnTheSessionQueueDoesNotWait) {
    capture.script().startError = deviceError;
    ASSERT_TRUE(startBoth(mov));
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderStop, ErrorsWhileStoppingAreLoggedButChangeNothing) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    const auto before = status();
    capture.session().fireRuntimeError(deviceError);
    EXPECT_EQ(status(), before);
    capture.output().finish(deviceError);
    EXPECT_THAT(
        diagnostics.messages(),
        Contains(HasSubstr("recording finished: a.mov exists, 4 bytes error=FFmpeg -5")));
    settle();
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(status(), RecorderStatus::idle());
    EXPECT_THAT(diagnostics.messages(), Not(Contains(HasSubstr("recorder failed"))));
}

TEST_F(RecorderStop, TheWatchdogRestsWhileStopping) {
    capture.script().finishWhenStopped = false;
    record(mov);
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    EXPECT_EQ(loop.pendingTimers(), 0U);
    loop.advance(60s);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RecorderStop, AFinishThatWasUnderWayCountsForTheStop) {
    record(mov);
    capture.output().finish(deviceError); // reported, but the main thread does not know yet
    const TaskProbe stopped{recorder->stopAndKeep(mp4)};
    settle();
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_TRUE(stopped.isDone());
    EXPECT_TRUE(stopped.value());
}

TEST_F(RecorderStop, RecordsAgainAfterAStop) {
    record(mov);
    {
        const TaskProbe stopped{recorder->stopAndKeep(mp4)};
        settle();
    }
    clock.advance(Seconds{5});
    record(nextMov);
    EXPECT_EQ(status(), RecorderStatus::recording(clock.now()));
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(stopped.isDone());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RecorderStop, LetsGoOfItsDevices) {
    record(mov);
    const std::weak_ptr session = capture.sessions().back();
    capture.forgetSessions();
    const TaskProbe stopped{recorder->stopAndDiscard()};
    settle();
    EXPECT_TRUE(session.expired());
}

// --- After a failure: waiting for the file ---

class RecorderFailedFile : public test::RecorderFixture {
  protected:
    void failWhileWriting() {
        capture.script().finishWhenStopped = false;
        record(mov);
        capture.session().fireRuntimeError(deviceError);
    }
};

TEST_F(RecorderFailedFile, IsWaitedForUntilItsFinishIsReported) {
    failWhileWriting();
    const TaskProbe waiting{recorder->waitUntilFileIsClosed()};
    settle();
    loop.advance(30s);
    EXPECT_FALSE(waiting.isDone());
    capture.output().finishOnAnotherThread();
    loop.runPosted();
    EXPECT_TRUE(waiting.isDone());
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RecorderFailedFile, IsWaitedForByAsManyAsWant) {
    failWhileWriting();
    const TaskProbe first{recorder->waitUntilFileIsClosed()};
    const TaskProbe second{recorder->waitUntilFileIsClosed()};
    settle();
    capture.output().finish();
    loop.runPosted();
    EXPECT_TRUE(first.isDone());
    EXPECT_TRUE(second.isDone());
}

TEST_F(RecorderFailedFile, CountsAsClosedWhenItIsNotWrittenAndNoReportComes) {
    record(mov);
    capture.output().closeSilently();
    capture.session().fireRuntimeError(deviceError);
    const TaskProbe waiting{recorder->waitUntilFileIsClosed()};
    loop.runPosted();
    EXPECT_FALSE(waiting.isDone()) << "the session queue has not done with it yet";
    settle();
    EXPECT_TRUE(waiting.isDone());
}

TEST_F(RecorderFailedFile, CountsAsClosedOnceTheOutputEndsWithoutAReport) {
    failWhileWriting();
    const TaskProbe waiting{recorder->waitUntilFileIsClosed()};
    settle();
    EXPECT_FALSE(waiting.isDone());
    capture.output().closeSilently();
    loop.advance(1s);
    EXPECT_TRUE(waiting.isDone());
}

TEST_F(RecorderFailedFile, IsNotWaitedForWhenItsFinishWasTheFailure) {
    record(mov);
    capture.output().finish(deviceError);
    loop.runPosted();
    const TaskProbe waiting{recorder->waitUntilFileIsClosed()};
    EXPECT_TRUE(waiting.isDone());
}

TEST_F(RecorderFailedFile, IsWaitedForAlsoWhenTheStartWasStillQueued) {
    capture.script().finishWhenStopped = true;
    ASSERT_TRUE(startBoth(mov));
    capture.session().fireRuntimeError(deviceError);
    const TaskProbe waiting{recorder->waitUntilFileIsClosed()};
    loop.runPosted();
    EXPECT_FALSE(waiting.isDone());
    settle();
    EXPECT_TRUE(waiting.isDone());
    EXPECT_FALSE(capture.output().isRecording());
}

TEST_F(RecorderFailedFile, IsNotWaitedForWithoutAFailure) {
    const TaskProbe before{recorder->waitUntilFileIsClosed()};
    EXPECT_TRUE(before.isDone());
    record(mov);
    const TaskProbe during{recorder->waitUntilFileIsClosed()};
    EXPECT_TRUE(during.isDone());
}

TEST_F(RecorderFailedFile, IsStillReportedAfterTheRecorderIsGone) {
    failWhileWriting();
    std::optional<TaskProbe<void>> waiting{recorder->waitUntilFileIsClosed()};
    waiting.reset();
    recorder.reset();
    settle();
    capture.output().finish();
    settle();
    EXPECT_EQ(files.contents(mov), "data");
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

// --- With a real session queue ---

TEST(RecorderThreads, AStopIsCompletedFromTheSessionQueuesThread) {
    test::FakeDateProvider clock;
    test::ManualMainLoop loop;
    test::InMemoryFileManager files{clock};
    test::MemoryDiagnosticLog diagnostics;
    test::RecordingSystemLog systemLog;
    test::ScriptedMovieExporter exporter{loop, files};
    test::ScriptedCaptureSystem capture;
    capture.addMicrophone({"mic", "Microphone", true});
    capture.script().whenFileOpens = [&](const auto& path) {
        files.putFile(path, "data");
    };
    Remuxer remuxer{exporter, loop, clock, files, diagnostics.log(), systemLog};
    SerialQueue queue{Recorder::sessionQueueLabel};
    Recorder recorder{capture, loop, clock, files, diagnostics.log(), systemLog, queue, remuxer};
    ASSERT_TRUE(recorder.start(nullptr, capture.device("mic"), "/movies/a.mov"));
    const TaskProbe stopped{recorder.stopAndKeep("/movies/a.mp4")};
    ASSERT_TRUE(loop.runUntil([&] { return stopped.isDone(); }));
    EXPECT_TRUE(stopped.value());
    EXPECT_EQ(recorder.status().get(), RecorderStatus::idle());
}

} // namespace
} // namespace brindle
