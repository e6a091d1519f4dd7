#include "BrindleRecorderApp/Diagnostics.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

TEST(Diagnostics, DescribesAnErrorByDomainCodeAndText) {
    EXPECT_EQ(
        Diagnostics::describe({.domain = "D", .code = 4, .description = "T", .underlying = {}}),
        "D 4: T");
}

TEST(Diagnostics, NamesTheUnderlyingError) {
    EXPECT_EQ(
        Diagnostics::describe(
            {.domain = "D",
             .code = 4,
             .description = "T",
             .underlying = PlatformError::Underlying{.domain = "P", .code = 2}}),
        "D 4 / underlying P 2: T");
}

} // namespace
} // namespace brindle
