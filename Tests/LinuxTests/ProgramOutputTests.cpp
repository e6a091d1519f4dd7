#include "BrindleRecorderLinux/Processes/ProgramOutput.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Processes/FileHolders.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <optional>

namespace brindle {
namespace {

using testing::Contains;
using testing::Not;

TEST(ProgramOutput, IsWhatTheProgramWrites) {
    EXPECT_EQ(outputOf({"sh", "-c", "echo one; echo two >&2; printf three"}), "one\nthree");
    EXPECT_EQ(outputOf({"cat"}), ""); // there is nothing to read for it
}

TEST(ProgramOutput, IsNothingWhereTheProgramFails) {
    EXPECT_EQ(outputOf({"/nowhere/at/all"}), std::nullopt);
    EXPECT_EQ(outputOf({"sh", "-c", "echo one; exit 1"}), std::nullopt);
    EXPECT_EQ(outputOf({"sh", "-c", "kill -9 $$"}), std::nullopt);
}

TEST(ProgramOutput, IsBounded) {
    const auto text = outputOf({"head", "-c", "1000000", "/dev/zero"});
    ASSERT_TRUE(text);
    EXPECT_LT(text->size(), 100'000U);
}

TEST(FileHolders, AreTheProcessesThatHaveTheFileOpen) {
    const test::TemporaryFolder folder;
    const auto file = folder.path() / "held";
    {
        const auto held = FileDescriptor::open(file, O_CREAT | O_RDWR, S_IRUSR | S_IWUSR);
        ASSERT_TRUE(held);
        EXPECT_THAT(processesThatHold(file), Contains(getpid()));
        EXPECT_THAT(processesThatHold(folder.path() / "hel"), Not(Contains(getpid())));
    }
    EXPECT_THAT(processesThatHold(file), Not(Contains(getpid())));
    EXPECT_TRUE(processesThatHold(file, folder.path() / "no-processes").empty());
}

} // namespace
} // namespace brindle
