#include "BrindleRecorderLinux/Tray/ExportedMenu.hpp"

#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Tray/TextMark.hpp"
#include "LinuxTests/BusVisitor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace brindle {
namespace {

using menuwire::Layout;
using menuwire::Value;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int numberOfNothing = 4711;

Value words(const char* text) {
    return std::string{text};
}

/// Of the line's property; an empty text where it has none.
Value property(const Layout& line, const char* name) {
    const auto found = line.properties.find(name);
    return found != line.properties.end() ? found->second : words("");
}

class ExportedMenuTest : public testing::Test {
  protected:
    ExportedMenuTest() {
        menu_.onActivation = [this](const std::string& name) {
            activated_.push_back(name);
        };
        EXPECT_TRUE(menu_.exportOn(program_));
        // Whose name is known once the bus has greeted it.
        place_.owner = test::ownNameOf(program_.get());
    }

    template <class... Arguments>
    BusMessage call(const char* method, const char* types, Arguments... arguments) {
        return panel_.call(place_, method, types, arguments...);
    }
    Layout layout(int number = 0) {
        const BusMessage answer = call("GetLayout", "iias", number, -1, 0);
        EXPECT_STREQ(sd_bus_message_get_signature(answer.get(), 1), "u(ia{sv}av)");
        EXPECT_GT(sd_bus_message_read(answer.get(), "u", &revision_), 0);
        const auto read = menuwire::readLayout(answer.get());
        EXPECT_TRUE(read.has_value());
        return read.value_or(Layout{});
    }
    void send(int number, const char* event) {
        const BusMessage answer = call("Event", "isvu", number, event, "i", 0, 0U);
        EXPECT_TRUE(isAnswer(answer.get()));
    }
    bool aboutToShow() {
        int hasChanged = 0;
        const BusMessage answer = call("AboutToShow", "i", 0);
        EXPECT_GT(sd_bus_message_read(answer.get(), "b", &hasChanged), 0);
        return hasChanged != 0;
    }
    /// The first line of the first announcement of changed lines.
    Layout changedLine(const std::vector<BusMessage>& signals) {
        sd_bus_message* const signal = signals.at(0).get();
        EXPECT_STREQ(sd_bus_message_get_signature(signal, 1), "a(ia{sv})a(ias)");
        EXPECT_GT(sd_bus_message_enter_container(signal, 'a', "(ia{sv})"), 0);
        EXPECT_GT(sd_bus_message_enter_container(signal, 'r', "ia{sv}"), 0);
        // As a line that has none below it, which is what can be read.
        sd_bus_message* made = nullptr;
        EXPECT_GE(sd_bus_message_new_signal(program_.get(), &made, "/", "a.Line", "Changed"), 0);
        const BusMessage line{made};
        sd_bus_message_open_container(made, 'r', "ia{sv}av");
        EXPECT_GT(sd_bus_message_copy(made, signal, 1), 0);
        sd_bus_message_append(made, "av", 0);
        sd_bus_message_close_container(made);
        EXPECT_GE(sd_bus_message_seal(made, 1, 0), 0);
        EXPECT_GE(sd_bus_message_rewind(made, 1), 0);
        return menuwire::readLayout(made).value_or(Layout{});
    }

    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    test::BusVisitor panel_{loop_};
    ExportedMenu menu_;
    test::BusVisitor::Place place_{"", ExportedMenu::path, ExportedMenu::interface};
    std::uint32_t revision_ = 0; ///< of the layout that was read last
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
    ASSERT_THAT(all.children, SizeIs(5));
    EXPECT_EQ(property(all.children[0], "label"), words("Idle"));
    EXPECT_FALSE(all.children[0].properties.contains("enabled")) << "which draws it pale";
    EXPECT_EQ(property(all.children[1], "label"), words("Quit"));
    EXPECT_EQ(property(all.children[1], "shortcut"), Value{(menuwire::Shortcut{{"Control", "q"}})});
    EXPECT_EQ(property(all.children[2], "toggle-type"), words("checkmark"));
    EXPECT_EQ(property(all.children[2], "toggle-state"), Value{1});
    EXPECT_EQ(property(all.children[3], "type"), words("separator"));
    EXPECT_EQ(property(all.children[4], "children-display"), words("submenu"));
    ASSERT_THAT(all.children[4].children, SizeIs(1));
    EXPECT_EQ(property(all.children[4].children[0], "label"), words("A"));
}

TEST_F(ExportedMenuTest, OnlyWhoAsksIsToldWhatLinesOnlySaySomething) {
    menu_.show({{"status", MenuItem::Text{"Idle"}}, {"a", MenuItem::Button{"A", std::nullopt}}});
    const auto hasMark = [](const Layout& line) {
        return line.properties.contains(textMark);
    };
    const Layout all = layout();
    EXPECT_FALSE(hasMark(all.children.at(0))) << "panels log what they do not know";
    const BusMessage answer = call("GetLayout", "iias", 0, -1, 1, textMark);
    ASSERT_GT(sd_bus_message_read(answer.get(), "u", &revision_), 0);
    const auto asked = menuwire::readLayout(answer.get());
    ASSERT_TRUE(asked.has_value());
    EXPECT_TRUE(hasMark(asked->children.at(0)));
    EXPECT_FALSE(hasMark(asked->children.at(1)));

    panel_.listenTo(place_);
    menu_.show({{"status", MenuItem::Text{"Busy"}}, {"a", MenuItem::Button{"A", std::nullopt}}});
    EXPECT_FALSE(hasMark(changedLine(panel_.heard())));
}

TEST_F(ExportedMenuTest, APanelReadsAsDeepAndAsMuchAsItWants) {
    menu_.show(
        {{"camera", MenuItem::Submenu{"Camera", {{"a", MenuItem::Button{"A", std::nullopt}}}}}});
    const BusMessage answer = call("GetLayout", "iias", 0, 1, 1, "children-display");
    ASSERT_GT(sd_bus_message_read(answer.get(), "u", &revision_), 0);
    const auto top = menuwire::readLayout(answer.get());
    ASSERT_TRUE(top.has_value());
    ASSERT_THAT(top->children, SizeIs(1));
    EXPECT_THAT(top->children[0].properties, SizeIs(1)) << "no label";
    EXPECT_THAT(top->children[0].children, IsEmpty());
    EXPECT_THAT(layout(top->children[0].number).children, SizeIs(1));
}

TEST_F(ExportedMenuTest, AnUnderscoreIsAnUnderscore) {
    menu_.show({{"a", MenuItem::Button{"USB_Camera_2", std::nullopt}}});
    EXPECT_EQ(property(layout().children.at(0), "label"), words("USB__Camera__2"));
}

TEST_F(ExportedMenuTest, WordsThatAreNoTextDoNotEndTheConnection) {
    menu_.show({{"a", MenuItem::Button{"Camera \xff", std::nullopt}}});
    EXPECT_EQ(property(layout().children.at(0), "label"), words("Camera \xEF\xBF\xBD"));
}

TEST_F(ExportedMenuTest, AClickNamesTheLine) {
    menu_.show(
        {{"a", MenuItem::Button{"A", std::nullopt}}, {"b", MenuItem::Button{"B", std::nullopt}}});
    send(layout().children.at(1).number, "clicked");
    EXPECT_THAT(activated_, ElementsAre("b"));
}

TEST_F(ExportedMenuTest, SeveralEventsMayComeAtOnce) {
    menu_.show(
        {{"a", MenuItem::Button{"A", std::nullopt}}, {"b", MenuItem::Button{"B", std::nullopt}}});
    const Layout all = layout();
    const BusMessage answer = call(
        "EventGroup", "a(isvu)", 3, all.children.at(0).number, "clicked", "i", 0, 0U,
        numberOfNothing, "clicked", "s", "", 0U, all.children.at(1).number, "clicked", "i", 0, 0U);
    EXPECT_THAT(activated_, ElementsAre("a", "b"));
    EXPECT_EQ(menuwire::readNumbers(answer.get()), std::vector{numberOfNothing});
}

TEST_F(ExportedMenuTest, HoveringIsNoClick) {
    menu_.show({{"a", MenuItem::Button{"A", std::nullopt}}});
    send(layout().children.at(0).number, "hovered");
    EXPECT_THAT(activated_, IsEmpty());
}

TEST_F(ExportedMenuTest, AClickOnALineThatIsGoneDoesNothing) {
    menu_.show({{"stop", MenuItem::Button{"Stop", std::nullopt}}});
    const int stop = layout().children.at(0).number;
    menu_.show({{"start", MenuItem::Button{"Start", std::nullopt}}});
    send(stop, "clicked");
    EXPECT_THAT(activated_, IsEmpty());
}

TEST_F(ExportedMenuTest, WhatLinesSayChangesInPlace) {
    menu_.show({{"status", MenuItem::Text{"Idle"}}});
    panel_.listenTo(place_);
    menu_.show({{"status", MenuItem::Text{"Recording"}}});
    const auto signals = panel_.heard();
    ASSERT_THAT(signals, SizeIs(1));
    EXPECT_STREQ(sd_bus_message_get_member(signals[0].get()), "ItemsPropertiesUpdated");
    EXPECT_EQ(property(changedLine(signals), "label"), words("Recording"));
}

TEST_F(ExportedMenuTest, OtherLinesAreAnotherRevision) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    panel_.listenTo(place_);
    menu_.show({{"b", MenuItem::Text{"B"}}});
    const auto signals = panel_.heard("LayoutUpdated");
    ASSERT_THAT(signals, SizeIs(1));
    std::uint32_t revision = 0;
    int parent = -1;
    ASSERT_GT(sd_bus_message_read(signals[0].get(), "ui", &revision, &parent), 0);
    EXPECT_EQ(parent, 0);
    layout();
    EXPECT_EQ(revision, revision_);
}

TEST_F(ExportedMenuTest, AToggleThatStaysIsSaidAgain) {
    const Menu menu{{"login", MenuItem::Toggle{"Launch at Login", false}}};
    menu_.show(menu);
    panel_.listenTo(place_);
    menu_.show(menu);
    const auto signals = panel_.heard();
    ASSERT_THAT(signals, SizeIs(1));
    EXPECT_EQ(property(changedLine(signals), "toggle-state"), Value{0});
}

TEST_F(ExportedMenuTest, AMenuThatOpensMayChangeBeforeItIsSeen) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    menu_.onOpening = [this] {
        menu_.show({{"a", MenuItem::Text{"A"}}, {"b", MenuItem::Text{"B"}}});
    };
    EXPECT_TRUE(aboutToShow());
    EXPECT_THAT(layout().children, SizeIs(2));
    EXPECT_FALSE(aboutToShow());
}

TEST_F(ExportedMenuTest, SeveralMenusMayOpenAtOnce) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    menu_.onOpening = [this] {
        menu_.show({{"b", MenuItem::Text{"B"}}});
    };
    const BusMessage answer = call("AboutToShowGroup", "ai", 2, 0, numberOfNothing);
    EXPECT_EQ(menuwire::readNumbers(answer.get()), std::vector{0});
    EXPECT_EQ(menuwire::readNumbers(answer.get()), std::vector{numberOfNothing});
}

TEST_F(ExportedMenuTest, AnswersWhatNobodyHasAskedFor) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    EXPECT_THAT(layout(numberOfNothing).properties, IsEmpty());
    const BusMessage answer = call("GetProperty", "is", numberOfNothing, "label");
    EXPECT_TRUE(isAnswer(answer.get()));
    send(numberOfNothing, "clicked");
    send(0, "clicked");
    EXPECT_THAT(activated_, IsEmpty());
}

TEST_F(ExportedMenuTest, APanelReadsSingleLines) {
    menu_.show({{"a", MenuItem::Text{"A"}}, {"b", MenuItem::Text{"B"}}});
    const int second = layout().children.at(1).number;
    const BusMessage label = call("GetProperty", "is", second, "label");
    const char* text = nullptr;
    ASSERT_GT(sd_bus_message_read(label.get(), "v", "s", &text), 0);
    EXPECT_STREQ(text, "B");

    const auto lines = [&](const BusMessage& answer) {
        std::vector<int> numbers;
        EXPECT_GE(sd_bus_message_enter_container(answer.get(), 'a', "(ia{sv})"), 0);
        while (sd_bus_message_enter_container(answer.get(), 'r', "ia{sv}") > 0) {
            EXPECT_GT(sd_bus_message_read(answer.get(), "i", &numbers.emplace_back()), 0);
            EXPECT_GT(sd_bus_message_skip(answer.get(), "a{sv}"), 0);
            EXPECT_GE(sd_bus_message_exit_container(answer.get()), 0);
        }
        return numbers;
    };
    EXPECT_THAT(
        lines(call("GetGroupProperties", "aias", 2, second, numberOfNothing, 0)),
        ElementsAre(second));
    EXPECT_THAT(lines(call("GetGroupProperties", "aias", 0, 0)), SizeIs(3)) << "all, the menu too";
}

TEST_F(ExportedMenuTest, DescribesItself) {
    const std::string description = panel_.description(place_);
    for (const char* line :
         {R"~(<method name="GetLayout">)~",
          R"~(<arg type="(ia{sv}av)" name="layout" direction="out")~",
          R"~(<method name="EventGroup">)~", R"~(<method name="AboutToShowGroup">)~",
          R"~(<signal name="ItemsPropertiesUpdated">)~",
          R"~(<property name="Version" type="u")~"}) {
        EXPECT_THAT(description, HasSubstr(line));
    }
    EXPECT_EQ(panel_.text(place_, "Status"), "normal");
}

TEST_F(ExportedMenuTest, ItsPlaceCanBeTaken) {
    ExportedMenu another;
    EXPECT_FALSE(another.exportOn(program_));
}

TEST_F(ExportedMenuTest, AsksThePanelToOpenIt) {
    menu_.show({{"a", MenuItem::Text{"A"}}});
    panel_.listenTo(place_);
    menu_.askToOpen();
    const auto signals = panel_.heard("ItemActivationRequested");
    ASSERT_THAT(signals, SizeIs(1));
    int number = -1;
    ASSERT_GT(sd_bus_message_read(signals[0].get(), "i", &number), 0);
    EXPECT_EQ(number, 0) << "the menu as a whole";
}

TEST(ExportedMenu, AsksNobodyBeforeItIsExported) {
    ExportedMenu{}.askToOpen();
}

} // namespace
} // namespace brindle
