// What every file manager promises, held against the real disk and against the disk in memory.
#include "BrindleRecorderCore/Base/AtomicFile.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "Support/InMemoryFileManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <type_traits>

namespace brindle {
namespace {

using Path = std::filesystem::path;

template <class Kind>
class FileManagerContract : public testing::Test {
  protected:
    FileManagerContract() { EXPECT_TRUE(files().createDirectory(folder())); }

    FileManager& files() { return fileManager_; }
    [[nodiscard]] const Path& folder() const { return temporary_.path(); }
    [[nodiscard]] Path at(std::string_view name) const { return folder() / name; }

    void put(const Path& path, std::string_view contents) {
        ASSERT_TRUE(files().createSyncedFile(path, contents));
    }
    std::string read(const Path& path) {
        return files().readFile(path, 1'000'000).value_or("(unreadable)");
    }

  private:
    test::TemporaryFolder temporary_;
    Kind fileManager_;
};

/// The reason of a failure; nothing for a success.
template <class Value>
std::error_code reason(const Expected<Value, FileError>& result) {
    return result ? std::error_code{} : result.error().code;
}

class KindName {
  public:
    template <class Kind>
    // NOLINTNEXTLINE(readability-identifier-naming): the name is the test library's
    static std::string GetName(int) {
        return std::is_same_v<Kind, PosixFileManager> ? "Posix" : "InMemory";
    }
};

using Kinds = testing::Types<PosixFileManager, test::InMemoryFileManager>;
TYPED_TEST_SUITE(FileManagerContract, Kinds, KindName);

TYPED_TEST(FileManagerContract, CreatesEveryMissingFolder) {
    ASSERT_TRUE(this->files().createDirectory(this->at("a/b/c")));
    EXPECT_TRUE(this->files().contentsOfDirectory(this->at("a/b/c")));
    EXPECT_TRUE(this->files().createDirectory(this->at("a/b/c"))) << "is there already";
    EXPECT_TRUE(this->files().createDirectory(this->at("a/d/"))) << "trailing slash";
    EXPECT_TRUE(this->files().fileExists(this->at("a/d")));
    EXPECT_TRUE(this->files().createDirectory("/"));
}

TYPED_TEST(FileManagerContract, CreatesNoFolderWhereAFileIs) {
    this->put(this->at("file"), "x");
    for (const char* name : {"file", "file/below", "file/below/deeper"}) {
        EXPECT_EQ(reason(this->files().createDirectory(this->at(name))), std::errc::not_a_directory)
            << name;
    }
    EXPECT_EQ(this->read(this->at("file")), "x");
}

TYPED_TEST(FileManagerContract, CreatesAFileWithAllItsContents) {
    std::string binary(200'000, 'x');
    for (std::size_t index = 0; index < binary.size(); ++index) {
        binary[index] = static_cast<char>(index % 256);
    }
    this->put(this->at("binary"), binary);
    EXPECT_EQ(this->read(this->at("binary")), binary);
    this->put(this->at("empty"), "");
    EXPECT_EQ(this->read(this->at("empty")), "");
    EXPECT_EQ(this->files().fileSize(this->at("empty")), 0);
}

TYPED_TEST(FileManagerContract, CreatesNoFileOverAnother) {
    this->put(this->at("file"), "first");
    EXPECT_EQ(
        reason(this->files().createSyncedFile(this->at("file"), "second")), std::errc::file_exists);
    EXPECT_EQ(this->read(this->at("file")), "first");
}

TYPED_TEST(FileManagerContract, CreatesNoFileInAMissingFolder) {
    EXPECT_EQ(
        reason(this->files().createSyncedFile(this->at("missing/file"), "x")),
        std::errc::no_such_file_or_directory);
    EXPECT_EQ(
        reason(this->files().appendToFile(this->at("missing/file"), "x")),
        std::errc::no_such_file_or_directory);
}

TYPED_TEST(FileManagerContract, AppendsAndCreatesWhatIsMissing) {
    ASSERT_TRUE(this->files().appendToFile(this->at("log"), "one\n"));
    ASSERT_TRUE(this->files().appendToFile(this->at("log"), "two\n"));
    EXPECT_EQ(this->read(this->at("log")), "one\ntwo\n");
    EXPECT_EQ(this->files().fileSize(this->at("log")), 8);
}

TYPED_TEST(FileManagerContract, AppendsToFilesOnly) {
    EXPECT_EQ(reason(this->files().appendToFile(this->folder(), "x")), std::errc::is_a_directory);
}

TYPED_TEST(FileManagerContract, ReadsUpToTheLimitAndNothingBeyond) {
    this->put(this->at("file"), "12345");
    EXPECT_EQ(this->files().readFile(this->at("file"), 5), "12345");
    EXPECT_EQ(reason(this->files().readFile(this->at("file"), 4)), std::errc::file_too_large);
    EXPECT_EQ(reason(this->files().readFile(this->at("file"), 0)), std::errc::file_too_large);
    EXPECT_EQ(
        this->files().readFile(this->at("file"), std::numeric_limits<std::int64_t>::max()),
        "12345");
}

TYPED_TEST(FileManagerContract, ReadsFilesOnly) {
    EXPECT_EQ(reason(this->files().readFile(this->folder(), 10)), std::errc::is_a_directory);
    EXPECT_EQ(
        reason(this->files().readFile(this->at("missing"), 10)),
        std::errc::no_such_file_or_directory);
    this->put(this->at("file"), "x");
    EXPECT_EQ(
        reason(this->files().readFile(this->at("file/below"), 10)), std::errc::not_a_directory);
}

TYPED_TEST(FileManagerContract, ListsDirectVisibleEntriesWithTheSizesOfFiles) {
    this->put(this->at("b.mov"), "12345");
    this->put(this->at("a.json"), "");
    this->put(this->at(".hidden"), "123");
    ASSERT_TRUE(this->files().createDirectory(this->at("sub")));
    this->put(this->at("sub/inner"), "1");
    auto entries = this->files().contentsOfDirectory(this->folder());
    ASSERT_TRUE(entries);
    std::sort(entries->begin(), entries->end(), [](const auto& left, const auto& right) {
        return left.path < right.path;
    });
    const std::vector<DirectoryEntry> expected{
        {this->at("a.json"), 0}, {this->at("b.mov"), 5}, {this->at("sub"), std::nullopt}};
    EXPECT_EQ(*entries, expected);
}

TYPED_TEST(FileManagerContract, ListsFoldersOnly) {
    EXPECT_EQ(
        reason(this->files().contentsOfDirectory(this->at("missing"))),
        std::errc::no_such_file_or_directory);
    this->put(this->at("file"), "x");
    EXPECT_EQ(
        reason(this->files().contentsOfDirectory(this->at("file"))), std::errc::not_a_directory);
}

TYPED_TEST(FileManagerContract, SaysWhatExists) {
    this->put(this->at("file"), "x");
    EXPECT_TRUE(this->files().fileExists(this->at("file")));
    EXPECT_TRUE(this->files().fileExists(this->folder()));
    EXPECT_FALSE(this->files().fileExists(this->at("missing")));
    EXPECT_FALSE(this->files().fileExists(this->at("file/below")));
}

TYPED_TEST(FileManagerContract, MeasuresFilesOnly) {
    EXPECT_EQ(reason(this->files().fileSize(this->folder())), std::errc::is_a_directory);
    EXPECT_EQ(
        reason(this->files().fileSize(this->at("missing"))), std::errc::no_such_file_or_directory);
}

TYPED_TEST(FileManagerContract, DatesOnlyWhatIsThere) {
    this->put(this->at("file"), "x");
    EXPECT_TRUE(this->files().modificationDate(this->at("file")));
    const auto missing = this->files().modificationDate(this->at("missing"));
    EXPECT_EQ(reason(missing), std::errc::no_such_file_or_directory);
    EXPECT_EQ(missing.error().path, this->at("missing"));
}

TYPED_TEST(FileManagerContract, MovesOverWhatIsThere) {
    this->put(this->at("from"), "new");
    this->put(this->at("to"), "old");
    ASSERT_TRUE(this->files().moveFile(this->at("from"), this->at("to")));
    EXPECT_EQ(this->read(this->at("to")), "new");
    EXPECT_FALSE(this->files().fileExists(this->at("from")));
}

TYPED_TEST(FileManagerContract, MovesToItselfWithoutLoss) {
    this->put(this->at("file"), "kept");
    ASSERT_TRUE(this->files().moveFile(this->at("file"), this->at("file")));
    EXPECT_EQ(this->read(this->at("file")), "kept");
}

TYPED_TEST(FileManagerContract, MovesAFolderWithAllThatItHolds) {
    ASSERT_TRUE(this->files().createDirectory(this->at("from/sub")));
    this->put(this->at("from/sub/file"), "kept");
    this->put(this->at("from, too"), "stays");
    ASSERT_TRUE(this->files().moveFile(this->at("from"), this->at("to")));
    EXPECT_EQ(this->read(this->at("to/sub/file")), "kept");
    EXPECT_FALSE(this->files().fileExists(this->at("from")));
    EXPECT_EQ(this->read(this->at("from, too")), "stays");
    EXPECT_FALSE(this->files().moveFile(this->at("to"), this->at("from, too")));
    EXPECT_EQ(this->read(this->at("from, too")), "stays");
}

TYPED_TEST(FileManagerContract, LeavesTheTargetWhenNothingCanBeMoved) {
    this->put(this->at("to"), "old");
    ASSERT_TRUE(this->files().createDirectory(this->at("sub")));
    EXPECT_EQ(
        reason(this->files().moveFile(this->at("missing"), this->at("to"))),
        std::errc::no_such_file_or_directory);
    EXPECT_EQ(this->read(this->at("to")), "old");
    EXPECT_EQ(
        reason(this->files().moveFile(this->at("to"), this->at("sub"))), std::errc::is_a_directory);
    EXPECT_EQ(
        reason(this->files().moveFile(this->at("to"), this->at("missing/to"))),
        std::errc::no_such_file_or_directory);
    EXPECT_EQ(this->read(this->at("to")), "old");
}

TYPED_TEST(FileManagerContract, RemovesFilesOnly) {
    this->put(this->at("file"), "x");
    ASSERT_TRUE(this->files().removeFile(this->at("file")));
    EXPECT_FALSE(this->files().fileExists(this->at("file")));
    EXPECT_EQ(
        reason(this->files().removeFile(this->at("file"))), std::errc::no_such_file_or_directory);
    EXPECT_EQ(reason(this->files().removeFile(this->folder())), std::errc::is_a_directory);
}

TYPED_TEST(FileManagerContract, SyncsFoldersOnly) {
    EXPECT_TRUE(this->files().syncDirectory(this->folder()));
    EXPECT_EQ(
        reason(this->files().syncDirectory(this->at("missing"))),
        std::errc::no_such_file_or_directory);
    this->put(this->at("file"), "x");
    EXPECT_EQ(reason(this->files().syncDirectory(this->at("file"))), std::errc::not_a_directory);
}

TYPED_TEST(FileManagerContract, MeasuresTheVolumeOfWhatIsThere) {
    const auto capacity = this->files().availableCapacity(this->folder());
    ASSERT_TRUE(capacity);
    EXPECT_GT(capacity->value_or(0), 0);
    EXPECT_EQ(
        reason(this->files().availableCapacity(this->at("missing"))),
        std::errc::no_such_file_or_directory);
}

TYPED_TEST(FileManagerContract, ReplacesAFileInOneStep) {
    const Path longest = this->at(std::string(255, 'n'));
    ASSERT_TRUE(AtomicFile::write(this->files(), longest, "old"));
    ASSERT_TRUE(AtomicFile::write(this->files(), longest, "new"));
    EXPECT_EQ(this->read(longest), "new");
}

} // namespace
} // namespace brindle
