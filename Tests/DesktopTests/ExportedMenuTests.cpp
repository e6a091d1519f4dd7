#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"

#include "DesktopTests/Bus.hpp"

#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using menuwire::Layout;
using testing::ElementsAre;
using testing::IsEmpty;

const QString interface = QStringLiteral("com.canonical.dbusmenu");

class ExportedMenuTest : public testing::Test {
  protected:
    ExportedMenuTest() {
        menu_.onActivation = [this](const std::string& name) {
            activated_.push_back(name);
        };
        EXPECT_TRUE(menu_.exportOn(program_.bus()));
    }

    QDBusMessage call(const QString& method, const QVariantList& arguments) {
        return panel_.call(
            program_.bus().baseService(), QString::fromLatin1(ExportedMenu::path), interface,
            method, arguments);
    }
    Layout layout() {
        const auto answer = call(QStringLiteral("GetLayout"), {0, -1, QStringList{}});
        EXPECT_EQ(answer.signature(), QStringLiteral("u(ia{sv}av)"))
            << answer.errorMessage().toStdString();
        return qdbus_cast<Layout>(answer.arguments().value(1));
    }
    void send(const Layout& line, const char* event) {
        call(
            QStringLiteral("Event"),
            {line.number, QString::fromLatin1(event), QVariant::fromValue(QDBusVariant{0}), 0U});
    }

    BusClient program_;
    BusClient panel_;
    ExportedMenu menu_;
    std::vector<std::string> activated_;
};

TEST_F(ExportedMenuTest, APanelReadsEverySortOfLine) {
    menu_.show(
        {{"status", MenuItem::Text{"Idle"}},
         {"quit", MenuItem::Button{"Quit", MenuShortcut{'q'}}},
         {"login", MenuItem::Toggle{"Launch at Login", true}},
         {"rule", MenuItem::Divider{}},
         {"camera", MenuItem::Submenu{"Camera", {{"a", MenuItem::Button{"A", std::nullopt}}}}}});
    const Layout all = layout();
    ASSERT_EQ(all.children.size(), 5);
    const auto property = [&](int line, const char* name) {
        return all.children[line].properties.value(QString::fromLatin1(name));
    };
    EXPECT_EQ(property(0, "label"), QStringLiteral("Idle"));
    EXPECT_EQ(property(0, "enabled"), false);
    EXPECT_EQ(property(1, "label"), QStringLiteral("Quit"));
    EXPECT_EQ(
        qdbus_cast<menuwire::Shortcut>(property(1, "shortcut")),
        (menuwire::Shortcut{{QStringLiteral("Control"), QStringLiteral("q")}}));
    EXPECT_EQ(property(2, "toggle-type"), QStringLiteral("checkmark"));
    EXPECT_EQ(property(2, "toggle-state"), 1);
    EXPECT_EQ(property(3, "type"), QStringLiteral("separator"));
    EXPECT_EQ(property(4, "children-display"), QStringLiteral("submenu"));
    ASSERT_EQ(all.children[4].children.size(), 1);
    EXPECT_EQ(
        all.children[4].children[0].properties.value(QStringLiteral("label")), QStringLiteral("A"));
}

TEST_F(ExportedMenuTest, AnUnderscoreIsAnUnderscore) {
    menu_.show({{"a", MenuItem::Button{"USB_Camera_2", std::nullopt}}});
    EXPECT_EQ(
        layout().children[0].properties.value(QStringLiteral("label")),
        QStringLiteral("USB__Camera__2"));
}

TEST_F(ExportedMenuTest, AClickNamesTheLine) {
    menu_.show(
        {{"a", MenuItem::Button{"A", std::nullopt}}, {"b", MenuItem::Button{"B", std::nullopt}}});
    send(layout().children[1], "clicked");
    EXPECT_THAT(activated_, ElementsAre("b"));
}

TEST_F(ExportedMenuTest, HoveringIsNoClick) {
    menu_.show({{"a", MenuItem::Button{"A", std::nullopt}}});
    send(layout().children[0], "hovered");
    EXPECT_THAT(activated_, IsEmpty());
}

TEST_F(ExportedMenuTest, AClickOnALineThatIsGoneDoesNothing) {
    menu_.show({{"stop", MenuItem::Button{"Stop", std::nullopt}}});
    const Layout stop = layout().children[0];
    menu_.show({{"start", MenuItem::Button{"Start", std::nullopt}}});
    send(stop, "clicked");
    EXPECT_THAT(activated_, IsEmpty());
}

TEST_F(ExportedMenuTest, WhatLinesSayChangesInPlace) {
    menu_.show({{"status", MenuItem::Text{"Idle"}}});
    QSignalSpy lines{&menu_, &ExportedMenu::ItemsPropertiesUpdated};
    QSignalSpy layouts{&menu_, &ExportedMenu::LayoutUpdated};
    menu_.show({{"status", MenuItem::Text{"Recording"}}});
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(layouts.size(), 0);
    const auto changed = lines[0][0].value<menuwire::PropertiesList>();
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0].properties.value(QStringLiteral("label")), QStringLiteral("Recording"));
}

TEST_F(ExportedMenuTest, OtherLinesAreAnotherRevision) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    QSignalSpy layouts{&menu_, &ExportedMenu::LayoutUpdated};
    menu_.show({{"b", MenuItem::Text{"B"}}});
    ASSERT_EQ(layouts.size(), 1);
    const auto answer = call(QStringLiteral("GetLayout"), {0, -1, QStringList{}});
    EXPECT_EQ(layouts[0][0], answer.arguments().constFirst());
}

TEST_F(ExportedMenuTest, AToggleThatStaysIsSaidAgain) {
    const Menu menu{{"login", MenuItem::Toggle{"Launch at Login", false}}};
    menu_.show(menu);
    QSignalSpy lines{&menu_, &ExportedMenu::ItemsPropertiesUpdated};
    menu_.show(menu);
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(
        lines[0][0].value<menuwire::PropertiesList>()[0].properties.value(
            QStringLiteral("toggle-state")),
        0);
}

TEST_F(ExportedMenuTest, AMenuThatOpensMayChangeBeforeItIsSeen) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    menu_.onOpening = [this] {
        menu_.show({{"a", MenuItem::Text{"A"}}, {"b", MenuItem::Text{"B"}}});
    };
    EXPECT_EQ(call(QStringLiteral("AboutToShow"), {0}).arguments().value(0), true);
    EXPECT_EQ(layout().children.size(), 2);
    EXPECT_EQ(call(QStringLiteral("AboutToShow"), {0}).arguments().value(0), false);
}

TEST_F(ExportedMenuTest, AnswersWhatNobodyHasAskedFor) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    EXPECT_EQ(
        qdbus_cast<Layout>(
            call(QStringLiteral("GetLayout"), {4711, -1, QStringList{}}).arguments().value(1))
            .properties,
        QVariantMap{});
    EXPECT_EQ(
        call(QStringLiteral("GetProperty"), {4711, QStringLiteral("label")}).type(),
        QDBusMessage::ReplyMessage);
    send(Layout{4711, {}, {}}, "clicked");
    send(Layout{0, {}, {}}, "clicked");
    EXPECT_THAT(activated_, IsEmpty());
}

} // namespace
} // namespace brindle
