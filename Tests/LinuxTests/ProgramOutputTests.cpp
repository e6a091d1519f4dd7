#include "BrindleRecorderLinux/Processes/ProgramOutput.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

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

} // namespace
} // namespace brindle
