#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"

#include "Support/EnvironmentVariable.hpp"
#include "Support/ForwardingFileManager.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualExecutor.hpp"
#include "Support/NamedTimeZone.hpp"
#include "Support/TemporaryFolder.hpp"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <future>
#include <gtest/gtest.h>
#include <new>
#include <pthread.h>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <type_traits>

namespace brindle {
namespace {

using test::InMemoryFileManager;
using Operation = InMemoryFileManager::Operation;
using Path = std::filesystem::path;

const Date night =
    *InternetDateTime::parse("2026-11-15T02:36:31Z") + std::chrono::microseconds{123'999};

TEST(DiagnosticLogFormat, WritesTheTimeToTheMillisecondInTheZone) {
    EXPECT_EQ(
        DiagnosticLog::format("started", night, TimeZone::utc()),
        "2026-11-15T02:36:31.123Z started\n");
    EXPECT_EQ(
        DiagnosticLog::format("started", night, test::timeZoneNamed("Europe/Berlin")),
        "2026-11-15T03:36:31.123+01:00 started\n");
}

TEST(DiagnosticLogFormat, LineFeedsBecomeSpaces) {
    EXPECT_EQ(
        DiagnosticLog::format("a\nb\n\nc\n", night, TimeZone::utc()),
        "2026-11-15T02:36:31.123Z a b  c \n");
}

TEST(DiagnosticLogFormat, NoMessagePosesAsTwoEntries) {
    const std::string forged =
        DiagnosticLog::format("x\n2026-11-15T02:36:31.123Z forged\r\n", night, TimeZone::utc());
    EXPECT_EQ(std::count(forged.begin(), forged.end(), '\n'), 1);
    EXPECT_EQ(forged.back(), '\n');
}

TEST(DiagnosticLogFormat, EverythingButLineFeedsStaysAsItIs) {
    EXPECT_EQ(
        DiagnosticLog::format("tab\tcarriage\rdash — key=value", night, TimeZone::utc()),
        "2026-11-15T02:36:31.123Z tab\tcarriage\rdash — key=value\n");
    EXPECT_EQ(DiagnosticLog::format("", night, TimeZone::utc()), "2026-11-15T02:36:31.123Z \n");
}

/// The log on a disk in memory and on the real one.
template <class Kind>
class DiagnosticLogOn : public testing::Test {
  protected:
    static constexpr std::int64_t maxBytes = 100;

    void put(const Path& path, std::string_view contents) {
        ASSERT_TRUE(fileManager_.createDirectory(path.parent_path()));
        ASSERT_TRUE(fileManager_.createSyncedFile(path, contents));
    }
    std::string read(const Path& path) {
        return fileManager_.readFile(path, 1'000'000).value_or("(missing)");
    }
    [[nodiscard]] Path rotated() const { return directory_ / "recorder.log.1"; }

    test::EnvironmentVariable zone_{"TZ", "UTC"};
    test::TemporaryFolder temporary_;
    Kind fileManager_;
    Path directory_ = temporary_.path() / "Library" / "Logs";
    DiagnosticLog log_{directory_, "recorder.log", maxBytes, fileManager_};
    std::string line_ = DiagnosticLog::format("message", night, TimeZone::utc());
};

class KindName {
  public:
    template <class Kind>
    // NOLINTNEXTLINE(readability-identifier-naming): the name is the test library's
    static std::string GetName(int) {
        return std::is_same_v<Kind, PosixFileManager> ? "Posix" : "InMemory";
    }
};

using Kinds = testing::Types<PosixFileManager, InMemoryFileManager>;
TYPED_TEST_SUITE(DiagnosticLogOn, Kinds, KindName);

TYPED_TEST(DiagnosticLogOn, CreatesNothingBeforeTheFirstLine) {
    this->log_.flush();
    EXPECT_EQ(this->log_.fileURL(), this->directory_ / "recorder.log");
    EXPECT_FALSE(this->fileManager_.fileExists(this->directory_));
}

TYPED_TEST(DiagnosticLogOn, CreatesAMissingFolderAtTheFirstLine) {
    this->log_.log("message", night);
    this->log_.flush();
    EXPECT_EQ(this->read(this->log_.fileURL()), this->line_);
}

TYPED_TEST(DiagnosticLogOn, FlushReturnsOnceTheLineIsInTheFile) {
    std::string expected;
    for (int round = 0; round < 3; ++round) {
        this->log_.log("message", night);
        this->log_.flush();
        expected += this->line_;
        EXPECT_EQ(this->read(this->log_.fileURL()), expected);
    }
}

TYPED_TEST(DiagnosticLogOn, WritesAMessageWithLineFeedsAsOneLine) {
    this->log_.log("a\nb", night);
    this->log_.flush();
    EXPECT_EQ(this->read(this->log_.fileURL()), "2026-11-15T02:36:31.123Z a b\n");
}

TYPED_TEST(DiagnosticLogOn, AFileOfExactlyTheLimitIsNotRotated) {
    const std::string full(this->maxBytes, 'x');
    this->put(this->log_.fileURL(), full);
    this->log_.log("message", night);
    this->log_.flush();
    EXPECT_EQ(this->read(this->log_.fileURL()), full + this->line_);
    EXPECT_FALSE(this->fileManager_.fileExists(this->rotated()));
}

TYPED_TEST(DiagnosticLogOn, AFileOfOneByteMoreIsRotatedBeforeTheNextLine) {
    const std::string tooFull(this->maxBytes + 1, 'x');
    this->put(this->log_.fileURL(), tooFull);
    this->put(this->rotated(), "an earlier copy");
    this->log_.log("message", night);
    this->log_.flush();
    EXPECT_EQ(this->read(this->log_.fileURL()), this->line_);
    EXPECT_EQ(this->read(this->rotated()), tooFull);
}

TYPED_TEST(DiagnosticLogOn, AFolderThatHasTheNameOfTheCopyIsSetAside) {
    const std::string tooFull(this->maxBytes + 1, 'x');
    for (const int round : {1, 2}) {
        this->put(this->log_.fileURL(), tooFull);
        this->put(this->rotated() / "file", fmt::format("not ours {}", round));
        this->log_.log("message", night);
        this->log_.flush();
        EXPECT_EQ(this->read(this->log_.fileURL()), this->line_);
        EXPECT_EQ(this->read(this->rotated()), tooFull);
        const Path aside = this->rotated().string() + fmt::format(".aside-{}", round);
        EXPECT_EQ(this->read(aside / "file"), fmt::format("not ours {}", round));
        ASSERT_TRUE(this->fileManager_.removeFile(this->log_.fileURL()));
        ASSERT_TRUE(this->fileManager_.removeFile(this->rotated()));
    }
}

TYPED_TEST(DiagnosticLogOn, KeepsTwoFilesAtMostAndTheNewestLines) {
    std::vector<std::string> lines;
    for (int number = 0; number < 100; ++number) {
        const std::string message = fmt::format("line {}", number);
        lines.push_back(DiagnosticLog::format(message, night, TimeZone::utc()));
        this->log_.log(message, night);
    }
    this->log_.flush();
    const std::string kept = this->read(this->rotated()) + this->read(this->log_.fileURL());
    std::string all;
    for (const std::string& line : lines) {
        all += line;
    }
    EXPECT_TRUE(all.ends_with(kept));
    EXPECT_GT(kept.size(), static_cast<std::size_t>(this->maxBytes));
    EXPECT_LE(kept.size(), 2 * (static_cast<std::size_t>(this->maxBytes) + lines.back().size()));
    EXPECT_EQ(this->fileManager_.contentsOfDirectory(this->directory_)->size(), 2U);
}

TYPED_TEST(DiagnosticLogOn, LinesOfAnEarlierRunAreKept) {
    this->put(this->log_.fileURL(), "an earlier run\n");
    this->log_.log("message", night);
    this->log_.flush();
    EXPECT_EQ(this->read(this->log_.fileURL()), "an earlier run\n" + this->line_);
}

TEST(DiagnosticLog, WritesTheTimeOfTheUsersZone) {
    const test::EnvironmentVariable zone{"TZ", "Asia/Kathmandu"};
    InMemoryFileManager disk;
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk};
    log.log("message", night);
    log.flush();
    EXPECT_EQ(disk.contents("/logs/recorder.log"), "2026-11-15T08:21:31.123+05:45 message\n");
}

TEST(DiagnosticLog, IsPrivateToTheUser) {
    const test::TemporaryFolder temporary;
    PosixFileManager files;
    DiagnosticLog log{temporary.path() / "a" / "b", "recorder.log", 10, files};
    const mode_t before = ::umask(0);
    log.log("first line", night);
    log.log("second line", night);
    log.flush();
    ::umask(before);
    const auto modeOf = [](const Path& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    };
    EXPECT_EQ(modeOf(temporary.path() / "a"), 0700U);
    EXPECT_EQ(modeOf(temporary.path() / "a" / "b"), 0700U);
    EXPECT_EQ(modeOf(log.fileURL()), 0600U);
    EXPECT_EQ(modeOf(log.fileURL().string() + ".1"), 0600U);
}

TEST(DiagnosticLog, EveryFailingStepCostsAtMostItsLine) {
    for (int failing = 1; failing <= 4; ++failing) {
        InMemoryFileManager disk;
        disk.putFile("/logs/recorder.log", std::string(101, 'x'));
        DiagnosticLog log{"/logs", "recorder.log", 100, disk};
        disk.failAnyCall(failing);
        log.log("first", night);
        log.log("second", night);
        log.flush();
        EXPECT_TRUE(disk.contents("/logs/recorder.log")->ends_with("second\n")) << failing;
    }
}

TEST(DiagnosticLog, AFullDiskNeitherReachesTheCallerNorTearsALine) {
    const test::EnvironmentVariable zone{"TZ", "UTC"};
    InMemoryFileManager disk;
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk};
    const std::string line = DiagnosticLog::format("message", night, TimeZone::utc());
    disk.setRoomLeft(static_cast<std::int64_t>(line.size() + line.size() / 2));
    log.log("message", night);
    log.log("message", night);
    log.flush();
    EXPECT_EQ(disk.contents("/logs/recorder.log"), line);
    disk.setRoomLeft(std::nullopt);
    log.log("message", night);
    log.flush();
    EXPECT_EQ(disk.contents("/logs/recorder.log"), line + line);
}

TEST(DiagnosticLog, AFolderThatIsRemovedMeanwhileIsCreatedAgain) {
    const test::TemporaryFolder temporary;
    PosixFileManager files;
    DiagnosticLog log{temporary.path() / "logs", "recorder.log", 1'000, files};
    log.log("first", night);
    log.flush();
    std::filesystem::remove_all(temporary.path() / "logs");
    log.log("second", night);
    log.flush();
    const std::string kept = files.readFile(log.fileURL(), 1'000).value_or("(missing)");
    EXPECT_TRUE(kept.ends_with(" second\n"));
    EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), 1);
}

TEST(DiagnosticLog, AFolderThatCannotBeCreatedReachesNobody) {
    const test::TemporaryFolder temporary;
    PosixFileManager files;
    ASSERT_TRUE(files.createSyncedFile(temporary.path() / "file", "in the way"));
    DiagnosticLog log{temporary.path() / "file" / "logs", "recorder.log", 1'000, files};
    log.log("message", night);
    log.flush();
    EXPECT_EQ(files.readFile(temporary.path() / "file", 100), "in the way");
}

TEST(DiagnosticLog, GoesOnInTheOldFileWhenItCannotBeRotated) {
    InMemoryFileManager disk;
    disk.putFile("/logs/recorder.log", std::string(101, 'x'));
    disk.failEveryCall(Operation::moveFile, std::errc::operation_not_permitted);
    DiagnosticLog log{"/logs", "recorder.log", 100, disk};
    log.log("message", night);
    log.flush();
    EXPECT_TRUE(disk.contents("/logs/recorder.log")->ends_with(" message\n"));
    EXPECT_TRUE(disk.contents("/logs/recorder.log")->starts_with("xxx"));
}

TEST(DiagnosticLog, StartsAnewRatherThanGrowWithoutBoundWhenItCannotBeRotated) {
    InMemoryFileManager disk;
    disk.failEveryCall(Operation::moveFile, std::errc::operation_not_permitted);
    DiagnosticLog log{"/logs", "recorder.log", 100, disk};
    for (int number = 0; number < 50; ++number) {
        log.log(fmt::format("line {}", number), night);
        log.flush();
        const auto contents = disk.contents("/logs/recorder.log");
        ASSERT_TRUE(contents->ends_with(fmt::format(" line {}\n", number)));
        ASSERT_LE(contents->size(), 2 * 100U + 50) << "twice the limit and a line";
    }
}

TEST(DiagnosticLog, LosesLinesRatherThanGrowWithoutBoundWhenTheFolderCannotBeChanged) {
    InMemoryFileManager disk;
    disk.failEveryCall(Operation::moveFile, std::errc::permission_denied);
    disk.failEveryCall(Operation::removeFile, std::errc::permission_denied);
    disk.putFile("/logs/recorder.log", std::string(201, 'x'));
    DiagnosticLog log{"/logs", "recorder.log", 100, disk};
    log.log("message", night);
    log.flush();
    EXPECT_EQ(disk.contents("/logs/recorder.log"), std::string(201, 'x'));
}

TEST(DiagnosticLog, EightThreadsLoseAndTearNoLine) {
    constexpr int threadCount = 8;
    constexpr int linesPerThread = 12'500;
    const test::EnvironmentVariable zone{"TZ", "UTC"};
    const test::TemporaryFolder temporary;
    PosixFileManager files;
    DiagnosticLog log{temporary.path(), "recorder.log", 100'000'000, files};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&log, thread] {
            for (int line = 0; line < linesPerThread; ++line) {
                log.log(fmt::format("thread={} line={} end", thread, line), night);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    log.flush();

    std::istringstream lines{files.readFile(log.fileURL(), 100'000'000).value_or("")};
    const std::string timestamp = "2026-11-15T";
    std::array<int, threadCount> nextLine{};
    int total = 0;
    for (std::string line; std::getline(lines, line); ++total) {
        ASSERT_TRUE(line.starts_with(timestamp)) << line;
        int thread = -1;
        int number = -1;
        const std::string message = line.substr(line.find(' '));
        // NOLINTNEXTLINE(cert-err34-c): what is read is compared with what was written below
        ASSERT_EQ(std::sscanf(message.c_str(), " thread=%d line=%d", &thread, &number), 2) << line;
        ASSERT_TRUE(thread >= 0 && thread < threadCount) << line;
        ASSERT_EQ(message, fmt::format(" thread={} line={} end", thread, number));
        ASSERT_EQ(number, nextLine.at(static_cast<std::size_t>(thread))++) << "out of order";
    }
    EXPECT_EQ(total, threadCount * linesPerThread);
}

/// An executor that runs its work at once, or fails to take it.
class InlineExecutor final : public Executor {
  public:
    explicit InlineExecutor(bool isOutOfMemory = false) : isOutOfMemory_{isOutOfMemory} {}

    void async(Work work) override {
        if (isOutOfMemory_) {
            throw std::bad_alloc{};
        }
        work();
    }
    void sync(Work work) override { work(); }
    [[nodiscard]] std::string_view label() const override { return "inline"; }

  private:
    bool isOutOfMemory_;
};

TEST(DiagnosticLog, WritesThroughTheQueueThatItIsGiven) {
    InMemoryFileManager disk;
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk, std::make_unique<InlineExecutor>()};
    log.log("message", night);
    EXPECT_TRUE(disk.contents("/logs/recorder.log")->ends_with(" message\n")) << "without a flush";
}

TEST(DiagnosticLog, WritesLinesAsTheyWereWhenTheyWereLogged) {
    InMemoryFileManager disk;
    auto manual = std::make_unique<test::ManualExecutor>();
    test::ManualExecutor& queue = *manual;
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk, std::move(manual)};
    {
        const test::EnvironmentVariable zone{"TZ", "Asia/Kathmandu"};
        std::string message = "message";
        log.log(message, night);
        message = "changed";
    }
    const test::EnvironmentVariable zone{"TZ", "America/St_Johns"};
    EXPECT_TRUE(disk.files().empty()) << "nothing has run on the queue yet";
    queue.runAll();
    EXPECT_EQ(disk.contents("/logs/recorder.log"), "2026-11-15T08:21:31.123+05:45 message\n");
}

/// A disk that notes the name of the thread that writes to it.
class ThreadNotingDisk final : public test::ForwardingFileManager {
  public:
    using ForwardingFileManager::ForwardingFileManager;
    std::string threadName;

  protected:
    void changed(const Path& /*path*/) override {
        std::array<char, 16> name{};
        pthread_getname_np(pthread_self(), name.data(), name.size());
        threadName = name.data();
    }
};

TEST(DiagnosticLog, HasAQueueOfItsOwnWithItsLabel) {
    EXPECT_EQ(DiagnosticLog::queueLabel, "com.tamsworth.brindlerecorder.diagnostic-log");
    InMemoryFileManager memory;
    ThreadNotingDisk disk{memory};
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk};
    log.log("message", night);
    log.flush();
    EXPECT_EQ(disk.threadName, ".diagnostic-log") << "as much of the label as a thread can have";
}

TEST(DiagnosticLog, NeverThrowsAtItsCaller) {
    InMemoryFileManager disk;
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk, std::make_unique<InlineExecutor>(true)};
    log.log("message", night);
    EXPECT_TRUE(disk.files().empty());
}

TEST(DiagnosticLog, LogReturnsWhileTheDiskIsBusy) {
    InMemoryFileManager disk;
    auto queue = std::make_unique<SerialQueue>(std::string{DiagnosticLog::queueLabel});
    std::promise<void> diskIsFree;
    queue->async([&diskIsFree] { diskIsFree.get_future().wait(); });
    DiagnosticLog log{"/logs", "recorder.log", 1'000, disk, std::move(queue)};
    log.log("message", night);
    EXPECT_TRUE(disk.files().empty());
    diskIsFree.set_value();
    log.flush();
    EXPECT_EQ(disk.files(), std::vector<Path>{"/logs/recorder.log"});
}

TEST(DiagnosticLog, WritesWhatIsQueuedBeforeItGoes) {
    InMemoryFileManager disk;
    {
        DiagnosticLog log{"/logs", "recorder.log", 1'000, disk};
        log.log("last words", night);
    }
    EXPECT_TRUE(disk.contents("/logs/recorder.log")->ends_with(" last words\n"));
}

TEST(DiagnosticLog, SharedLogIsOneFileInTheUsersLibrary) {
    static const test::TemporaryFolder home; // as long as the shared log, which is never replaced
    const test::EnvironmentVariable variable{"HOME", home.path().string()};
    DiagnosticLog& log = DiagnosticLog::shared();
    EXPECT_EQ(&log, &DiagnosticLog::shared());
    EXPECT_EQ(
        log.fileURL(), home.path() / "Library" / "Logs" / "Brindle Recorder" / "recorder.log");
    EXPECT_EQ(log.maxBytes(), 5'000'000);
    log.log("message", night);
    log.flush();
    EXPECT_TRUE(PosixFileManager{}.fileExists(log.fileURL()));
}

} // namespace
} // namespace brindle
