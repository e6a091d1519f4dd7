#include "BrindleRecorderLinux/Qt/QtMenuWindow.hpp"

#include "DesktopTests/WaitInQt.hpp"
#include "Support/MenuItems.hpp"

#include <QAccessible>
#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
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

const Menu idle{
    text("status", "Idle"),
    divider("d1"),
    submenu("camera", "Camera", {button("a", "✓ A"), button("b", "B")}),
    divider("d2"),
    button("start", "Record now"),
    submenu("settings", "Settings", {text("h", "Calls in:"), toggle("zoom", "Zoom", true)}),
    divider("d3"),
    toggle("login", "Launch at Login", false),
    divider("d4"),
    submenu("setup", "Permissions & Setup", {text("p", "Camera access")}),
    divider("d5"),
    {"quit", MenuItem::Button{"Quit", MenuShortcut{'q'}}}};

Menu recording() {
    Menu menu = idle;
    menu[0] = text("status", "Recording 00:00");
    menu[4] = button("stop", "Stop recording");
    menu.insert(menu.begin() + 5, button("discard", "Stop and Discard"));
    return menu;
}

class QtMenuWindowTest : public testing::Test {
  protected:
    QtMenuWindowTest() {
        window_->onActivation = [this](const std::string& name) {
            picked_.push_back(name);
        };
        window_->onClosed = [this] {
            ++closings_;
        };
        window_->onOpening = [this] {
            ++openings_;
        };
        window_->show(idle);
        window_->bringToFront();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window()));
    }

    QWidget& window() { return window_->widget(); }
    QTabWidget& tabs() { return *window().findChild<QTabWidget*>(); }
    /// What a screen reader calls it.
    static std::string nameOf(QWidget* widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).toStdString();
    }
    /// The widget that a screen reader calls so and that is to be seen; null without one.
    template <class Widget>
    Widget* find(const std::string& name) {
        for (auto* widget : window().findChildren<Widget*>()) {
            if (widget->isVisible() && nameOf(widget) == name) {
                return widget;
            }
        }
        return nullptr;
    }
    /// What the keyboard reaches by going on from where it is until it is there again.
    std::vector<std::string> stops() {
        std::vector<std::string> result;
        const auto* first = window().focusWidget();
        do {
            auto* stop = window().focusWidget();
            result.push_back(qobject_cast<QTabBar*>(stop) != nullptr ? "pages" : nameOf(stop));
            QTest::keyClick(stop, Qt::Key_Tab);
        } while (window().focusWidget() != first && result.size() < 50);
        return result;
    }
    std::vector<std::string> pages() {
        std::vector<std::string> result;
        for (int page = 0; page < tabs().count(); ++page) {
            result.push_back(tabs().tabText(page).toStdString());
        }
        return result;
    }
    void press(Qt::Key key) { QTest::keyClick(window().focusWidget(), key); }
    std::string focused() { return nameOf(window().focusWidget()); }

    std::vector<std::string> picked_;
    int closings_ = 0;
    int openings_ = 0;
    std::optional<QtMenuWindow> window_{std::in_place};
};

TEST_F(QtMenuWindowTest, ShowsEverySortOfLineAndAPageForEachSubmenu) {
    ASSERT_NE(find<QLabel>("Idle"), nullptr);
    EXPECT_TRUE(find<QLabel>("Idle")->isEnabled()) << "pale otherwise";
    EXPECT_NE(find<QPushButton>("Record now"), nullptr);
    ASSERT_NE(find<QCheckBox>("Launch at Login"), nullptr);
    EXPECT_FALSE(find<QCheckBox>("Launch at Login")->isChecked());
    EXPECT_THAT(pages(), ElementsAre("Camera", "Settings", "Permissions && Setup"));
    EXPECT_NE(find<QPushButton>("✓ A"), nullptr);
    EXPECT_EQ(find<QCheckBox>("Zoom"), nullptr) << "stands on another page";
    tabs().setCurrentIndex(1);
    ASSERT_NE(find<QCheckBox>("Zoom"), nullptr);
    EXPECT_TRUE(find<QCheckBox>("Zoom")->isChecked());
}

TEST_F(QtMenuWindowTest, ADividerThatDividesNothingIsLeftOut) {
    int dividers = 0;
    for (const auto* frame : window().findChildren<QFrame*>()) {
        dividers += frame->frameShape() == QFrame::HLine && frame->isVisible() ? 1 : 0;
    }
    EXPECT_EQ(dividers, 3) << "before what starts, logs in and quits; those of pages are gone";
}

TEST_F(QtMenuWindowTest, TheKeyboardReachesEverythingFromTopToBottom) {
    EXPECT_EQ(focused(), "Idle") << "read aloud when the window opens";
    EXPECT_THAT(
        stops(), ElementsAre("Idle", "Record now", "Launch at Login", "Quit", "pages", "✓ A", "B"));
    window_->show(recording());
    EXPECT_THAT(
        stops(), ElementsAre(
                     "Recording 00:00", "Stop recording", "Stop and Discard", "Launch at Login",
                     "Quit", "pages", "✓ A", "B"));
    window_->show(idle);
    tabs().setCurrentIndex(1);
    EXPECT_THAT(
        stops(),
        ElementsAre("Idle", "Record now", "Launch at Login", "Quit", "pages", "Calls in:", "Zoom"));
}

TEST_F(QtMenuWindowTest, ReturnAndSpacePressWhatHasTheFocusAndNothingElse) {
    press(Qt::Key_Return);
    EXPECT_THAT(picked_, IsEmpty());
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_THAT(picked_, ElementsAre("start", "start"));
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    EXPECT_THAT(picked_, ElementsAre("start", "start"));
    press(Qt::Key_Space);
    EXPECT_THAT(picked_, ElementsAre("start", "start", "login"));
}

TEST_F(QtMenuWindowTest, ThePointerPicks) {
    QTest::mouseClick(find<QPushButton>("B"), Qt::LeftButton);
    EXPECT_THAT(picked_, ElementsAre("b"));
}

TEST_F(QtMenuWindowTest, AShortcutPicksWhereverTheFocusIs) {
    QTest::keyClick(&window(), Qt::Key_Q, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return !picked_.empty(); }));
    EXPECT_THAT(picked_, ElementsAre("quit"));
}

TEST_F(QtMenuWindowTest, ALineThatStaysKeepsTheFocus) {
    for (int stop = 0; stop < 2; ++stop) {
        press(Qt::Key_Tab);
    }
    auto* const login = window().focusWidget();
    ASSERT_EQ(nameOf(login), "Launch at Login");
    window_->show(recording());
    EXPECT_EQ(window().focusWidget(), login);
}

TEST_F(QtMenuWindowTest, TheFocusOfALineThatGoesIsGivenToNothingThatASecondPressWouldDo) {
    press(Qt::Key_Tab);
    ASSERT_EQ(focused(), "Record now");
    window_->show(recording());
    EXPECT_EQ(focused(), "Recording 00:00");
    press(Qt::Key_Space);
    press(Qt::Key_Return);
    EXPECT_THAT(picked_, IsEmpty());
}

TEST_F(QtMenuWindowTest, APickedLineMayTakeItselfAway) {
    window_->onActivation = [this](const std::string& name) {
        picked_.push_back(name);
        window_->show(recording());
    };
    QTest::mouseClick(find<QPushButton>("Record now"), Qt::LeftButton);
    EXPECT_THAT(picked_, ElementsAre("start"));
    EXPECT_TRUE(waitUntil([this] { return find<QPushButton>("Record now") == nullptr; }));
    EXPECT_NE(find<QPushButton>("Stop and Discard"), nullptr);
}

TEST_F(QtMenuWindowTest, AToggleIsAsTheMenuSaysAndNotAsTheClickLeftIt) {
    auto* const login = find<QCheckBox>("Launch at Login");
    login->click();
    EXPECT_TRUE(login->isChecked());
    window_->show(idle);
    EXPECT_FALSE(login->isChecked());
    EXPECT_THAT(picked_, ElementsAre("login"));
}

TEST_F(QtMenuWindowTest, APageStaysInFrontWhileTheMenuChanges) {
    tabs().setCurrentIndex(1);
    Menu menu = recording();
    menu.erase(menu.begin() + 2);
    window_->show(menu);
    EXPECT_THAT(pages(), ElementsAre("Settings", "Permissions && Setup"));
    EXPECT_NE(find<QCheckBox>("Zoom"), nullptr);
    window_->show(idle);
    EXPECT_THAT(pages(), ElementsAre("Camera", "Settings", "Permissions && Setup"));
    EXPECT_NE(find<QCheckBox>("Zoom"), nullptr);
    EXPECT_TRUE(waitUntil([this] { return window().findChildren<QScrollArea*>().size() == 3; }))
        << "the page that went is forgotten";
}

TEST_F(QtMenuWindowTest, ASubmenuInAPageIsALineWithItsLinesBelow) {
    window_->show({submenu("s", "S", {submenu("t", "Inner", {button("x", "X")})})});
    EXPECT_NE(find<QLabel>("Inner"), nullptr);
    EXPECT_NE(find<QPushButton>("X"), nullptr);
}

TEST_F(QtMenuWindowTest, WithoutSubmenusThereAreNoPages) {
    window_->show({text("status", "Idle")});
    EXPECT_FALSE(tabs().isVisible());
}

TEST_F(QtMenuWindowTest, ALineOfAnotherSortIsAnotherLine) {
    window_->show({button("a", "A")});
    window_->show({toggle("a", "A", true)});
    EXPECT_EQ(find<QPushButton>("A"), nullptr);
    EXPECT_NE(find<QCheckBox>("A"), nullptr);
}

TEST_F(QtMenuWindowTest, WhatADeviceIsCalledIsNeitherMarkupNorAKey) {
    window_->show({text("a", "<b>R&D</b>"), button("b", "R&D")});
    ASSERT_NE(find<QLabel>("<b>R&D</b>"), nullptr);
    EXPECT_EQ(find<QLabel>("<b>R&D</b>")->textFormat(), Qt::PlainText);
    EXPECT_NE(find<QPushButton>("R&D"), nullptr);
}

TEST_F(QtMenuWindowTest, EscapeClosesItAndItCanBeBroughtBack) {
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([this] { return closings_ == 1; }));
    EXPECT_FALSE(window().isVisible());
    window_->bringToFront();
    EXPECT_TRUE(window().isVisible());
}

TEST_F(QtMenuWindowTest, TellsWhenTheUserTurnsToIt) {
    EXPECT_GE(openings_, 1);
    const int before = openings_;
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_EQ(openings_, before);
    window_->bringToFront();
    EXPECT_TRUE(waitUntil([&] { return openings_ > before; }));
}

} // namespace
} // namespace brindle
