#include "BrindleRecorderLinux/Tray/MenuNumbers.hpp"

#include "Support/MenuItems.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::button;
using test::submenu;
using test::text;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(MenuNumbers, LinesHaveTheOrderOfTheMenu) {
    MenuNumbers numbers;
    numbers.show(
        {text("status", "Idle"),
         submenu("camera", "Camera", {button("a", "A"), button("b", "B")})});
    const auto& top = numbers.line(MenuNumbers::root)->children;
    ASSERT_THAT(top, SizeIs(2));
    EXPECT_EQ(numbers.line(top[0])->name, "status");
    const auto& inside = numbers.line(top[1])->children;
    ASSERT_THAT(inside, SizeIs(2));
    EXPECT_EQ(numbers.line(inside[1])->name, "b");
}

TEST(MenuNumbers, ALineThatSaysSomethingElseKeepsItsNumber) {
    MenuNumbers numbers;
    numbers.show({text("status", "Idle"), button("quit", "Quit")});
    const auto before = numbers.line(MenuNumbers::root)->children;
    const auto changes = numbers.show({text("status", "Recording"), button("quit", "Quit")});
    EXPECT_EQ(numbers.line(MenuNumbers::root)->children, before);
    EXPECT_THAT(changes.lines, ElementsAre(before[0]));
    EXPECT_THAT(changes.parents, IsEmpty());
}

TEST(MenuNumbers, OnlyTheSubmenuWhoseLinesChangeIsNamed) {
    MenuNumbers numbers;
    numbers.show({submenu("camera", "Camera", {button("a", "A")}), button("quit", "Quit")});
    const int camera = numbers.line(MenuNumbers::root)->children[0];
    const auto changes = numbers.show(
        {submenu("camera", "Camera", {button("a", "A"), button("b", "B")}),
         button("quit", "Quit")});
    EXPECT_THAT(changes.lines, IsEmpty());
    EXPECT_THAT(changes.parents, ElementsAre(camera));
}

TEST(MenuNumbers, NoNumberIsGivenTwice) {
    MenuNumbers numbers;
    numbers.show({button("stop", "Stop recording")});
    const int stop = numbers.line(MenuNumbers::root)->children[0];
    numbers.show({button("start", "Record now")});
    EXPECT_EQ(numbers.line(stop), nullptr);
    numbers.show({button("stop", "Stop recording")});
    EXPECT_NE(numbers.line(MenuNumbers::root)->children[0], stop);
}

TEST(MenuNumbers, ALineOfAnotherSortIsAnotherLine) {
    MenuNumbers numbers;
    numbers.show({text("line", "words")});
    const auto changes = numbers.show({button("line", "words")});
    EXPECT_THAT(changes.parents, ElementsAre(MenuNumbers::root));
}

TEST(MenuNumbers, TheSameMenuChangesNothing) {
    MenuNumbers numbers;
    numbers.show({text("status", "Idle")});
    const auto changes = numbers.show({text("status", "Idle")});
    EXPECT_THAT(changes.lines, IsEmpty());
    EXPECT_THAT(changes.parents, IsEmpty());
}

} // namespace
} // namespace brindle
