#include "BrindleRecorderCore/Base/AtomicFile.hpp"

#include "Support/InMemoryFileManager.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace brindle {
namespace {

using test::InMemoryFileManager;
using Operation = InMemoryFileManager::Operation;

const std::filesystem::path file = "/recordings/2025-03-14_0930.json";
const std::string oldContents = "the old contents";
const std::string newContents = "the new contents, which are longer";

/// The file that every failing write is tried on: one that is there already, or none yet.
class AtomicFileOnFailure : public testing::TestWithParam<bool> {
  protected:
    AtomicFileOnFailure() {
        if (GetParam()) {
            disk_.putFile(file, oldContents);
        } else {
            static_cast<void>(disk_.createDirectory(file.parent_path()));
            disk_.forgetCalls();
        }
    }

    [[nodiscard]] std::optional<std::string> before() const {
        return GetParam() ? std::optional{oldContents} : std::nullopt;
    }
    [[nodiscard]] std::vector<std::filesystem::path> filesWhenUnchanged() const {
        return GetParam() ? std::vector{file} : std::vector<std::filesystem::path>{};
    }

    InMemoryFileManager disk_;
};

INSTANTIATE_TEST_SUITE_P(OldFile, AtomicFileOnFailure, testing::Bool(), [](const auto& instance) {
    return instance.param ? "Present" : "Missing";
});

TEST(AtomicFile, CreatesAndReplaces) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(file.parent_path()));
    ASSERT_TRUE(AtomicFile::write(disk, file, oldContents));
    EXPECT_EQ(disk.contents(file), oldContents);
    ASSERT_TRUE(AtomicFile::write(disk, file, newContents));
    EXPECT_EQ(disk.contents(file), newContents);
    EXPECT_EQ(disk.files(), std::vector{file});
}

TEST(AtomicFile, SyncsTheContentsBeforeTheMoveAndTheFolderAfterIt) {
    InMemoryFileManager disk;
    disk.putFile(file, oldContents);
    ASSERT_TRUE(AtomicFile::write(disk, file, newContents));
    const auto calls = disk.calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0].operation, Operation::createSyncedFile);
    EXPECT_EQ(calls[0].path.parent_path(), file.parent_path());
    EXPECT_TRUE(calls[0].path.filename().native().starts_with('.'));
    EXPECT_EQ(calls[1], (InMemoryFileManager::Call{Operation::moveFile, calls[0].path}));
    EXPECT_EQ(calls[2], (InMemoryFileManager::Call{Operation::syncDirectory, file.parent_path()}));
}

TEST_P(AtomicFileOnFailure, CreatingFails) {
    disk_.failCall(Operation::createSyncedFile, 1, std::errc::io_error);
    const auto written = AtomicFile::write(disk_, file, newContents);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::io_error);
    EXPECT_EQ(disk_.contents(file), before());
    EXPECT_EQ(disk_.files(), filesWhenUnchanged());
}

TEST_P(AtomicFileOnFailure, MovingFails) {
    disk_.failCall(Operation::moveFile, 1, std::errc::permission_denied);
    const auto written = AtomicFile::write(disk_, file, newContents);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::permission_denied);
    EXPECT_EQ(disk_.contents(file), before());
    EXPECT_EQ(disk_.files(), filesWhenUnchanged());
}

TEST_P(AtomicFileOnFailure, SyncingTheFolderFails) {
    disk_.failCall(Operation::syncDirectory, 1, std::errc::io_error);
    const auto written = AtomicFile::write(disk_, file, newContents);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::io_error);
    EXPECT_EQ(disk_.contents(file), newContents);
    EXPECT_EQ(disk_.files(), std::vector{file});
    disk_.losePower();
    EXPECT_EQ(disk_.contents(file), before());
}

TEST_P(AtomicFileOnFailure, EveryStepFailingLeavesOldOrNewWholeAndNoTemporary) {
    for (int step = 1;; ++step) {
        disk_.failAnyCall(step);
        const bool succeeded = AtomicFile::write(disk_, file, newContents).has_value();
        disk_.stopFailing();
        const auto now = disk_.contents(file);
        EXPECT_TRUE(now == before() || now == newContents) << "step " << step;
        EXPECT_EQ(disk_.files(), now ? std::vector{file} : filesWhenUnchanged()) << "step " << step;
        if (succeeded) {
            EXPECT_EQ(now, newContents);
            EXPECT_EQ(step, 4) << "three steps were made to fail before this";
            return;
        }
    }
}

TEST_P(AtomicFileOnFailure, DiskFillsUpAfterAnyNumberOfBytes) {
    for (std::size_t room = 0; room < newContents.size(); ++room) {
        disk_.setRoomLeft(static_cast<std::int64_t>(room));
        const auto written = AtomicFile::write(disk_, file, newContents);
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error().code, std::errc::no_space_on_device);
        EXPECT_EQ(disk_.contents(file), before());
        EXPECT_EQ(disk_.files(), filesWhenUnchanged());
    }
    disk_.setRoomLeft(static_cast<std::int64_t>(newContents.size()));
    EXPECT_TRUE(AtomicFile::write(disk_, file, newContents));
}

TEST_P(AtomicFileOnFailure, KeepsTheOldContentsWhenTheTemporaryCannotBeRemovedEither) {
    disk_.failCall(Operation::moveFile, 1);
    disk_.failCall(Operation::removeFile, 1);
    EXPECT_FALSE(AtomicFile::write(disk_, file, newContents));
    EXPECT_EQ(disk_.contents(file), before());
    const auto visible = disk_.contentsOfDirectory(file.parent_path());
    EXPECT_EQ(visible->size(), filesWhenUnchanged().size()) << "what is left is hidden";
}

/// Power is lost after so many calls; whatever the process does afterwards reaches nothing.
class AtomicFileOnPowerLoss : public testing::TestWithParam<int> {
  protected:
    /// Whether the write was reported as done before the power went.
    static bool writeUntilPowerGoes(InMemoryFileManager& disk) {
        constexpr int moreThanAnyWriteMakes = 20;
        for (int call = GetParam() + 1; call <= moreThanAnyWriteMakes; ++call) {
            disk.failAnyCall(call, std::errc::no_such_device);
        }
        const bool done = AtomicFile::write(disk, file, newContents).has_value();
        disk.stopFailing();
        return done;
    }
};

INSTANTIATE_TEST_SUITE_P(AfterCalls, AtomicFileOnPowerLoss, testing::Range(0, 4));

TEST_P(AtomicFileOnPowerLoss, OldOrNewContentsAreThereWhole) {
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        InMemoryFileManager disk;
        disk.putFile(file, oldContents);
        const bool done = writeUntilPowerGoes(disk);
        EXPECT_EQ(done, GetParam() >= 3);
        if (seed == 0) {
            disk.losePower();
        } else {
            disk.losePower(seed);
        }
        const auto survived = disk.contents(file);
        EXPECT_TRUE(survived == newContents || (survived == oldContents && !done))
            << "seed " << seed << ": " << survived.value_or("nothing");
        EXPECT_EQ(disk.contentsOfDirectory(file.parent_path())->size(), 1U)
            << "a temporary that power loss left behind is hidden";
        EXPECT_TRUE(AtomicFile::write(disk, file, newContents)) << "and is in nobody's way";
    }
}

TEST_P(AtomicFileOnPowerLoss, NewFileIsThereWholeOrNotAtAll) {
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        InMemoryFileManager disk;
        ASSERT_TRUE(disk.createDirectory(file.parent_path()));
        const bool done = writeUntilPowerGoes(disk);
        if (seed == 0) {
            disk.losePower();
        } else {
            disk.losePower(seed);
        }
        const auto survived = disk.contents(file);
        EXPECT_TRUE(survived == newContents || (!survived && !done)) << "seed " << seed;
    }
}

TEST(AtomicFile, StepsOverATemporaryThatAnotherProcessLeftBehind) {
    InMemoryFileManager disk;
    disk.putFile(file, oldContents);
    disk.failCall(Operation::createSyncedFile, 1, std::errc::file_exists);
    EXPECT_TRUE(AtomicFile::write(disk, file, newContents));
    EXPECT_EQ(disk.contents(file), newContents);
    for (const auto& call : disk.calls()) {
        EXPECT_NE(call.operation, Operation::removeFile) << "the other one is not ours to remove";
    }
}

TEST(AtomicFile, GivesUpWhenEveryNameIsTaken) {
    InMemoryFileManager disk;
    disk.putFile(file, oldContents);
    disk.failEveryCall(Operation::createSyncedFile, std::errc::file_exists);
    const auto written = AtomicFile::write(disk, file, newContents);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::file_exists);
    EXPECT_EQ(disk.contents(file), oldContents);
    EXPECT_EQ(
        std::ranges::count(
            disk.calls(), Operation::createSyncedFile, &InMemoryFileManager::Call::operation),
        1001)
        << "the first name and a thousand others";
}

TEST(AtomicFile, FailsInAMissingFolder) {
    InMemoryFileManager disk;
    const auto written = AtomicFile::write(disk, file, newContents);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::no_such_file_or_directory);
    EXPECT_TRUE(disk.files().empty());
}

TEST(AtomicFile, WritersOnSeveralThreadsDoNotMeet) {
    InMemoryFileManager disk;
    disk.putFile(file, oldContents);
    std::vector<std::thread> writers;
    for (char letter : {'a', 'b', 'c', 'd'}) {
        writers.emplace_back([&disk, letter] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_TRUE(AtomicFile::write(disk, file, std::string(50, letter)));
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    const std::string last = disk.contents(file).value_or("");
    ASSERT_EQ(last.size(), 50U);
    EXPECT_EQ(last, std::string(50, last.front()));
    EXPECT_EQ(disk.files(), std::vector{file});
}

} // namespace
} // namespace brindle
