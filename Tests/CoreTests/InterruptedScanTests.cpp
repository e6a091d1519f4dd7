#include "BrindleRecorderCore/Recordings/InterruptedScan.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"
#include "Support/ExampleSidecar.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fstream>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::exampleSidecar;

/// A folder on a disk in memory.
class FolderInMemory {
  public:
    FolderInMemory() { disk_.createDirectory(root()); }

    [[nodiscard]] static std::filesystem::path root() { return "/home/user/Movies/Brindle"; }
    [[nodiscard]] const FileManager& fileManager() const { return disk_; }
    void put(const std::string& name, const std::string& contents) {
        disk_.putFile(root() / name, contents);
    }
    void putFolder(const std::string& name) { disk_.createDirectory(root() / name); }
    void remove() { disk_.removeTree(root()); }

  private:
    test::InMemoryFileManager disk_;
};

/// A folder on the machine's disk.
class FolderOnDisk {
  public:
    [[nodiscard]] const std::filesystem::path& root() const { return folder_.path(); }
    [[nodiscard]] const FileManager& fileManager() const { return disk_; }
    void put(const std::string& name, const std::string& contents) const {
        std::ofstream{root() / name} << contents;
    }
    void putFolder(const std::string& name) const {
        std::filesystem::create_directory(root() / name);
    }
    void remove() const { std::filesystem::remove_all(root()); }

  private:
    PosixFileManager disk_;
    test::TemporaryFolder folder_;
};

template <class Folder>
class InterruptedScanTest : public testing::Test {
  protected:
    [[nodiscard]] static std::string sidecarText(bool hasEnded) {
        Sidecar sidecar = exampleSidecar();
        if (!hasEnded) {
            sidecar.endedAt.reset();
        }
        return SidecarCoding::encode(sidecar, TimeZone::utc());
    }

    void putSidecar(const std::string& name, bool hasEnded = false) {
        folder_.put(name, sidecarText(hasEnded));
    }

    [[nodiscard]] auto scan() const {
        return InterruptedScan::scan(RecordingsFolder{folder_.root()}, folder_.fileManager());
    }

    [[nodiscard]] std::vector<std::string> foundNames() const {
        std::vector<std::string> names;
        if (const auto found = scan()) {
            for (const auto& recording : *found) {
                names.push_back(recording.baseName);
            }
        } else {
            ADD_FAILURE() << found.error().description();
        }
        return names;
    }

    Folder folder_;
};

class FolderNames {
  public:
    template <class Folder>
    static std::string GetName(int) { // NOLINT(readability-identifier-naming): GoogleTest's name
        return std::is_same_v<Folder, FolderOnDisk> ? "OnDisk" : "InMemory";
    }
};

using Names = std::vector<std::string>;
using Folders = testing::Types<FolderInMemory, FolderOnDisk>;
TYPED_TEST_SUITE(InterruptedScanTest, Folders, FolderNames);

TYPED_TEST(InterruptedScanTest, FindsUnfinishedRecordingsWithAndWithoutTheirMovie) {
    this->putSidecar("a.json", true);
    this->folder_.put("a.mov", "a movie");
    this->putSidecar("b.json");
    this->folder_.put("b.mov", "a movie");
    std::string withoutTheKey = this->sidecarText(false);
    const std::string line = "  \"endedAt\" : null,\n";
    withoutTheKey.erase(withoutTheKey.find(line), line.size());
    this->folder_.put("c.json", withoutTheKey);

    const std::filesystem::path root = this->folder_.root();
    const std::vector<InterruptedRecording> expected{
        {.baseName = "b", .sidecarURL = root / "b.json", .movURL = root / "b.mov"},
        {.baseName = "c", .sidecarURL = root / "c.json", .movURL = std::nullopt}};
    const auto found = this->scan();
    ASSERT_TRUE(found);
    EXPECT_TRUE(*found == expected);
}

TYPED_TEST(InterruptedScanTest, FindsNothingInAnEmptyFolder) {
    EXPECT_EQ(this->foundNames(), Names{});
}

TYPED_TEST(InterruptedScanTest, FailsWhenTheFolderCannotBeListed) {
    this->folder_.remove();
    const auto found = this->scan();
    ASSERT_FALSE(found);
    EXPECT_EQ(found.error().code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(found.error().path, this->folder_.root());
}

TYPED_TEST(InterruptedScanTest, LooksOnlyAtVisibleFilesWithExactlyThatExtension) {
    for (const char* name :
         {"x.JSON", "x.Json", ".hidden.json", ".json", "notes.txt", "x.json5", "x.json.tmp", "json",
          "x.json~"}) {
        this->putSidecar(name);
    }
    EXPECT_EQ(this->foundNames(), Names{});
}

TYPED_TEST(InterruptedScanTest, PassesOverWhatCannotBeReadAsASidecar) {
    const std::string valid = this->sidecarText(false);
    std::string malformedDate = valid;
    malformedDate.replace(malformedDate.find("T08:30"), 1, " ");
    this->folder_.put("date.json", malformedDate);
    this->folder_.put("empty.json", "");
    this->folder_.put("half.json", valid.substr(0, valid.size() / 2));
    this->folder_.put("other.json", "{\"endedAt\" : null}");
    this->folder_.put("large.json", valid + std::string(2'000'000, ' '));
    this->folder_.putFolder("folder.json");
    this->putSidecar("ours.json");
    EXPECT_EQ(this->foundNames(), Names{"ours"});
}

TYPED_TEST(InterruptedScanTest, GivesNoMovieWhenOnlyTheConvertedOneIsThere) {
    this->putSidecar("a.json");
    this->folder_.put("a.mp4", "a movie");
    const auto found = this->scan();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_FALSE(found->front().movURL);
}

TYPED_TEST(InterruptedScanTest, SortsByFileNameByteByByte) {
    for (const char* name :
         {"b.json", "a.json", "B.json", "2025-03-14_0930.json", "2025-03-14_0930-2.json",
          "2024-12-31_2359.json", "é.json", "a b.json"}) {
        this->putSidecar(name);
    }
    // "-" comes before "."
    EXPECT_EQ(
        this->foundNames(),
        (Names{
            "2024-12-31_2359", "2025-03-14_0930-2", "2025-03-14_0930", "B", "a b", "a", "b", "é"}));
}

TYPED_TEST(InterruptedScanTest, KeepsDotsInABaseName) {
    this->putSidecar("take.2.json");
    this->folder_.put("take.2.mov", "a movie");
    this->folder_.put("take.mov", "another movie");
    const auto found = this->scan();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_EQ(found->front().baseName, "take.2");
    EXPECT_EQ(found->front().movURL, this->folder_.root() / "take.2.mov");
}

TYPED_TEST(InterruptedScanTest, DoesNotLookIntoFoldersWithin) {
    this->folder_.putFolder("older");
    this->putSidecar("older/a.json");
    EXPECT_EQ(this->foundNames(), Names{});
}

TEST(InterruptedScan, PassesOnTheErrorOfAFolderThatMayNotBeListed) {
    test::InMemoryFileManager disk;
    const std::filesystem::path root = "/home/user/Movies/Brindle";
    disk.failEveryCallWith(root, std::errc::permission_denied);
    const auto found = InterruptedScan::scan(RecordingsFolder{root}, disk);
    ASSERT_FALSE(found);
    EXPECT_EQ(found.error(), (FileError{make_error_code(std::errc::permission_denied), root}));
}

TEST(InterruptedScan, PassesOverASidecarThatMayNotBeRead) {
    test::InMemoryFileManager disk;
    const std::filesystem::path root = "/home/user/Movies/Brindle";
    Sidecar sidecar = exampleSidecar();
    sidecar.endedAt.reset();
    for (const char* name : {"a.json", "b.json"}) {
        disk.putFile(root / name, SidecarCoding::encode(sidecar, TimeZone::utc()));
    }
    disk.failEveryCallWith(root / "a.json", std::errc::permission_denied);
    const auto found = InterruptedScan::scan(RecordingsFolder{root}, disk);
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_EQ(found->front().baseName, "b");
}

TEST(InterruptedScan, ChangesNothingOnDisk) {
    test::InMemoryFileManager disk;
    const std::filesystem::path root = "/home/user/Movies/Brindle";
    Sidecar sidecar = exampleSidecar();
    sidecar.endedAt.reset();
    disk.putFile(root / "a.json", SidecarCoding::encode(sidecar, TimeZone::utc()));
    disk.putFile(root / "a.mov", "a movie");
    ASSERT_TRUE(InterruptedScan::scan(RecordingsFolder{root}, disk));
    using Operation = test::InMemoryFileManager::Operation;
    for (const auto& call : disk.calls()) {
        EXPECT_TRUE(
            call.operation == Operation::contentsOfDirectory ||
            call.operation == Operation::readFile || call.operation == Operation::fileExists);
    }
    EXPECT_EQ(disk.files().size(), 2U);
}

} // namespace
} // namespace brindle
