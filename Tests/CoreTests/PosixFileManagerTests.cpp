// What only the real disk has: modes, links, pipes, limits, descriptors, and syncing.
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "BrindleRecorderCore/Base/AtomicFile.hpp"

#include "Support/TemporaryFolder.hpp"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

/// Every sync that this program asks the system for, and the errors that the next ones are to meet.
struct Syncs {
    struct Sync {
        ino_t file;
        off_t size;
    };

    std::mutex mutex;
    std::vector<Sync> seen;
    std::vector<int> errorsToMeet;
};

Syncs& syncs() {
    static Syncs shared;
    return shared;
}

/// What a volume is to say of itself instead of the truth.
struct ClaimedVolume {
    std::string path;
    struct statvfs claim {};
};

std::optional<ClaimedVolume>& claimedVolume() {
    static std::optional<ClaimedVolume> claimed;
    return claimed;
}

} // namespace

// Takes the place of the C library's function in this program: lets one volume make claims.
extern "C" int statvfs(const char* path, struct statvfs* volume) {
    if (const auto& claimed = claimedVolume(); claimed && claimed->path == path) {
        *volume = claimed->claim;
        return 0;
    }
    static const auto real =
        reinterpret_cast<int (*)(const char*, struct statvfs*)>(::dlsym(RTLD_NEXT, "statvfs"));
    return real(path, volume);
}

// Takes the place of the C library's function in this program: notes the call and passes it on.
extern "C" int fsync(int descriptor) {
    const std::lock_guard lock{syncs().mutex};
    struct stat status {};
    ::fstat(descriptor, &status);
    syncs().seen.push_back({status.st_ino, status.st_size});
    if (!syncs().errorsToMeet.empty()) {
        errno = syncs().errorsToMeet.front();
        syncs().errorsToMeet.erase(syncs().errorsToMeet.begin());
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace brindle {
namespace {

using Path = std::filesystem::path;

class PosixFileManagerTest : public testing::Test {
  protected:
    PosixFileManagerTest() {
        const std::lock_guard lock{syncs().mutex};
        syncs().seen.clear();
        syncs().errorsToMeet.clear();
    }

    [[nodiscard]] Path at(std::string_view name) const { return folder_.path() / name; }

    static mode_t modeOf(const Path& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }
    static ino_t identityOf(const Path& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_ino;
    }
    static bool wasSynced(const Path& path, std::optional<off_t> size = std::nullopt) {
        const std::lock_guard lock{syncs().mutex};
        const ino_t identity = identityOf(path);
        return std::any_of(syncs().seen.begin(), syncs().seen.end(), [&](const auto& sync) {
            return sync.file == identity && (!size || sync.size == *size);
        });
    }
    static void failNextSyncs(std::vector<int> errors) {
        const std::lock_guard lock{syncs().mutex};
        syncs().errorsToMeet = std::move(errors);
    }

    std::string contentsOf(std::string_view name) {
        return files_.readFile(at(name), 1'000'000).value_or("(unreadable)");
    }

    test::TemporaryFolder folder_;
    PosixFileManager files_;
};

/// A umask for the length of a test.
class PosixFileManagerUnderUmask : public PosixFileManagerTest,
                                   public testing::WithParamInterface<mode_t> {
  protected:
    PosixFileManagerUnderUmask() : before_{::umask(GetParam())} {}
    ~PosixFileManagerUnderUmask() override { ::umask(before_); }

  private:
    mode_t before_;
};

INSTANTIATE_TEST_SUITE_P(
    Umasks, PosixFileManagerUnderUmask, testing::Values(0, 0022, 0077, 0277, 0777));

TEST_P(PosixFileManagerUnderUmask, FoldersAndFilesAreForTheUserAlone) {
    ASSERT_TRUE(files_.createDirectory(at("a/b")));
    EXPECT_EQ(modeOf(at("a")), 0700U);
    EXPECT_EQ(modeOf(at("a/b")), 0700U);
    ASSERT_TRUE(files_.createSyncedFile(at("a/created"), "x"));
    EXPECT_EQ(modeOf(at("a/created")), 0600U);
    ASSERT_TRUE(files_.appendToFile(at("a/appended"), "x"));
    EXPECT_EQ(modeOf(at("a/appended")), 0600U);
    ASSERT_TRUE(AtomicFile::write(files_, at("a/replaced"), "x"));
    EXPECT_EQ(modeOf(at("a/replaced")), 0600U);
}

TEST_F(PosixFileManagerTest, LeavesTheModesOfWhatIsThere) {
    ASSERT_TRUE(files_.createDirectory(at("a")));
    ASSERT_TRUE(files_.appendToFile(at("a/log"), "x"));
    std::filesystem::permissions(at("a"), std::filesystem::perms{0755});
    std::filesystem::permissions(at("a/log"), std::filesystem::perms{0644});
    ASSERT_TRUE(files_.createDirectory(at("a")));
    ASSERT_TRUE(files_.appendToFile(at("a/log"), "y"));
    EXPECT_EQ(modeOf(at("a")), 0755U);
    EXPECT_EQ(modeOf(at("a/log")), 0644U);
}

TEST_F(PosixFileManagerTest, SyncsAFileWhenAllOfItIsWritten) {
    ASSERT_TRUE(files_.createSyncedFile(at("file"), "12345"));
    EXPECT_TRUE(wasSynced(at("file"), 5));
}

TEST_F(PosixFileManagerTest, SyncsTheFoldersThatItAddsTo) {
    ASSERT_TRUE(files_.createDirectory(at("a/b")));
    EXPECT_TRUE(wasSynced(folder_.path()));
    EXPECT_TRUE(wasSynced(at("a")));
    EXPECT_FALSE(wasSynced(at("a/b")));
    ASSERT_TRUE(files_.syncDirectory(at("a/b")));
    EXPECT_TRUE(wasSynced(at("a/b")));
}

TEST_F(PosixFileManagerTest, SyncsAgainAfterASignal) {
    failNextSyncs({EINTR, EINTR});
    EXPECT_TRUE(files_.createSyncedFile(at("file"), "x"));
    EXPECT_EQ(syncs().seen.size(), 3U);
}

TEST_F(PosixFileManagerTest, ReportsASyncThatFailed) {
    failNextSyncs({EIO});
    const auto created = files_.createSyncedFile(at("file"), "x");
    ASSERT_FALSE(created);
    EXPECT_EQ(created.error(), (FileError{std::make_error_code(std::errc::io_error), at("file")}));
    EXPECT_EQ(created.error().description(), "Input/output error: " + at("file").string());
    failNextSyncs({EIO});
    EXPECT_EQ(files_.syncDirectory(folder_.path()).error().code, std::errc::io_error);
}

TEST_F(PosixFileManagerTest, LivesWithVolumesThatCannotSyncFolders) {
    failNextSyncs({EINVAL});
    EXPECT_TRUE(files_.syncDirectory(folder_.path()));
}

TEST_F(PosixFileManagerTest, AFailedSyncLeavesTheOldFileAndNoTemporary) {
    ASSERT_TRUE(AtomicFile::write(files_, at("file"), "old"));
    failNextSyncs({EIO});
    EXPECT_FALSE(AtomicFile::write(files_, at("file"), "new"));
    EXPECT_EQ(contentsOf("file"), "old");
    const std::filesystem::directory_iterator entries{folder_.path()};
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

/// A limit on the size of files: the system then writes what still fits and fails at the next byte,
/// for every user.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : signalBefore_{std::signal(SIGXFSZ, SIG_IGN)} {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        static_cast<void>(std::signal(SIGXFSZ, signalBefore_));
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit before_{};
    void (*signalBefore_)(int);
};

TEST_F(PosixFileManagerTest, ReportsAWriteThatStoppedHalfWay) {
    const FileSizeLimit limit{600};
    const auto created = files_.createSyncedFile(at("file"), std::string(1000, 'x'));
    ASSERT_FALSE(created);
    EXPECT_EQ(created.error().code, std::errc::file_too_large);
}

TEST_F(PosixFileManagerTest, AppendsAllOrNothing) {
    ASSERT_TRUE(files_.appendToFile(at("log"), std::string(500, 'a')));
    const FileSizeLimit limit{600};
    const auto appended = files_.appendToFile(at("log"), std::string(200, 'b'));
    ASSERT_FALSE(appended);
    EXPECT_EQ(appended.error().code, std::errc::file_too_large);
    EXPECT_EQ(contentsOf("log"), std::string(500, 'a'));
    ASSERT_TRUE(files_.appendToFile(at("log"), std::string(100, 'c')));
    EXPECT_EQ(contentsOf("log"), std::string(500, 'a') + std::string(100, 'c'));
}

TEST_F(PosixFileManagerTest, AFullVolumeKeepsTheOldFileWhole) {
    ASSERT_TRUE(files_.createDirectory(at("volume")));
    if (::mount("brindle-test", at("volume").c_str(), "tmpfs", 0, "size=64k") == -1) {
        GTEST_SKIP() << "mounting a small volume needs rights that this user lacks";
    }
    ASSERT_TRUE(AtomicFile::write(files_, at("volume/file"), "old"));
    const auto written = AtomicFile::write(files_, at("volume/file"), std::string(100'000, 'x'));
    EXPECT_EQ(contentsOf("volume/file"), "old");
    EXPECT_LE(files_.availableCapacity(at("volume"))->value_or(0), 64 * 1024);
    const std::filesystem::directory_iterator entries{at("volume")};
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
    EXPECT_EQ(::umount2(at("volume").c_str(), MNT_DETACH), 0);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::no_space_on_device);
}

TEST_F(PosixFileManagerTest, NeverWaitsAtAPipe) {
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(files_.readFile(at("pipe"), 10).error().code, std::errc::invalid_argument);
    EXPECT_FALSE(files_.appendToFile(at("pipe"), "x")) << "without a reader";
    const int reader = ::open(at("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(files_.appendToFile(at("pipe"), "x").error().code, std::errc::invalid_argument);
    ::close(reader);
    EXPECT_EQ(files_.fileSize(at("pipe")).error().code, std::errc::invalid_argument);
    EXPECT_EQ(files_.contentsOfDirectory(folder_.path())->front().fileSize, std::nullopt);
}

TEST_F(PosixFileManagerTest, ReadsNoEndlessDevice) {
    EXPECT_EQ(files_.readFile("/dev/zero", 10).error().code, std::errc::invalid_argument);
}

TEST_F(PosixFileManagerTest, RefusesAFileThatHoldsMoreThanItSays) {
    // Files of /proc say that they are empty.
    ASSERT_EQ(files_.fileSize("/proc/self/status"), 0);
    EXPECT_EQ(files_.readFile("/proc/self/status", 5).error().code, std::errc::file_too_large);
    EXPECT_TRUE(files_.readFile("/proc/self/status", 100'000));
}

TEST_F(PosixFileManagerTest, ALinkToNothingIsNotThere) {
    std::filesystem::create_symlink("nowhere", at("link"));
    EXPECT_FALSE(files_.fileExists(at("link")));
    EXPECT_EQ(
        files_.appendToFile(at("link"), "x").error().code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(files_.createSyncedFile(at("link"), "x").error().code, std::errc::file_exists);
    EXPECT_FALSE(files_.fileExists(at("nowhere")));
}

TEST_F(PosixFileManagerTest, ALinkedFileHasNoSizeInAListing) {
    ASSERT_TRUE(files_.createDirectory(at("sub")));
    ASSERT_TRUE(files_.createSyncedFile(at("file"), "12345"));
    std::filesystem::create_symlink(at("file"), at("sub/link"));
    EXPECT_TRUE(files_.fileExists(at("sub/link")));
    EXPECT_EQ(
        files_.contentsOfDirectory(at("sub")),
        (std::vector<DirectoryEntry>{{at("sub/link"), std::nullopt}}));
}

TEST_F(PosixFileManagerTest, AtomicWriteReplacesALinkAndNotItsTarget) {
    ASSERT_TRUE(files_.createSyncedFile(at("target"), "target"));
    std::filesystem::create_symlink("target", at("link"));
    ASSERT_TRUE(AtomicFile::write(files_, at("link"), "new"));
    EXPECT_EQ(contentsOf("target"), "target");
    EXPECT_EQ(contentsOf("link"), "new");
}

TEST_F(PosixFileManagerTest, ReadsModificationDatesToTheNanosecond) {
    ASSERT_TRUE(files_.createSyncedFile(at("file"), "x"));
    const timespec times[]{{1, 0}, {1'741'944'612, 123'456'000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("file").c_str(), times, 0), 0);
    EXPECT_EQ(
        files_.modificationDate(at("file")),
        Date{std::chrono::seconds{1'741'944'612} + std::chrono::microseconds{123'456}});
}

TEST_F(PosixFileManagerTest, CountsTheBlocksThatAnOrdinaryUserCanHave) {
    struct statvfs volume {};
    ASSERT_EQ(::statvfs(folder_.path().c_str(), &volume), 0);
    const auto total = static_cast<std::int64_t>(volume.f_blocks * volume.f_frsize);
    const std::int64_t free = files_.availableCapacity(folder_.path())->value_or(-1);
    EXPECT_GE(free, 0);
    EXPECT_LE(free, total);
    EXPECT_EQ(free % static_cast<std::int64_t>(volume.f_frsize), 0);
}

TEST_F(PosixFileManagerTest, DoesNotCountWhatIsReservedForTheAdministrator) {
    struct statvfs claim {};
    claim.f_bsize = 4096;
    claim.f_frsize = 512;
    claim.f_blocks = 1'000'000;
    claim.f_bfree = 60'000;
    claim.f_bavail = 10'000;
    claimedVolume() = {folder_.path().string(), claim};
    const auto available = files_.availableCapacity(folder_.path());
    claimedVolume().reset();
    EXPECT_EQ(available, 10'000 * 512);
}

TEST_F(PosixFileManagerTest, AVolumeWithoutBlocksDoesNotSay) {
    const auto capacity = files_.availableCapacity("/proc");
    ASSERT_TRUE(capacity);
    EXPECT_EQ(*capacity, std::nullopt);
}

TEST_F(PosixFileManagerTest, MovesAFileOntoAnotherNameOfItsOwn) {
    ASSERT_TRUE(files_.createSyncedFile(at("a"), "text"));
    ASSERT_EQ(::link(at("a").c_str(), at("b").c_str()), 0);
    ASSERT_EQ(::link(at("a").c_str(), at("c").c_str()), 0);
    EXPECT_TRUE(files_.moveFile(at("a"), at("b")));
    EXPECT_FALSE(files_.fileExists(at("a")));
    EXPECT_EQ(identityOf(at("b")), identityOf(at("c")));
    EXPECT_TRUE(files_.moveFile(at("b"), at("b")));
    EXPECT_TRUE(files_.fileExists(at("b")));
}

TEST_F(PosixFileManagerTest, AnEmptyPathFails) {
    EXPECT_EQ(files_.createDirectory("").error().code, std::errc::no_such_file_or_directory);
}

TEST_F(PosixFileManagerTest, LeavesNoDescriptorOpen) {
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator entries{"/proc/self/fd"};
        return std::distance(begin(entries), end(entries));
    };
    const auto before = openDescriptors();
    for (int round = 0; round < 10; ++round) {
        static_cast<void>(files_.createDirectory(at("a/b")));
        static_cast<void>(files_.createSyncedFile(at("a/file"), "x"));
        static_cast<void>(files_.createSyncedFile(at("missing/file"), "x"));
        static_cast<void>(files_.appendToFile(at("a/log"), "x"));
        static_cast<void>(files_.appendToFile(at("a"), "x"));
        static_cast<void>(files_.readFile(at("a/log"), 100));
        static_cast<void>(files_.readFile(at("a/log"), 0));
        static_cast<void>(files_.contentsOfDirectory(at("a")));
        static_cast<void>(files_.syncDirectory(at("a")));
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PosixFileManagerTest, SeveralThreadsMayCreateTheSameFolder) {
    for (int round = 0; round < 50; ++round) {
        const Path deep = at("folder" + std::to_string(round)) / "a" / "b";
        std::atomic<int> succeeded = 0;
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&] { succeeded += files_.createDirectory(deep) ? 1 : 0; });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(succeeded, 4);
    }
}

TEST_F(PosixFileManagerTest, SeveralThreadsMayStartTheSameFile) {
    for (int round = 0; round < 50; ++round) {
        const Path path = at("log" + std::to_string(round));
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&] { EXPECT_TRUE(files_.appendToFile(path, "line\n")); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(files_.readFile(path, 100), "line\nline\nline\nline\n");
    }
}

} // namespace
} // namespace brindle
