#include "BrindleRecorderLinux/Qt/QtSetupWindow.hpp"

#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "DesktopTests/WaitInQt.hpp"

#include <QAccessible>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::Contains;
using testing::ElementsAre;

SetupWindowContent contentFor(const SetupState& state) {
    return FirstRunWindow::content(SetupChecklist::items(state));
}

class QtSetupWindowTest : public testing::Test {
  protected:
    QtSetupWindowTest() { window_.bringToFront(); }

    QDialog& dialog() { return window_.dialog(); }
    std::vector<std::string> labels() {
        std::vector<std::string> result;
        for (const auto* label : dialog().findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) {
                result.push_back(label->text().toStdString());
            }
        }
        return result;
    }
    /// What a screen reader says of each row: name and description.
    std::vector<std::string> rows() {
        std::vector<std::string> result;
        auto* whole = QAccessible::queryAccessibleInterface(&dialog());
        for (int index = 0; index < whole->childCount(); ++index) {
            auto* child = whole->child(index);
            if (child->childCount() > 0) {
                result.push_back((child->text(QAccessible::Name) + QLatin1Char('|') +
                                  child->text(QAccessible::Description))
                                     .toStdString());
            }
        }
        return result;
    }

    QtSetupWindow window_{contentFor({true, false, true})};
};

TEST_F(QtSetupWindowTest, SaysWhatItIsGiven) {
    EXPECT_EQ(dialog().windowTitle(), QStringLiteral("Brindle Recorder Setup"));
    EXPECT_THAT(
        labels(),
        ElementsAre(
            "Brindle Recorder",
            "Brindle Recorder notices when a call app (Zoom, Teams, Meet, Slack, FaceTime and "
            "more) "
            "is using your microphone and records your camera and microphone while the call lasts. "
            "It records you only — never other participants, never your screen. You can also start "
            "and stop it from the menu bar.",
            "Optional: allow Screen & System Audio Recording to let it read window titles, so "
            "browser calls are recognised faster.",
            "Camera access", "Microphone access",
            "System Settings > Privacy & Security > Microphone > enable Brindle Recorder.",
            "Window titles (optional: spot browser calls faster)"));
    const QLabel& heading = *dialog().findChildren<QLabel*>().at(0);
    EXPECT_EQ(heading.y(), heading.x()) << "as far from the window's edge above as at its side";
    const auto buttons = dialog().findChildren<QPushButton*>();
    ASSERT_EQ(buttons.size(), 1);
    EXPECT_EQ(buttons[0]->text(), QStringLiteral("Done"));
}

TEST_F(QtSetupWindowTest, NamesEveryRowToAScreenReader) {
    EXPECT_THAT(
        rows(), ElementsAre(
                    "Camera access: done|",
                    "Microphone access: to do|System Settings > Privacy & Security > Microphone > "
                    "enable Brindle Recorder.",
                    "Window titles (optional: spot browser calls faster): done|"));
}

TEST_F(QtSetupWindowTest, ReturnIsDoneAndEscapeCloses) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
        window_.bringToFront();
        ASSERT_TRUE(waitUntil([&] { return dialog().isVisible(); }));
        int closings = 0;
        window_.onClosed = [&] {
            ++closings;
        };
        QTest::keyClick(&dialog(), key);
        EXPECT_FALSE(dialog().isVisible()) << key;
        EXPECT_EQ(closings, 1) << key;
    }
}

TEST_F(QtSetupWindowTest, TheKeyboardReachesEveryRow) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog()));
    const auto* done = dialog().findChild<QPushButton*>();
    EXPECT_EQ(dialog().focusWidget(), done);
    std::vector<std::string> reached;
    for (int press = 0; press < 4; ++press) {
        QTest::keyClick(dialog().focusWidget(), Qt::Key_Tab);
        reached.push_back(dialog().focusWidget()->accessibleName().toStdString());
    }
    EXPECT_THAT(
        reached, ElementsAre(
                     "Camera access: done", "Microphone access: to do",
                     "Window titles (optional: spot browser calls faster): done", ""));
    EXPECT_EQ(dialog().focusWidget(), done);
}

TEST_F(QtSetupWindowTest, FollowsWhatIsDoneWhileItShows) {
    window_.setContent(contentFor({true, true, true}));
    EXPECT_TRUE(dialog().isVisible());
    EXPECT_THAT(rows(), Contains("Microphone access: done|"));
    EXPECT_THAT(
        labels(),
        testing::Not(Contains(
            "System Settings > Privacy & Security > Microphone > enable Brindle Recorder.")));
    EXPECT_EQ(dialog().findChildren<QPushButton*>().size(), 1);
}

TEST_F(QtSetupWindowTest, NeitherGrowsNorShrinks) {
    QTest::qWait(0);
    EXPECT_EQ(dialog().minimumSize(), dialog().maximumSize());
    EXPECT_FALSE(dialog().windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_FALSE(dialog().windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_TRUE(dialog().windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(QtSetupWindowTest, ADeviceNameIsNeverMarkup) {
    auto content = contentFor({true, true, true});
    content.blocks.insert(content.blocks.begin(), SetupWindowContent::Paragraph{"<b>R&D</b>"});
    window_.setContent(content);
    EXPECT_THAT(labels(), Contains("<b>R&D</b>"));
    for (const auto* label : dialog().findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
        }
    }
}

} // namespace
} // namespace brindle
