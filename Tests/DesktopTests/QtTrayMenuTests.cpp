#include "BrindleRecorderLinux/Qt/QtTrayMenu.hpp"

#include "DesktopTests/WaitInQt.hpp"
#include "Support/MenuItems.hpp"

#include <QAction>
#include <QPoint>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace brindle {
namespace {

using test::button;
using test::divider;
using test::submenu;
using test::text;
using test::toggle;
using testing::ElementsAre;
using testing::IsEmpty;

class QtTrayMenuTest : public testing::Test {
  protected:
    QtTrayMenuTest() {
        menu_.onActivation = [this](const std::string& name) {
            activated_.push_back(name);
        };
    }

    std::vector<std::string> words() {
        std::vector<std::string> result;
        for (const QAction* action : menu_.widget().actions()) {
            result.push_back(action->isSeparator() ? "---" : action->text().toStdString());
        }
        return result;
    }
    QAction& line(qsizetype place) { return *menu_.widget().actions().at(place); }

    void open() {
        menu_.widget().popup(QPoint{});
        ASSERT_TRUE(waitUntil([this] { return menu_.widget().isVisible(); }));
    }
    void press(Qt::Key key) { QTest::keyClick(&menu_.widget(), key); }

    QtTrayMenu menu_;
    std::vector<std::string> activated_;
};

TEST_F(QtTrayMenuTest, ShowsEverySortOfLine) {
    menu_.show(
        {text("status", "Idle"),
         {"quit", MenuItem::Button{"Quit", MenuShortcut{'q'}}},
         toggle("login", "Launch at Login", true),
         divider("rule"),
         submenu("camera", "Camera", {button("a", "A")})});
    EXPECT_THAT(words(), ElementsAre("Idle", "Quit", "Launch at Login", "---", "Camera"));
    EXPECT_TRUE(line(0).isEnabled()) << "pale otherwise, and out of the keyboard's reach";
    EXPECT_TRUE(line(1).isEnabled());
    EXPECT_EQ(line(1).shortcut(), QKeySequence{QStringLiteral("Ctrl+Q")});
    EXPECT_TRUE(line(1).isShortcutVisibleInContextMenu());
    EXPECT_FALSE(line(1).isCheckable());
    EXPECT_TRUE(line(2).isCheckable());
    EXPECT_TRUE(line(2).isChecked());
    ASSERT_NE(line(4).menu(), nullptr);
    ASSERT_EQ(line(4).menu()->actions().size(), 1);
    EXPECT_EQ(line(4).menu()->actions()[0]->text(), QStringLiteral("A"));
}

TEST_F(QtTrayMenuTest, WhatADeviceIsCalledPicksNoKeyAndNoShortcut) {
    menu_.show({button("a", "R&D\tCamera")});
    EXPECT_THAT(words(), ElementsAre("R&&D Camera"));
}

TEST_F(QtTrayMenuTest, TheKeyboardPicksALine) {
    menu_.show({text("status", "Idle"), button("a", "A"), button("b", "B")});
    open();
    for (const qsizetype place : {0, 1, 2}) {
        press(Qt::Key_Down);
        EXPECT_EQ(menu_.widget().activeAction(), &line(place)) << "what it says is read aloud";
    }
    press(Qt::Key_Return);
    EXPECT_THAT(activated_, ElementsAre("b"));
    EXPECT_FALSE(menu_.widget().isVisible());
}

TEST_F(QtTrayMenuTest, ALineOfASubmenuIsPickedOnce) {
    menu_.show({submenu("camera", "Camera", {button("a", "A"), button("b", "B")})});
    open();
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    QMenu* const camera = line(0).menu();
    ASSERT_TRUE(waitUntil([&] { return camera->isVisible(); }));
    QTest::keyClick(camera, Qt::Key_Down);
    QTest::keyClick(camera, Qt::Key_Return);
    EXPECT_THAT(activated_, ElementsAre("b"));
}

TEST_F(QtTrayMenuTest, AnOpenMenuChangesInPlaceAndKeepsItsHighlight) {
    menu_.show(
        {text("status", "Idle"), button("start", "Record now"), toggle("login", "Login", false),
         button("quit", "Quit")});
    open();
    QAction* const login = &line(2);
    menu_.widget().setActiveAction(login);
    menu_.show(
        {text("status", "Recording"), text("status.warning", "Warning"), button("stop", "Stop"),
         button("discard", "Discard"), toggle("login", "Login", true), button("quit", "Quit")});
    EXPECT_THAT(words(), ElementsAre("Recording", "Warning", "Stop", "Discard", "Login", "Quit"));
    EXPECT_TRUE(menu_.widget().isVisible());
    EXPECT_EQ(menu_.widget().activeAction(), login);
    EXPECT_TRUE(login->isChecked());
    EXPECT_GE(menu_.widget().height(), menu_.widget().sizeHint().height());
    press(Qt::Key_Return);
    EXPECT_THAT(activated_, ElementsAre("login"));
}

TEST_F(QtTrayMenuTest, AnOpenSubmenuStaysOpenWhileItsLinesChange) {
    menu_.show({submenu("camera", "Camera", {button("a", "✓ A"), button("b", "B")})});
    open();
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    QMenu* const camera = line(0).menu();
    ASSERT_TRUE(waitUntil([&] { return camera->isVisible(); }));
    menu_.show(
        {text("status", "Idle"),
         submenu("camera", "Cameras", {button("a", "A"), button("b", "✓ B"), button("c", "C")})});
    EXPECT_EQ(line(1).menu(), camera);
    EXPECT_TRUE(camera->isVisible());
    ASSERT_EQ(camera->actions().size(), 3);
    EXPECT_EQ(camera->activeAction(), camera->actions()[0]);
    EXPECT_EQ(camera->actions()[1]->text(), QStringLiteral("✓ B"));
    EXPECT_THAT(words(), ElementsAre("Idle", "Cameras"));
}

TEST_F(QtTrayMenuTest, LinesMayChangePlaces) {
    menu_.show({button("a", "A"), button("b", "B"), button("c", "C")});
    menu_.show({button("c", "C"), button("a", "A"), button("b", "B")});
    EXPECT_THAT(words(), ElementsAre("C", "A", "B"));
}

TEST_F(QtTrayMenuTest, ALineOfAnotherSortIsAnotherLine) {
    menu_.show({button("a", "A"), submenu("b", "B", {button("c", "C")})});
    menu_.show({toggle("a", "A", true), button("b", "B")});
    EXPECT_THAT(words(), ElementsAre("A", "B"));
    EXPECT_TRUE(line(0).isCheckable());
    EXPECT_EQ(line(1).menu(), nullptr);
    menu_.show({button("a", "A"), button("b", "B")});
    EXPECT_FALSE(line(0).isCheckable());
}

TEST_F(QtTrayMenuTest, ALineThatIsGoneIsForgotten) {
    menu_.show({button("a", "A"), submenu("b", "B", {button("c", "C")})});
    menu_.show({});
    EXPECT_THAT(words(), IsEmpty());
    // Qt keeps an action of its own for the menu itself.
    const auto* own = menu_.widget().menuAction();
    EXPECT_TRUE(waitUntil([&] {
        const auto actions = menu_.widget().findChildren<QAction*>();
        return menu_.widget().findChildren<QMenu*>().isEmpty() &&
               std::ranges::all_of(actions, [&](const QAction* action) { return action == own; });
    }));
}

TEST_F(QtTrayMenuTest, APickedLineMayTakeItselfAway) {
    menu_.onActivation = [this](const std::string& name) {
        activated_.push_back(name);
        menu_.show({button("stop", "Stop")});
    };
    menu_.show({button("start", "Start")});
    open();
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_THAT(activated_, ElementsAre("start"));
    EXPECT_THAT(words(), ElementsAre("Stop"));
}

TEST_F(QtTrayMenuTest, AToggleIsAsTheMenuSaysAndNotAsTheClickLeftIt) {
    const Menu menu{toggle("login", "Launch at Login", false)};
    menu_.show(menu);
    line(0).trigger();
    EXPECT_THAT(activated_, ElementsAre("login"));
    EXPECT_TRUE(line(0).isChecked());
    menu_.show(menu);
    EXPECT_FALSE(line(0).isChecked());
}

TEST_F(QtTrayMenuTest, AMenuThatOpensMayChangeBeforeItIsSeen) {
    menu_.show({text("a", "A")});
    menu_.onOpening = [this] {
        EXPECT_FALSE(menu_.widget().isVisible());
        menu_.show({text("a", "A"), button("b", "B")});
    };
    open();
    EXPECT_THAT(words(), ElementsAre("A", "B"));
    EXPECT_GE(menu_.widget().height(), menu_.widget().sizeHint().height());
}

} // namespace
} // namespace brindle
