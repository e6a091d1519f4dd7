#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "Support/EnvironmentVariable.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/NamedTimeZone.hpp"
#include "Support/TemporaryFolder.hpp"

#include <array>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>

namespace brindle {
namespace {

using test::InMemoryFileManager;
using Operation = InMemoryFileManager::Operation;

const RecordingsFolder folder{"/home/user/Movies/Brindle"};
const Date piDay = *InternetDateTime::parse("2025-03-14T09:30:12Z");

TEST(RecordingsFolder, LivesInTheUsersMovies) {
    const test::EnvironmentVariable home{"HOME", "/home/user"};
    EXPECT_EQ(RecordingsFolder::defaultRoot(), "/home/user/Movies/Brindle");
}

TEST(RecordingsFolder, EqualsAnotherOfTheSameRoot) {
    EXPECT_EQ(folder, RecordingsFolder{"/home/user/Movies/Brindle"});
    EXPECT_NE(folder, RecordingsFolder{"/home/user/Movies"});
}

TEST(RecordingsFolder, FilesOfARecordingAreDirectlyInsideTheRoot) {
    EXPECT_EQ(folder.movURL("x"), "/home/user/Movies/Brindle/x.mov");
    EXPECT_EQ(folder.mp4URL("x"), "/home/user/Movies/Brindle/x.mp4");
    EXPECT_EQ(folder.sidecarURL("x"), "/home/user/Movies/Brindle/x.json");
}

TEST(RecordingsFolder, TheExtensionIsAddedToNamesWithDots) {
    EXPECT_EQ(folder.movURL("a.b"), "/home/user/Movies/Brindle/a.b.mov");
}

TEST(RecordingsFolder, IsCreatedWithTheFoldersAboveItAndAgainWithoutHarm) {
    InMemoryFileManager disk;
    EXPECT_TRUE(folder.createIfNeeded(disk));
    EXPECT_TRUE(folder.createIfNeeded(disk));
    EXPECT_TRUE(disk.isDirectory(folder.root));
    disk.losePower();
    EXPECT_TRUE(disk.isDirectory(folder.root));
}

TEST(RecordingsFolder, CreationPassesTheErrorOn) {
    InMemoryFileManager disk;
    disk.failCall(Operation::createDirectory, 1, std::errc::read_only_file_system);
    const auto created = folder.createIfNeeded(disk);
    ASSERT_FALSE(created);
    EXPECT_EQ(
        created.error(),
        (FileError{std::make_error_code(std::errc::read_only_file_system), folder.root}));
}

TEST(RecordingsFolder, AnEmptyFolderHasSizeZero) {
    InMemoryFileManager disk;
    ASSERT_TRUE(folder.createIfNeeded(disk));
    EXPECT_EQ(folder.totalSizeBytes(disk), 0);
}

TEST(RecordingsFolder, AMissingOrUnreadableFolderHasSizeZero) {
    InMemoryFileManager disk;
    EXPECT_EQ(folder.totalSizeBytes(disk), 0);
    disk.putFile(folder.movURL("x"), "12345");
    disk.failCall(Operation::contentsOfDirectory, 1);
    EXPECT_EQ(folder.totalSizeBytes(disk), 0);
    EXPECT_EQ(folder.totalSizeBytes(disk), 5);
}

TEST(RecordingsFolder, HiddenFilesDoNotCount) {
    InMemoryFileManager disk;
    disk.putFile(folder.root / ".hidden", "12345");
    EXPECT_EQ(folder.totalSizeBytes(disk), 0);
}

TEST(RecordingsFolder, TheContentsOfSubfoldersDoNotCount) {
    InMemoryFileManager disk;
    disk.putFile(folder.root / "sub" / "inner.mov", "12345");
    disk.putFile(folder.movURL("x"), "123");
    EXPECT_EQ(folder.totalSizeBytes(disk), 3);
}

TEST(RecordingsFolder, EveryVisibleFileCounts) {
    InMemoryFileManager disk;
    disk.putFile(folder.mp4URL("x"), "12345");
    disk.putFile(folder.sidecarURL("x"), "123");
    disk.putFile(folder.root / "notes.txt", "1");
    EXPECT_EQ(folder.totalSizeBytes(disk), 9);
}

TEST(RecordingsFolder, OnARealDiskCountsOnlyVisibleFilesDirectlyInside) {
    const test::TemporaryFolder temporary;
    const RecordingsFolder recordings{temporary.path()};
    PosixFileManager disk;
    EXPECT_EQ(recordings.totalSizeBytes(disk), 0) << "empty";
    ASSERT_TRUE(disk.createSyncedFile(recordings.root / ".hidden", "12345"));
    EXPECT_EQ(recordings.totalSizeBytes(disk), 0) << "only a hidden file";
    ASSERT_TRUE(disk.createDirectory(recordings.root / "sub"));
    ASSERT_TRUE(disk.createSyncedFile(recordings.root / "sub" / "inner.mov", "12345"));
    EXPECT_EQ(recordings.totalSizeBytes(disk), 0) << "a folder and what is in it";
    ASSERT_TRUE(disk.createSyncedFile(recordings.movURL("x"), "123"));
    EXPECT_EQ(recordings.totalSizeBytes(disk), 3);
}

TEST(RecordingsFolder, SizesBeyondFourGigabytesAddUp) {
    InMemoryFileManager disk;
    for (const char* name : {"a", "b", "c"}) {
        disk.putFile(folder.movURL(name), "");
        disk.setReportedSize(folder.movURL(name), 5'000'000'000);
    }
    EXPECT_EQ(folder.totalSizeBytes(disk), 15'000'000'000);
}

TEST(RecordingsFolderDeathTest, ASumThatDoesNotFitEndsTheProgram) {
    InMemoryFileManager disk;
    for (const char* name : {"a", "b"}) {
        disk.putFile(folder.movURL(name), "");
        disk.setReportedSize(folder.movURL(name), std::numeric_limits<std::int64_t>::max());
    }
    EXPECT_EXIT(
        static_cast<void>(folder.totalSizeBytes(disk)), testing::KilledBySignal(SIGABRT), "");
}

TEST(RecordingNaming, NamesByDateAndMinuteOfTheZone) {
    const Date morning = *InternetDateTime::parse("2026-01-03T09:05:59Z");
    EXPECT_EQ(RecordingNaming::baseName(morning, TimeZone::utc()), "2026-01-03_0905");
    EXPECT_EQ(
        RecordingNaming::baseName(morning, test::timeZoneNamed("Asia/Tokyo")), "2026-01-03_1805");
    EXPECT_EQ(
        RecordingNaming::baseName(morning, test::timeZoneNamed("Pacific/Honolulu")),
        "2026-01-02_2305");
}

TEST(RecordingNaming, PadsEveryField) {
    const Date early = *InternetDateTime::parse("2025-01-02T03:04:05Z");
    EXPECT_EQ(RecordingNaming::baseName(early, TimeZone::utc()), "2025-01-02_0304");
}

/// Which recordings there are, and the name that the next one of that minute gets.
struct NamingCase {
    std::string description;
    std::vector<std::string> taken;
    std::string expected;
};

const std::vector<NamingCase>& namingCases() {
    static const std::vector<NamingCase> cases{
        {"NothingTaken", {}, "2025-03-14_0930"},
        {"SecondOfAMinute", {"2025-03-14_0930.mov"}, "2025-03-14_0930-2"},
        {"ThirdOfAMinute", {"2025-03-14_0930.mov", "2025-03-14_0930-2.mov"}, "2025-03-14_0930-3"},
        {"StaleSidecarAlone", {"2025-03-14_0930.json"}, "2025-03-14_0930-2"},
        {"ConvertedMovieAlone", {"2025-03-14_0930.mp4"}, "2025-03-14_0930-2"},
        {"FourthOfAMinute",
         {"2025-03-14_0930.mp4", "2025-03-14_0930-2.json", "2025-03-14_0930-3.mov"},
         "2025-03-14_0930-4"},
        {"GapIsFilled", {"2025-03-14_0930.mov", "2025-03-14_0930-3.mov"}, "2025-03-14_0930-2"},
        {"SuffixedNamesAloneLeaveThePlainOneFree", {"2025-03-14_0930-2.mov"}, "2025-03-14_0930"},
        {"OtherExtensionsDoNotBlock", {"2025-03-14_0930.txt"}, "2025-03-14_0930"},
        {"SuffixOneIsNeverUsed",
         {"2025-03-14_0930.mov", "2025-03-14_0930-1.mov"},
         "2025-03-14_0930-2"},
        {"OtherMinutesDoNotBlock", {"2025-03-14_0931.mov"}, "2025-03-14_0930"},
    };
    return cases;
}

class RecordingNamingCases : public testing::TestWithParam<NamingCase> {};

INSTANTIATE_TEST_SUITE_P(
    Taken, RecordingNamingCases, testing::ValuesIn(namingCases()),
    [](const auto& instance) { return instance.param.description; });

TEST_P(RecordingNamingCases, InMemory) {
    InMemoryFileManager disk;
    for (const std::string& name : GetParam().taken) {
        disk.putFile(folder.root / name, "");
    }
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        GetParam().expected);
}

TEST_P(RecordingNamingCases, OnARealDisk) {
    const test::TemporaryFolder temporary;
    PosixFileManager disk;
    for (const std::string& name : GetParam().taken) {
        ASSERT_TRUE(disk.createSyncedFile(temporary.path() / name, ""));
    }
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, temporary.path(), TimeZone::utc(), disk),
        GetParam().expected);
}

TEST(RecordingNaming, GoesOnBeyondTenOfOneMinute) {
    InMemoryFileManager disk;
    std::string name;
    for (int recording = 1; recording <= 50; ++recording) {
        name = RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk);
        disk.putFile(folder.movURL(name), "");
    }
    EXPECT_EQ(name, "2025-03-14_0930-50");
}

TEST(RecordingNaming, LooksForTheMovieThenTheConvertedOneThenTheSidecarAndStopsAtTheFirst) {
    InMemoryFileManager disk;
    disk.putFile(folder.mp4URL("2025-03-14_0930"), "");
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        "2025-03-14_0930-2");
    const std::vector<InMemoryFileManager::Call> expected{
        {Operation::fileExists, folder.movURL("2025-03-14_0930")},
        {Operation::fileExists, folder.mp4URL("2025-03-14_0930")},
        {Operation::fileExists, folder.movURL("2025-03-14_0930-2")},
        {Operation::fileExists, folder.mp4URL("2025-03-14_0930-2")},
        {Operation::fileExists, folder.sidecarURL("2025-03-14_0930-2")},
    };
    EXPECT_EQ(disk.calls(), expected);
}

TEST(RecordingNaming, EveryNameIsFreeInAFolderThatCannotBeRead) {
    InMemoryFileManager disk;
    disk.putFile(folder.movURL("2025-03-14_0930"), "");
    disk.failEveryCall(Operation::fileExists, std::errc::permission_denied);
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        "2025-03-14_0930");
}

TEST(RecordingNaming, ANameIsNotFreeWhenTheDiskFailsToSay) {
    InMemoryFileManager disk;
    disk.putFile(folder.mp4URL("2025-03-14_0930"), "");
    disk.failCall(Operation::fileExists, 2, std::errc::io_error);
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        "2025-03-14_0930-2");
}

TEST(RecordingNaming, NeverGivesATakenNameHoweverManyThereAre) {
    constexpr int taken = 10'050;
    InMemoryFileManager disk;
    disk.putFile(folder.movURL("2025-03-14_0930"), "");
    constexpr std::array kinds{"mov", "mp4", "json"};
    for (int number = 2; number <= taken; ++number) {
        const auto* const kind = kinds.at(static_cast<std::size_t>(number) % kinds.size());
        disk.putFile(folder.root / fmt::format("2025-03-14_0930-{}.{}", number, kind), "");
    }
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        "2025-03-14_0930-10051");
}

TEST(RecordingNaming, ADiskThatNeverSaysAnythingDoesNotKeepUsForEver) {
    InMemoryFileManager disk;
    disk.failEveryCall(Operation::fileExists, std::errc::io_error);
    EXPECT_EQ(
        RecordingNaming::uniqueBaseName(piDay, folder.root, TimeZone::utc(), disk),
        "2025-03-14_0930-10000");
}

} // namespace
} // namespace brindle
