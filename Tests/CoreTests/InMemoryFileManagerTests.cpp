// The disk in memory is what power-loss and failure tests stand on, so it is tested itself.
#include "Support/InMemoryFileManager.hpp"

#include "Support/FakeDateProvider.hpp"

#include <gtest/gtest.h>
#include <set>

namespace brindle {
namespace {

using test::InMemoryFileManager;
using Operation = InMemoryFileManager::Operation;
using Path = std::filesystem::path;

const Path folder = "/folder";
const Path file = folder / "file";

TEST(InMemoryFileManager, PowerLossForgetsAppendedBytes) {
    InMemoryFileManager disk;
    disk.putFile(file, "synced");
    ASSERT_TRUE(disk.appendToFile(file, " and not"));
    disk.losePower();
    EXPECT_EQ(disk.contents(file), "synced");
}

TEST(InMemoryFileManager, PowerLossForgetsNamesThatWereNotSynced) {
    InMemoryFileManager disk;
    disk.putFile(folder / "moved", "moved");
    disk.putFile(folder / "removed", "removed");
    ASSERT_TRUE(disk.createSyncedFile(folder / "created", "created"));
    ASSERT_TRUE(disk.moveFile(folder / "moved", folder / "elsewhere"));
    ASSERT_TRUE(disk.removeFile(folder / "removed"));
    disk.losePower();
    EXPECT_EQ(disk.files(), (std::vector{folder / "moved", folder / "removed"}));
}

TEST(InMemoryFileManager, SyncingTheFolderKeepsItsNamesButNoContents) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(folder));
    ASSERT_TRUE(disk.createSyncedFile(folder / "synced", "bytes"));
    ASSERT_TRUE(disk.appendToFile(folder / "appended", "bytes"));
    ASSERT_TRUE(disk.syncDirectory(folder));
    disk.losePower();
    EXPECT_EQ(disk.contents(folder / "synced"), "bytes");
    EXPECT_EQ(disk.contents(folder / "appended"), "");
}

TEST(InMemoryFileManager, SyncingOneFolderDoesNothingForAnother) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory("/a"));
    ASSERT_TRUE(disk.createDirectory("/b"));
    ASSERT_TRUE(disk.createSyncedFile("/a/file", "x"));
    ASSERT_TRUE(disk.syncDirectory("/b"));
    disk.losePower();
    EXPECT_TRUE(disk.isDirectory("/a"));
    EXPECT_FALSE(disk.fileExists("/a/file"));
}

TEST(InMemoryFileManager, SeedsFindEveryOutcomeBetweenTheWorstAndTheBest) {
    std::set<std::size_t> lengths;
    std::set<std::pair<bool, bool>> names;
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        InMemoryFileManager disk;
        disk.putFile(file, "ab");
        ASSERT_TRUE(disk.appendToFile(file, "cd"));
        ASSERT_TRUE(disk.createSyncedFile(folder / "one", ""));
        ASSERT_TRUE(disk.createSyncedFile(folder / "two", ""));
        disk.losePower(seed);
        const auto contents = disk.contents(file).value_or("");
        EXPECT_EQ(contents, std::string{"abcd"}.substr(0, contents.size()));
        lengths.insert(contents.size());
        names.emplace(disk.fileExists(folder / "one"), disk.fileExists(folder / "two"));
    }
    EXPECT_EQ(lengths, (std::set<std::size_t>{2, 3, 4}));
    EXPECT_EQ(names.size(), 4U) << "folders change in any order";
}

TEST(InMemoryFileManager, TheSameSeedLosesTheSame) {
    const auto survivors = [](std::uint64_t seed) {
        InMemoryFileManager disk;
        disk.putFile(file, "");
        static_cast<void>(disk.appendToFile(file, std::string(1000, 'x')));
        disk.losePower(seed);
        return disk.fileSize(file);
    };
    EXPECT_EQ(survivors(7), survivors(7));
}

TEST(InMemoryFileManager, FailsTheCallThatWasNamed) {
    InMemoryFileManager disk;
    disk.putFile(file, "x");
    disk.failCall(Operation::fileSize, 2, std::errc::permission_denied);
    EXPECT_TRUE(disk.fileSize(file));
    EXPECT_TRUE(disk.fileExists(file)) << "another operation is not counted";
    EXPECT_EQ(disk.fileSize(file).error().code, std::errc::permission_denied);
    EXPECT_TRUE(disk.fileSize(file));

    disk.failEveryCallWith(file, std::errc::timed_out);
    EXPECT_EQ(disk.readFile(file, 10).error().code, std::errc::timed_out);
    EXPECT_TRUE(disk.fileExists(file)) << "what cannot be found out counts as there";
    EXPECT_TRUE(disk.fileExists(folder));
    disk.failEveryCallWith(file, std::errc::permission_denied);
    EXPECT_FALSE(disk.fileExists(file));
    disk.stopFailing();
    EXPECT_TRUE(disk.fileExists(file));
}

TEST(InMemoryFileManager, StopsWritingWhenTheDiskIsFull) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(folder));
    disk.setRoomLeft(6);
    ASSERT_TRUE(disk.appendToFile(folder / "log", "four"));
    EXPECT_EQ(
        disk.appendToFile(folder / "log", "more").error().code, std::errc::no_space_on_device);
    EXPECT_EQ(disk.contents(folder / "log"), "four") << "all or nothing";
    EXPECT_FALSE(disk.createSyncedFile(file, "12345"));
    EXPECT_EQ(disk.contents(file), "12") << "a file that was being created keeps a part";
}

TEST(InMemoryFileManager, DatesFilesByTheClock) {
    test::FakeDateProvider clock;
    InMemoryFileManager disk{clock};
    disk.putFile(file, "x");
    const Date created = clock.now();
    EXPECT_EQ(disk.modificationDate(file), created);
    clock.advance(Seconds{60});
    ASSERT_TRUE(disk.appendToFile(file, "y"));
    EXPECT_EQ(disk.modificationDate(file), clock.now());
    disk.setModificationDate(file, created);
    EXPECT_EQ(disk.modificationDate(file), created);
}

TEST(InMemoryFileManager, RemovesATreeAsSomebodyElseMight) {
    InMemoryFileManager disk;
    disk.putFile("/a/b/c", "x");
    disk.putFile("/ab", "x");
    disk.removeTree("/a");
    EXPECT_EQ(disk.files(), std::vector<Path>{"/ab"});
    EXPECT_FALSE(disk.fileExists("/a"));
}

} // namespace
} // namespace brindle
