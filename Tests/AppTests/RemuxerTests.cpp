#include "BrindleRecorderApp/Recording/Remuxer.hpp"

#include "Support/FakeDateProvider.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/MemoryDiagnosticLog.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/ScriptedMovieExporter.hpp"
#include "Support/TaskProbe.hpp"

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
using testing::HasSubstr;
using testing::Not;
using Operation = test::InMemoryFileManager::Operation;
using Status = ExportSession::Status;

const std::filesystem::path mov = "/movies/a.mov";
const std::filesystem::path mp4 = "/movies/a.mp4";
const std::filesystem::path partial = "/movies/.a.mp4.partial";

class RemuxerTest : public testing::Test {
  protected:
    using Outcome = Expected<void, RecorderError>;

    RemuxerTest() { files.putFile(mov, "captured"); }

    /// Converts and lets everything run its course.
    Outcome remux() {
        const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
        loop.runPosted();
        EXPECT_TRUE(probe.isDone());
        return probe.isDone() ? probe.value() : Outcome{};
    }

    /// Whether both logs have that line.
    void expectLogged(const std::string& line) {
        EXPECT_THAT(diagnostics.messages(), Contains(line));
        EXPECT_THAT(systemLog.lines(), Contains(line));
    }

    /// The text of the failure, or what is wrong with it.
    static std::string failureOf(const Outcome& outcome) {
        if (outcome) {
            return "succeeded";
        }
        const auto* failed = std::get_if<RecorderError::RemuxFailed>(&outcome.error().value);
        return failed == nullptr ? "another error" : failed->text;
    }

    test::FakeDateProvider clock;
    test::ManualMainLoop loop{clock};
    test::InMemoryFileManager files{clock};
    test::MemoryDiagnosticLog diagnostics;
    test::RecordingSystemLog systemLog;
    test::ScriptedMovieExporter exporter{loop, files};
    Remuxer remuxer{exporter, loop, clock, files, diagnostics.log(), systemLog};
};

TEST_F(RemuxerTest, ReplacesTheMovByAVerifiedMp4) {
    EXPECT_TRUE(remux());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
    EXPECT_EQ(files.contents(mp4), "whole movie");
}

TEST_F(RemuxerTest, WritesUnderAHiddenNameAndVerifiesThatFile) {
    remux();
    EXPECT_THAT(
        exporter.calls(), ElementsAre(
                              "make export a.mov", "output mp4 .a.mp4.partial", "export",
                              "duration a.mov", "duration .a.mp4.partial"));
}

TEST_F(RemuxerTest, DeletesTheMovOnlyAfterTheMp4IsSafeUnderItsName) {
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    files.forgetCalls();
    loop.runPosted();
    std::vector<test::InMemoryFileManager::Call> changes;
    for (const auto& call : files.calls()) {
        if (call.operation != Operation::fileSize) {
            changes.push_back(call);
        }
    }
    using Call = test::InMemoryFileManager::Call;
    EXPECT_THAT(
        changes, ElementsAre(
                     Call{Operation::moveFile, partial}, Call{Operation::syncDirectory, "/movies"},
                     Call{Operation::removeFile, mov}, Call{Operation::syncDirectory, "/movies"}));
}

TEST_F(RemuxerTest, KeepsTheMp4ThroughALossOfPowerAfterwards) {
    EXPECT_TRUE(remux());
    files.losePower();
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RemuxerTest, WhatAFailedExportLeftDoesNotComeBackWithALossOfPower) {
    exporter.script().status = Status::failed;
    EXPECT_FALSE(remux());
    files.losePower();
    EXPECT_EQ(files.files(), (std::vector{mov}));
}

TEST_F(RemuxerTest, RemovesAnEarlierDestinationAndAnEarlierPartBeforeExporting) {
    files.putFile(mp4, "old");
    files.putFile(partial, "old part");
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    loop.runPosted();
    EXPECT_EQ(files.contents(mp4), std::nullopt);
    EXPECT_THAT(exporter.calls(), Contains("export")) << "over no file";
}

TEST_F(RemuxerTest, RemovesAnEarlierPartAlsoWhereNoExportCanBeMade) {
    files.putFile(partial, "old part");
    exporter.script().canBeMade = false;
    EXPECT_FALSE(remux());
    EXPECT_EQ(files.files(), (std::vector{mov}));
}

TEST_F(RemuxerTest, RemovesAnEarlierPartAlsoWhereNoMp4CanBeWritten) {
    files.putFile(partial, "old part");
    exporter.script().supportedFileTypes = {MovieFileType::quickTime};
    EXPECT_FALSE(remux());
    EXPECT_EQ(files.files(), (std::vector{mov}));
}

TEST_F(RemuxerTest, LeavesAnEarlierDestinationWhereThereIsNothingToConvert) {
    files.putFile(mp4, "all that is left");
    files.removeFile(mov);
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    loop.runPosted();
    EXPECT_EQ(files.contents(mp4), "all that is left");
}

TEST_F(RemuxerTest, AnEmptySourceDoesNotCostTheMp4BesideIt) {
    files.putFile(mov, "");
    files.putFile(mp4, "all that is left");
    exporter.script().status = Status::failed;
    EXPECT_EQ(failureOf(remux()), "Unknown export failure (status 4).");
    EXPECT_EQ(files.contents(mp4), "all that is left");
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
}

TEST_F(RemuxerTest, ConvertsAllTheSameWhenAnEarlierDestinationCannotBeRemoved) {
    files.putFile(mp4, "old");
    files.failCall(Operation::removeFile, 1, std::errc::operation_not_permitted);
    EXPECT_TRUE(remux());
    EXPECT_THAT(exporter.calls(), Contains("export"));
    EXPECT_EQ(files.contents(mp4), "whole movie");
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RemuxerTest, LeavesAnEarlierDestinationWhereTheSourceCannotBeRead) {
    files.putFile(mp4, "all that may be left");
    files.failEveryCallWith(mov);
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    loop.runPosted();
    EXPECT_EQ(files.contents(mp4), "all that may be left");
}

TEST_F(RemuxerTest, LogsStartResultAndDeletion) {
    remux();
    EXPECT_THAT(
        diagnostics.messages(), ElementsAre(
                                    "remux start: a.mov exists, 8 bytes -> a.mp4",
                                    "remux done: a.mov 60s -> a.mp4 60s exists, 11 bytes",
                                    "remux completed: a.mp4 exists, 11 bytes; deleting a.mov"));
    EXPECT_EQ(systemLog.lines(), diagnostics.messages());
}

TEST_F(RemuxerTest, KeepsASourceOfWhichDamageInsideWasLeftOutAndSaysSo) {
    exporter.script().damagedBytesLeftOut = 4096;
    EXPECT_TRUE(remux());
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
    EXPECT_EQ(
        diagnostics.messages().back(),
        "remux completed: a.mp4 exists, 11 bytes; keeping a.mov: 4096 bytes of damage inside it "
        "were left out");
}

TEST_F(RemuxerTest, WritesDurationsInTheirShortestForm) {
    exporter.setDuration(mov, Seconds{60.5});
    exporter.script().outputDuration = Seconds{60.25};
    remux();
    EXPECT_THAT(
        diagnostics.messages(),
        Contains("remux done: a.mov 60.5s -> a.mp4 60.25s exists, 11 bytes"));
}

TEST_F(RemuxerTest, FailsWhenNoExportCanBeMade) {
    files.putFile(mp4, "old");
    exporter.script().canBeMade = false;
    EXPECT_EQ(failureOf(remux()), "Could not create a passthrough export session.");
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
    expectLogged("remux failed: a.mov could not create a passthrough export session");
}

TEST_F(RemuxerTest, FailsWhenTheExportCannotWriteMp4) {
    files.putFile(mp4, "old");
    exporter.script().supportedFileTypes = {MovieFileType::quickTime};
    EXPECT_EQ(failureOf(remux()), "Passthrough export cannot write MP4 for this asset.");
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
    expectLogged("remux failed: a.mov passthrough export cannot write MP4; supported=[mov]");
}

TEST_F(RemuxerTest, FailsWithTheExportsError) {
    exporter.script().status = Status::failed;
    exporter.script().error = PlatformError{
        .domain = "FFmpeg",
        .code = -28,
        .description = "No space left on device",
        .underlying = PlatformError::Underlying{.domain = "POSIX", .code = 28},
        .userInfo = {{"failedDependencies", "[audio]"}, {"stream", "1"}}};
    EXPECT_EQ(failureOf(remux()), "No space left on device");
    EXPECT_THAT(
        diagnostics.messages(),
        ElementsAre(
            "remux start: a.mov exists, 8 bytes -> a.mp4",
            "remux failed: a.mov status=4 FFmpeg -28 / underlying POSIX 28: No space left on "
            "device"));
    EXPECT_THAT(
        systemLog.lines(),
        ElementsAre(
            "remux start: a.mov exists, 8 bytes -> a.mp4",
            "remux error: domain=FFmpeg code=-28 underlying=POSIX 28 failedDependencies=[audio] "
            "description=No space left on device",
            "remux error userInfo: {failedDependencies=[audio], stream=1}",
            "remux failed: a.mov status=4; source exists, 8 bytes; output exists, 4 bytes"));
}

TEST_F(RemuxerTest, NamesNothingBehindAnErrorThatStandsAlone) {
    exporter.script().status = Status::failed;
    exporter.script().error =
        PlatformError{.domain = "FFmpeg", .code = -1, .description = "T", .underlying = {}};
    remux();
    EXPECT_THAT(
        systemLog.lines(),
        Contains("remux error: domain=FFmpeg code=-1 underlying=none 0 failedDependencies=none "
                 "description=T"));
}

TEST_F(RemuxerTest, FailsWithTheStatusWhenTheExportNamesNoError) {
    exporter.script().status = Status::failed;
    EXPECT_EQ(failureOf(remux()), "Unknown export failure (status 4).");
    EXPECT_THAT(diagnostics.messages(), Contains("remux failed: a.mov status=4 no error"));
    EXPECT_THAT(
        systemLog.lines(),
        Contains("remux failed: a.mov status=4 with no error; source exists, 8 bytes; output "
                 "exists, 4 bytes"));
}

TEST_F(RemuxerTest, TakesEveryStatusButCompletedForAFailure) {
    for (const auto status : {Status::unknown, Status::waiting, Status::exporting}) {
        exporter.script().status = status;
        EXPECT_EQ(
            failureOf(remux()),
            "Unknown export failure (status " + std::to_string(static_cast<int>(status)) + ").");
        EXPECT_EQ(files.contents(mov), "captured");
    }
}

TEST_F(RemuxerTest, KeepsTheMovAndLeavesNoPartWhenTheExportFails) {
    exporter.script().status = Status::failed;
    remux();
    EXPECT_EQ(files.files(), (std::vector{mov}));
}

TEST_F(RemuxerTest, FailsWhenItIsCancelled) {
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    loop.runPosted();
    EXPECT_FALSE(probe.isDone());
    remuxer.cancel();
    loop.runPosted();
    ASSERT_TRUE(probe.isDone());
    EXPECT_EQ(failureOf(probe.value()), "Export was cancelled.");
    EXPECT_EQ(
        probe.value().error().userMessage(), "Converting to MP4 failed: Export was cancelled.");
    EXPECT_EQ(files.files(), (std::vector{mov}));
    expectLogged("remux cancelled: a.mov exists, 8 bytes");
}

TEST_F(RemuxerTest, CancelsEveryRunningConversion) {
    exporter.script().finishAtOnce = false;
    const test::TaskProbe first{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    files.putFile("/movies/b.mov", "captured");
    const test::TaskProbe second{
        remuxer.remuxToMP4("/movies/b.mov", "/movies/b.mp4", MovieOrigin::justRecorded)};
    remuxer.cancel();
    loop.runPosted();
    EXPECT_TRUE(first.isDone());
    EXPECT_TRUE(second.isDone());
}

TEST_F(RemuxerTest, CancelDoesNothingWhenNothingRuns) {
    remuxer.cancel();
    EXPECT_TRUE(remux());
    EXPECT_THAT(exporter.calls(), Not(Contains("cancel")));
}

TEST_F(RemuxerTest, PassesAnOutputThatIsShorterByLessThanTheTolerance) {
    exporter.setDuration(mov, Seconds{60.4});
    exporter.script().outputDuration = Seconds{59.5};
    EXPECT_TRUE(remux());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RemuxerTest, KeepsBothFilesWhenTheOutputIsShorter) {
    exporter.setDuration(mov, Seconds{60.0});
    exporter.script().outputDuration = Seconds{58.0};
    EXPECT_EQ(failureOf(remux()), "MP4 is shorter than the source (58 s of 60 s)");
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
    expectLogged("remux incomplete: a.mov source=60.000000s output=58.000000s; keeping .mov");
}

TEST_F(RemuxerTest, CutsTheFractionOffTheSecondsItTells) {
    exporter.setDuration(mov, Seconds{60.9});
    exporter.script().outputDuration = Seconds{58.99};
    EXPECT_EQ(failureOf(remux()), "MP4 is shorter than the source (58 s of 60 s)");
}

TEST_F(RemuxerTest, FailsVerificationWhenTheOutputCannotBeRead) {
    exporter.script().outputIsUnreadable = true;
    EXPECT_EQ(failureOf(remux()), "MP4 is shorter than the source (0 s of 60 s)");
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
    EXPECT_THAT(
        diagnostics.messages(), Contains("remux done: a.mov 60s -> a.mp4 -1s exists, 11 bytes"));
}

TEST_F(RemuxerTest, FailsVerificationWhenTheSourceCannotBeRead) {
    exporter.setDuration(mov, std::nullopt);
    exporter.script().outputDuration = Seconds{60};
    EXPECT_EQ(failureOf(remux()), "MP4 is shorter than the source (60 s of 0 s)");
    EXPECT_EQ(files.contents(mov), "captured");
}

TEST_F(RemuxerTest, KeepsTheMovWhenTheMp4CannotBeRenamed) {
    files.failEveryCall(Operation::moveFile);
    const auto text = failureOf(remux());
    EXPECT_THAT(text, HasSubstr("The MP4 could not be put in place ("));
    EXPECT_EQ(files.files(), (std::vector{mov}));
}

TEST_F(RemuxerTest, KeepsBothWhenTheFolderCannotBeSynced) {
    files.failEveryCall(Operation::syncDirectory);
    const auto text = failureOf(remux());
    EXPECT_THAT(text, HasSubstr("The MP4 could not be put in place ("));
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
}

TEST_F(RemuxerTest, KeepsBothUnderAnyNameWhenTheShorterOutputCannotBeRenamed) {
    exporter.script().outputDuration = Seconds{5};
    files.failEveryCall(Operation::moveFile);
    EXPECT_EQ(failureOf(remux()), "MP4 is shorter than the source (5 s of 60 s)");
    EXPECT_EQ(files.files(), (std::vector{partial, mov}));
}

TEST_F(RemuxerTest, SucceedsWhenTheMovCannotBeDeleted) {
    files.failEveryCallWith(mov);
    EXPECT_TRUE(remux());
    EXPECT_EQ(files.contents(mp4), "whole movie");
    EXPECT_EQ(files.contents(mov), "captured");
}

TEST_F(RemuxerTest, LosesNothingWhicheverCallFailsBeforeThePowerGoes) {
    constexpr int moreCallsThanThereAre = 40;
    for (int nth = 1; nth <= moreCallsThanThereAre; ++nth) {
        test::InMemoryFileManager disk{clock};
        disk.putFile(mov, "captured");
        test::ScriptedMovieExporter scripted{loop, disk};
        Remuxer remuxing{scripted, loop, clock, disk, diagnostics.log(), systemLog};
        disk.failAnyCall(nth);
        const test::TaskProbe probe{remuxing.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
        loop.runPosted();
        disk.losePower(static_cast<std::uint64_t>(nth));
        EXPECT_TRUE(disk.contents(mov) == "captured" || disk.contents(mp4) == "whole movie")
            << "after failing call " << nth;
    }
}

class RemuxerOfASharedFile : public RemuxerTest {
  protected:
    RemuxerOfASharedFile() { exporter.script().sharesTheSource = true; }
};

TEST_F(RemuxerOfASharedFile, LeavesTheFileItsNewName) {
    EXPECT_TRUE(remux());
    EXPECT_EQ(files.files(), (std::vector{mp4}));
    EXPECT_EQ(files.contents(mp4), "captured");
    files.losePower();
    EXPECT_EQ(files.files(), (std::vector{mp4}));
}

TEST_F(RemuxerOfASharedFile, LeavesTheFileItsOldNameWhenTheExportFails) {
    for (const auto status : {Status::failed, Status::cancelled}) {
        exporter.script().status = status;
        EXPECT_FALSE(remux());
        EXPECT_EQ(files.files(), (std::vector{mov}));
        EXPECT_EQ(files.contents(mov), "captured");
    }
}

TEST_F(RemuxerOfASharedFile, LeavesItBothNamesWhenItIsShorter) {
    exporter.script().outputDuration = Seconds{5};
    EXPECT_FALSE(remux());
    EXPECT_EQ(files.files(), (std::vector{mov, mp4}));
}

TEST_F(RemuxerOfASharedFile, BeginsAgainWhereAnEarlierAttemptHasLeftAnyOfTheNames) {
    for (const auto& earlier : {std::vector{mp4}, {partial}, {mp4, partial}}) {
        for (const auto& name : earlier) {
            files.linkFile(mov, name);
        }
        EXPECT_TRUE(remux());
        EXPECT_EQ(files.files(), (std::vector{mp4}));
        EXPECT_EQ(files.contents(mp4), "captured");
        files.putFile(mov, "captured");
        files.removeFile(mp4);
    }
}

TEST_F(RemuxerOfASharedFile, LosesNothingWhicheverCallFailsBeforeThePowerGoes) {
    constexpr int moreCallsThanThereAre = 40;
    for (int nth = 1; nth <= moreCallsThanThereAre; ++nth) {
        for (const bool isSecondAttempt : {false, true}) {
            test::InMemoryFileManager disk{clock};
            disk.putFile(mov, "captured");
            if (isSecondAttempt) {
                disk.linkFile(mov, mp4);
                disk.linkFile(mov, partial);
            }
            test::ScriptedMovieExporter scripted{loop, disk};
            scripted.script().sharesTheSource = true;
            Remuxer remuxing{scripted, loop, clock, disk, diagnostics.log(), systemLog};
            disk.failAnyCall(nth);
            const test::TaskProbe probe{remuxing.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
            loop.runPosted();
            disk.losePower(static_cast<std::uint64_t>(nth));
            EXPECT_TRUE(disk.contents(mov) == "captured" || disk.contents(mp4) == "captured")
                << "after failing call " << nth;
        }
    }
}

TEST_F(RemuxerTest, OffersProgressOnlyOfWhatTakesOverASecond) {
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    exporter.setProgress(0.25);
    loop.advance(999ms);
    EXPECT_EQ(remuxer.progress().get(), std::nullopt);
    loop.advance(1ms);
    EXPECT_EQ(remuxer.progress().get(), 0.25);
    exporter.setProgress(0.5);
    loop.advance(1s);
    EXPECT_EQ(remuxer.progress().get(), 0.5);
    exporter.finish();
    loop.runPosted();
    EXPECT_EQ(remuxer.progress().get(), std::nullopt);
    EXPECT_TRUE(probe.isDone());
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(RemuxerTest, LogsProgressEveryTenSeconds) {
    exporter.script().finishAtOnce = false;
    const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
    exporter.setProgress(0.314);
    loop.advance(9s);
    EXPECT_THAT(diagnostics.messages(), ElementsAre(HasSubstr("remux start")));
    loop.advance(12s);
    EXPECT_THAT(
        diagnostics.messages(),
        ElementsAre(
            HasSubstr("remux start"), "remux progress: a.mov 31%", "remux progress: a.mov 31%"));
}

TEST_F(RemuxerTest, MayBeAbandonedWhileItRuns) {
    exporter.script().finishAtOnce = false;
    {
        const test::TaskProbe probe{remuxer.remuxToMP4(mov, mp4, MovieOrigin::justRecorded)};
        loop.advance(2s);
    }
    EXPECT_EQ(loop.pendingTimers(), 0U);
    EXPECT_EQ(remuxer.progress().get(), std::nullopt);
    exporter.finish();
    loop.runPosted();
    EXPECT_EQ(files.contents(mov), "captured");
}

} // namespace
} // namespace brindle
