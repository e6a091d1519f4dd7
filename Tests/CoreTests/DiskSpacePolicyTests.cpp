#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"

#include "Support/InMemoryFileManager.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace brindle {
namespace {

using test::InMemoryFileManager;

const std::filesystem::path folder = "/home/user/Movies/Brindle";

TEST(DiskSpacePolicy, OneByteBelowAGigabyteIsRefusedAlthoughItReadsAsOne) {
    const auto verdict = DiskSpacePolicy::verdict(999'999'999);
    EXPECT_EQ(verdict, DiskSpaceVerdict::refuse(999'999'999));
    EXPECT_FALSE(verdict.allowsRecording());
    EXPECT_EQ(verdict.message(), "Only 1.0 GB free — not recording this call.");
}

TEST(DiskSpacePolicy, ExactlyAGigabyteIsAWarning) {
    const auto verdict = DiskSpacePolicy::verdict(1'000'000'000);
    EXPECT_EQ(verdict, DiskSpaceVerdict::warn(1'000'000'000));
    EXPECT_TRUE(verdict.allowsRecording());
    EXPECT_EQ(verdict.message(), "Only 1.0 GB free — recording anyway.");
}

TEST(DiskSpacePolicy, OneByteBelowFiveGigabytesIsAWarning) {
    const auto verdict = DiskSpacePolicy::verdict(4'999'999'999);
    EXPECT_EQ(verdict, DiskSpaceVerdict::warn(4'999'999'999));
    EXPECT_EQ(verdict.message(), "Only 5.0 GB free — recording anyway.");
}

TEST(DiskSpacePolicy, ExactlyFiveGigabytesAreEnough) {
    const auto verdict = DiskSpacePolicy::verdict(5'000'000'000);
    EXPECT_EQ(verdict, DiskSpaceVerdict::ok(5'000'000'000));
    EXPECT_TRUE(verdict.allowsRecording());
    EXPECT_EQ(verdict.message(), std::nullopt);
}

TEST(DiskSpacePolicy, ANegativeCountIsRefused) {
    EXPECT_EQ(DiskSpacePolicy::verdict(-1), DiskSpaceVerdict::refuse(-1));
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(DiskSpacePolicy::verdict(least), DiskSpaceVerdict::refuse(least));
}

TEST(DiskSpacePolicy, TheLargestVolumeIsEnough) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(DiskSpacePolicy::verdict(most), DiskSpaceVerdict::ok(most));
}

TEST(DiskSpacePolicy, TheMessageCountsDecimalGigabytesToOnePlace) {
    EXPECT_EQ(
        DiskSpaceVerdict::warn(4'321'000'000).message(), "Only 4.3 GB free — recording anyway.");
    EXPECT_EQ(DiskSpaceVerdict::refuse(0).message(), "Only 0.0 GB free — not recording this call.");
}

TEST(DiskSpacePolicy, VerdictsDifferByKindAndByBytes) {
    EXPECT_NE(DiskSpaceVerdict::ok(1), DiskSpaceVerdict::warn(1));
    EXPECT_NE(DiskSpaceVerdict::ok(1), DiskSpaceVerdict::ok(2));
}

TEST(DiskSpacePolicy, MeasuresTheVolumeThatHoldsTheFolder) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(folder));
    for (const std::int64_t bytes : {999'999'999LL, 1'000'000'000LL, 5'000'000'000LL}) {
        disk.setAvailableCapacity(bytes);
        EXPECT_EQ(DiskSpacePolicy::freeBytes(disk, folder), bytes);
        EXPECT_EQ(
            DiskSpacePolicy::verdictForVolumeContaining(disk, folder),
            DiskSpacePolicy::verdict(bytes));
    }
    EXPECT_EQ(
        disk.calls().back(),
        (InMemoryFileManager::Call{InMemoryFileManager::Operation::availableCapacity, folder}));
}

TEST(DiskSpacePolicy, AVolumeThatDoesNotSayCountsAsFull) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(folder));
    disk.setAvailableCapacity(std::nullopt);
    EXPECT_EQ(DiskSpacePolicy::freeBytes(disk, folder), 0);
    EXPECT_EQ(
        DiskSpacePolicy::verdictForVolumeContaining(disk, folder), DiskSpaceVerdict::refuse(0));
}

TEST(DiskSpacePolicy, AVolumeThatCannotBeQueriedCountsAsFull) {
    InMemoryFileManager disk;
    ASSERT_TRUE(disk.createDirectory(folder));
    disk.failEveryCallWith(folder, std::errc::io_error);
    const auto free = DiskSpacePolicy::freeBytes(disk, folder);
    ASSERT_FALSE(free);
    EXPECT_EQ(free.error(), (FileError{std::make_error_code(std::errc::io_error), folder}));
    EXPECT_EQ(
        DiskSpacePolicy::verdictForVolumeContaining(disk, folder), DiskSpaceVerdict::refuse(0));
}

TEST(DiskSpacePolicy, AMissingFolderCountsAsFullOnARealDisk) {
    const PosixFileManager disk;
    EXPECT_EQ(
        DiskSpacePolicy::verdictForVolumeContaining(disk, "/missing/folder"),
        DiskSpaceVerdict::refuse(0));
    EXPECT_GE(DiskSpacePolicy::freeBytes(disk, "/").value_or(-1), 0);
}

} // namespace
} // namespace brindle
