#include "BrindleRecorderLinux/Windows/CombinedWindowList.hpp"

#include "Support/FakeWindowList.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class CombinedWindowListTest : public testing::Test {
  protected:
    CombinedWindowListTest() {
        first.records = {one};
        second.records = {two};
    }
    const WindowRecord one{1, std::nullopt, "one"};
    const WindowRecord two{2, std::nullopt, "two"};
    test::FakeWindowList first;
    test::FakeWindowList second;
    CombinedWindowList all{{first, second}};
};

TEST_F(CombinedWindowListTest, HasTheWindowsOfAllInTheirOrder) {
    EXPECT_TRUE(all.titlesPermitted());
    EXPECT_THAT(all.windows(), Optional(ElementsAre(one, two)));
}

TEST_F(CombinedWindowListTest, IsPermittedWhenOneIs) {
    first.permitted = false;
    EXPECT_TRUE(all.titlesPermitted());
    EXPECT_THAT(all.windows(), Optional(ElementsAre(two)));
    second.permitted = false;
    EXPECT_FALSE(all.titlesPermitted());
    EXPECT_EQ(all.windows(), std::nullopt);
}

TEST_F(CombinedWindowListTest, CanBeReadWhenOneCan) {
    first.records.reset();
    EXPECT_THAT(all.windows(), Optional(ElementsAre(two)));
    second.records.reset();
    EXPECT_EQ(all.windows(), std::nullopt);
}

TEST_F(CombinedWindowListTest, TellsNoWindowsFromNoneReadable) {
    first.records.emplace();
    second.records.reset();
    EXPECT_THAT(all.windows(), Optional(IsEmpty()));
}

TEST(CombinedWindowListOfNothing, IsNotPermitted) {
    const CombinedWindowList none{{}};
    EXPECT_FALSE(none.titlesPermitted());
    EXPECT_EQ(none.windows(), std::nullopt);
}

} // namespace
} // namespace brindle
