#include "BrindleRecorderCore/Base/ByteCount.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace brindle {
namespace {

TEST(ByteCount, ReadsAsAPersonWouldSayIt) {
    struct Row {
        std::int64_t bytes;
        std::string text;
    };
    const Row rows[]{
        {0, "0 bytes"},
        {1, "1 byte"},
        {2, "2 bytes"},
        {999, "999 bytes"},
        {1'000, "1 KB"},
        {1'499, "1 KB"},
        {1'500, "2 KB"},
        {12'345, "12 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},
        {1'000'000, "1 MB"},
        {1'049'999, "1 MB"},
        {1'050'000, "1.1 MB"},
        {10'000'000, "10 MB"},
        {123'456'789, "123.5 MB"},
        {999'949'999, "999.9 MB"},
        {999'950'000, "1 GB"},
        {1'000'000'000, "1 GB"},
        {1'004'999'999, "1 GB"},
        {1'005'000'000, "1.01 GB"},
        {1'050'000'000, "1.05 GB"},
        {1'200'000'000, "1.2 GB"},
        {1'234'567'890, "1.23 GB"},
        {999'994'999'999, "999.99 GB"},
        {999'995'000'000, "1 TB"},
        {1'004'999'999'999, "1 TB"},
        {1'005'000'000'000, "1.01 TB"},
        {5'000'000'000'000, "5 TB"},
        {999'994'999'999'999, "999.99 TB"},
        {999'995'000'000'000, "1 PB"},
        {1'004'999'999'999'999, "1 PB"},
        {1'005'000'000'000'000, "1.01 PB"},
        {1'234'567'890'123'456, "1.23 PB"},
        {999'994'999'999'999'999, "999.99 PB"},
        {999'995'000'000'000'000, "1 EB"},
        {1'004'999'999'999'999'999, "1 EB"},
        {1'005'000'000'000'000'000, "1.01 EB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ByteCount::format(row.bytes), row.text) << row.bytes;
    }
}

TEST(ByteCount, NegativeCountsReadAsNothing) {
    EXPECT_EQ(ByteCount::format(-1), "0 bytes");
    EXPECT_EQ(ByteCount::format(std::numeric_limits<std::int64_t>::min()), "0 bytes");
}

} // namespace
} // namespace brindle
