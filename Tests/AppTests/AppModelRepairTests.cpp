// How a launch repairs what an earlier run of the program left unfinished.
#include "BrindleRecorderApp/AppModel.hpp"

#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "Support/AppScene.hpp"
#include "Support/ExampleSidecar.hpp"
#include "Support/NamedTimeZone.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Operation = test::InMemoryFileManager::Operation;

const Date startedAt = *InternetDateTime::parse("2025-03-14T08:30:12Z");
const Date lastWrittenAt = *InternetDateTime::parse("2025-03-14T08:55:00Z");

/// Whether all of them are there, in this order, whatever else is between them.
MATCHER_P(IsSupersetInOrder, expected, "") {
    auto next = expected.begin();
    for (const std::string& call : arg) {
        if (next != expected.end() && call == *next) {
            ++next;
        }
    }
    return next == expected.end();
}

class AppModelRepair : public testing::Test, protected test::AppScene {
  protected:
    /// A recording that never came to its end.
    void leaveInterrupted(const std::string& baseName, bool withMovie) {
        auto interrupted = test::exampleSidecar();
        interrupted.startedAt = startedAt;
        interrupted.endedAt.reset();
        interrupted.notes.clear();
        files.putFile(
            folder.sidecarURL(baseName), SidecarCoding::encode(interrupted, TimeZone::utc()));
        if (withMovie) {
            files.putFile(folder.movURL(baseName), "captured");
            files.setModificationDate(folder.movURL(baseName), lastWrittenAt);
        }
    }
};

TEST_F(AppModelRepair, AMovieIsConvertedAndItsSidecarClosedAtTheMoviesDate) {
    leaveInterrupted("b", true);
    launch();
    EXPECT_THAT(folderContents(), ElementsAre("b.json", "b.mp4"));
    const auto repaired = sidecar("b");
    EXPECT_TRUE(repaired.interrupted);
    EXPECT_EQ(repaired.endedAt, lastWrittenAt);
    EXPECT_EQ(repaired.startedAt, startedAt);
    EXPECT_THAT(
        repaired.notes,
        ElementsAre("Recording was interrupted; the .mov was remuxed to .mp4 on next launch."));
    EXPECT_THAT(notices(), ElementsAre("Recovered 1 interrupted recording(s)."));
}

TEST_F(AppModelRepair, WithoutAMovieTheSidecarIsClosedAtItsOwnStart) {
    leaveInterrupted("c", false);
    launch();
    EXPECT_THAT(folderContents(), ElementsAre("c.json"));
    const auto repaired = sidecar("c");
    EXPECT_TRUE(repaired.interrupted);
    EXPECT_EQ(repaired.endedAt, startedAt);
    EXPECT_THAT(
        repaired.notes, ElementsAre("Recording was interrupted and no .mov file was found."));
    EXPECT_THAT(notices(), ElementsAre("Recovered 1 interrupted recording(s)."));
}

TEST_F(AppModelRepair, AnMp4WithoutItsMovCountsAsNoMovieAndStays) {
    leaveInterrupted("d", false);
    files.putFile(folder.mp4URL("d"), "converted");
    launch();
    EXPECT_EQ(files.contents(folder.mp4URL("d")), "converted");
    EXPECT_EQ(sidecar("d").endedAt, startedAt);
    EXPECT_THAT(
        sidecar("d").notes, ElementsAre("Recording was interrupted and no .mov file was found."));
}

TEST_F(AppModelRepair, AMovieWhoseDateCannotBeReadEndsAtItsStart) {
    leaveInterrupted("b", true);
    files.failEveryCall(Operation::modificationDate);
    launch();
    EXPECT_EQ(sidecar("b").endedAt, startedAt);
    EXPECT_THAT(folderContents(), ElementsAre("b.json", "b.mp4"));
}

TEST_F(AppModelRepair, AMovieThatCannotBeConvertedStaysAndIsNoted) {
    leaveInterrupted("b", true);
    exporter().script().canBeMade = false;
    launch();
    EXPECT_EQ(files.contents(folder.movURL("b")), "captured");
    EXPECT_THAT(
        sidecar("b").notes,
        ElementsAre(
            "Recording was interrupted; remux to .mp4 failed, the .mov was left in place."));
    EXPECT_EQ(sidecar("b").endedAt, lastWrittenAt);
    EXPECT_TRUE(sidecar("b").interrupted);
    EXPECT_THAT(notices(), ElementsAre("Recovered 1 interrupted recording(s)."));
}

TEST_F(AppModelRepair, AnEmptyMovieDoesNotCostTheMp4BesideIt) {
    leaveInterrupted("b", true);
    files.putFile(folder.movURL("b"), "");
    files.putFile(folder.mp4URL("b"), "whole movie of an earlier conversion");
    exporter().script().status = ExportSession::Status::failed;
    launch();
    EXPECT_EQ(files.contents(folder.mp4URL("b")), "whole movie of an earlier conversion");
    EXPECT_THAT(folderContents(), ElementsAre("b.json", "b.mov", "b.mp4"));
}

TEST_F(AppModelRepair, ASidecarThatHasBecomeUnreadableIsSkippedButCounted) {
    leaveInterrupted("a", true);
    leaveInterrupted("b", true);
    leaveInterrupted("c", true);
    const auto before = files.contents(folder.sidecarURL("b"));
    // The scan reads all three, then the repair reads each again.
    files.failCall(Operation::readFile, 5);
    launch();
    EXPECT_THAT(notices(), ElementsAre("Recovered 3 interrupted recording(s)."));
    EXPECT_THAT(
        folderContents(), ElementsAre("a.json", "a.mp4", "b.json", "b.mov", "c.json", "c.mp4"));
    EXPECT_EQ(files.contents(folder.sidecarURL("b")), before);
}

TEST_F(AppModelRepair, TwoLaunchesRepairARecordingOnlyOnce) {
    leaveInterrupted("b", true);
    leaveInterrupted("c", false);
    launch();
    const auto first = files.contents(folder.sidecarURL("b"));
    EXPECT_THAT(notices(), SizeIs(1));
    kill();
    start();
    launch();
    EXPECT_THAT(notices(), SizeIs(1));
    EXPECT_EQ(files.contents(folder.sidecarURL("b")), first);
    EXPECT_THAT(sidecar("c").notes, SizeIs(1));
}

TEST_F(AppModelRepair, ASidecarThatCannotBeWrittenBackIsFoundAgainByTheNextLaunch) {
    leaveInterrupted("b", true);
    files.failEveryCall(Operation::createSyncedFile);
    launch();
    EXPECT_EQ(sidecar("b").endedAt, std::nullopt);
    files.stopFailing();
    kill();
    start();
    launch();
    EXPECT_EQ(sidecar("b").endedAt, startedAt) << "its movie is an .mp4 by now";
    EXPECT_THAT(notices(), SizeIs(2));
}

TEST_F(AppModelRepair, AnEmptyFolderNeedsNoRepair) {
    launch();
    EXPECT_THAT(notices(), IsEmpty());
    EXPECT_THAT(folderContents(), IsEmpty());
}

TEST_F(AppModelRepair, FinishedRecordingsNeedNoRepair) {
    files.putFile(
        folder.sidecarURL("a"), SidecarCoding::encode(test::exampleSidecar(), TimeZone::utc()));
    files.putFile(folder.movURL("a"), "captured");
    launch();
    EXPECT_THAT(notices(), IsEmpty());
    EXPECT_THAT(folderContents(), ElementsAre("a.json", "a.mov"));
}

TEST_F(AppModelRepair, AFolderThatCannotBeReadIsLeftAlone) {
    leaveInterrupted("b", true);
    files.failEveryCall(Operation::contentsOfDirectory);
    launch();
    EXPECT_THAT(notices(), IsEmpty());
    EXPECT_THAT(folderContents(), ElementsAre("b.json", "b.mov"));
}

TEST_F(AppModelRepair, RecordingsAreRepairedOneAtATimeOldestFirst) {
    leaveInterrupted("2025-03-14_0900", true);
    leaveInterrupted("2025-03-13_0900", true);
    exporter().script().finishAtOnce = false;
    launch();
    EXPECT_THAT(linesAbout("remux start"), SizeIs(1));
    EXPECT_THAT(linesAbout("remux start: 2025-03-13_0900.mov"), SizeIs(1));
    EXPECT_THAT(notices(), IsEmpty());
    exporter().finish();
    settle();
    EXPECT_NE(sidecar("2025-03-13_0900").endedAt, std::nullopt);
    EXPECT_THAT(linesAbout("remux start: 2025-03-14_0900.mov"), SizeIs(1));
    exporter().finish();
    settle();
    EXPECT_THAT(notices(), ElementsAre("Recovered 2 interrupted recording(s)."));
}

TEST_F(AppModelRepair, TheFolderSizeIsShownAnew) {
    leaveInterrupted("b", true);
    EXPECT_EQ(model().folderSizeText.get(), "0 bytes");
    launch();
    EXPECT_THAT(model().folderSizeText.get(), Not("0 bytes"));
}

TEST_F(AppModelRepair, SidecarsAreWrittenInTheZoneOfTheMoment) {
    timeZone = test::timeZoneNamed("Asia/Kathmandu");
    leaveInterrupted("b", true);
    launch();
    EXPECT_THAT(
        files.contents(folder.sidecarURL("b")),
        testing::Optional(testing::HasSubstr("2025-03-14T14:40:00+05:45")));
}

TEST_F(AppModelRepair, ACallIsRecordedWhileTheRepairGoesOn) {
    leaveInterrupted("b", true);
    exporter().script().finishAtOnce = false;
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    ASSERT_THAT(captured, SizeIs(1));
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_EQ(files.contents(captured.front()), "captured");
    EXPECT_EQ(sessionInWords(), "recording zoom#1");
    zoomReleasesTheMicrophone();
    runFor(30s);
    EXPECT_THAT(
        folderContents(),
        ElementsAre("2026-03-14_0930.json", "2026-03-14_0930.mp4", "b.json", "b.mp4"));
}

TEST_F(AppModelRepair, GivesWayToARecordingBetweenTwoPiecesOfWork) {
    leaveInterrupted("b", true);
    leaveInterrupted("c", true);
    exporter().script().finishAtOnce = false;
    launch();
    ASSERT_THAT(exporter().calls(), Contains("make export of found b.mov"));
    zoomTakesTheMicrophone();
    runFor(5s);
    ASSERT_THAT(captured, SizeIs(1));
    exporter().script().finishAtOnce = true;
    exporter().finish(); // of the piece that the call found under way
    runFor(60s);
    EXPECT_THAT(exporter().calls(), Not(Contains("duration b.mov")));
    zoomReleasesTheMicrophone();
    runFor(60s);
    EXPECT_THAT(
        exporter().calls(), IsSupersetInOrder(std::vector<std::string>{
                                "make export of found b.mov", "make export 2026-03-14_0930.mov",
                                "duration b.mov", "make export of found c.mov"}));
    EXPECT_THAT(
        folderContents(),
        ElementsAre(
            "2026-03-14_0930.json", "2026-03-14_0930.mp4", "b.json", "b.mp4", "c.json", "c.mp4"));
}

TEST_F(AppModelRepair, GivesWayToAStartThatWaits) {
    leaveInterrupted("b", true);
    exporter().script().finishAtOnce = false;
    launch();
    model().recordNowFromMenu();
    exporter().script().finishAtOnce = true;
    exporter().finish();
    settle();
    EXPECT_THAT(captured, SizeIs(1));
    EXPECT_THAT(exporter().calls(), Not(Contains("duration b.mov")));
    model().stopRecordingFromMenu();
    runFor(10s);
    EXPECT_THAT(folderContents(), Contains("b.mp4"));
}

TEST_F(AppModelRepair, GivesWayToTheRestartThatFollowsAFailure) {
    leaveInterrupted("b", true);
    leaveInterrupted("c", true);
    exporter().script().finishAtOnce = false;
    launch();
    zoomTakesTheMicrophone();
    runFor(5s);
    exporter().script().finishAtOnce = true;
    exporter().finish();
    deviceDies();
    settle();
    EXPECT_THAT(captured, SizeIs(2));
    EXPECT_THAT(exporter().calls(), Not(Contains("make export of found c.mov")));
}

TEST_F(AppModelRepair, TheEndOfARepairedRecordingIsItsMoviesHoweverLongTheConversion) {
    leaveInterrupted("b", true);
    exporter().script().finishAtOnce = false;
    launch();
    runFor(5min);
    exporter().finish();
    settle();
    EXPECT_EQ(sidecar("b").endedAt, lastWrittenAt);
}

TEST_F(AppModelRepair, WhatThisRunRecordsIsNotInterrupted) {
    leaveInterrupted("b", true);
    model().launch();
    settle();
    // The user records by hand before having answered whether the program may notify.
    model().recordNowFromMenu();
    runFor(10s);
    notifications.answerAuthorization(true);
    runFor(10s);
    EXPECT_EQ(files.contents(folder.movURL(firstBaseName)), "captured") << "still being written";
    EXPECT_EQ(sidecar(firstBaseName).endedAt, std::nullopt);
    model().stopRecordingFromMenu();
    runFor(10s);
    EXPECT_THAT(notices(), ElementsAre("Recovered 1 interrupted recording(s)."));
    EXPECT_FALSE(sidecar(firstBaseName).interrupted);
}

TEST_F(AppModelRepair, TheScanBeginsAfterTheFirstPassAndTakesTurnsWithEverythingElse) {
    for (int number = 0; number < 1000; ++number) {
        files.putFile(
            folder.sidecarURL(fmt::format("{:04}", number)),
            SidecarCoding::encode(test::exampleSidecar(), TimeZone::utc()));
    }
    leaveInterrupted("2000", true);
    const auto sidecarsRead = [this] {
        return std::ranges::count(
            files.calls(), Operation::readFile, &test::InMemoryFileManager::Call::operation);
    };
    model().launch();
    settle();
    files.forgetCalls();
    notifications.answerAuthorization(true);
    std::ptrdiff_t most = 0;
    for (bool works = true; works; files.forgetCalls()) {
        const bool hadItsFirstPass = wallTimesTakenOver > 0;
        works = step(loop().now());
        EXPECT_TRUE(hadItsFirstPass || sidecarsRead() == 0);
        most = std::max(most, sidecarsRead());
    }
    EXPECT_GT(most, 0);
    EXPECT_LE(most, 50) << "in one piece of work";
    EXPECT_THAT(notices(), ElementsAre("Recovered 1 interrupted recording(s)."));
}

} // namespace
} // namespace brindle
