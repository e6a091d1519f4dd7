// Icon and menu as another process reads them from the bus.
#include "BrindleRecorderLinux/Tray/IconReader.hpp"
#include "BrindleRecorderLinux/Tray/MenuReader.hpp"
#include "BrindleRecorderLinux/Tray/MenuWire.hpp"

#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// Writes one line of a menu: its number, its properties, and the lines below it.
using WriteProperties = std::function<void(sd_bus_message*)>;
using WriteLine = std::function<void(sd_bus_message*)>;

WriteLine line(int number, WriteProperties properties, std::vector<WriteLine> children = {}) {
    return [=](sd_bus_message* to) {
        sd_bus_message_open_container(to, 'r', "ia{sv}av");
        sd_bus_message_append(to, "i", number);
        sd_bus_message_open_container(to, 'a', "{sv}");
        properties(to);
        sd_bus_message_close_container(to);
        sd_bus_message_open_container(to, 'a', "v");
        for (const auto& child : children) {
            sd_bus_message_open_container(to, 'v', "(ia{sv}av)");
            child(to);
            sd_bus_message_close_container(to);
        }
        sd_bus_message_close_container(to);
        sd_bus_message_close_container(to);
    };
}
WriteProperties words(const std::string& label) {
    return [label](sd_bus_message* to) {
        sd_bus_message_append(to, "{sv}", "label", "s", label.c_str());
    };
}
WriteLine menuOf(const std::vector<WriteLine>& lines) {
    return line(
        0,
        [](sd_bus_message* to) {
            sd_bus_message_append(to, "{sv}", "children-display", "s", "submenu");
        },
        lines);
}

/// A program with a menu and an icon, which keeps what it is told of.
class ScriptedProgram {
  public:
    WriteLine layout = menuOf({});
    std::function<int(sd_bus_message*)> pictures = [](sd_bus_message* to) {
        return sd_bus_message_append(to, "a(iiay)", 0);
    };
    std::string title = "idle";
    std::vector<std::string> told;
    int layoutsAsked = 0;
    std::vector<std::string> propertiesAsked; ///< with the last layout

    void serve() {
        menu_.serve();
        icon_.serve();
    }
    void tellMenuChange() {
        test::requireOfBus(
            sd_bus_emit_signal(
                menu_.bus(), "/MenuBar", "com.canonical.dbusmenu", "LayoutUpdated", "ui", 2U, 0),
            "no signal");
    }
    void tellIconChange(const char* signal) {
        test::requireOfBus(
            sd_bus_emit_signal(
                icon_.bus(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", signal, ""),
            "no signal");
    }

  private:
    static const sd_bus_vtable* menuTable() {
        static const std::array<sd_bus_vtable, 5> table{{
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD(
                "GetLayout", "iias", "u(ia{sv}av)", &ScriptedProgram::getLayout,
                SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD(
                "AboutToShow", "i", "b", &ScriptedProgram::aboutToShow, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD("Event", "isvu", "", &ScriptedProgram::event, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        }};
        return table.data();
    }
    static const sd_bus_vtable* iconTable() {
        static const std::array<sd_bus_vtable, 4> table{{
            SD_BUS_VTABLE_START(0),
            SD_BUS_PROPERTY("Title", "s", &ScriptedProgram::getTitle, 0, 0),
            SD_BUS_PROPERTY("IconPixmap", "a(iiay)", &ScriptedProgram::getPictures, 0, 0),
            SD_BUS_VTABLE_END,
        }};
        return table.data();
    }
    static int getLayout(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        auto& program = *static_cast<ScriptedProgram*>(self);
        ++program.layoutsAsked;
        test::requireOfBus(sd_bus_message_skip(call, "ii"), "no question");
        program.propertiesAsked = menuwire::readTexts(call).value();
        sd_bus_message* made = nullptr;
        test::requireOfBus(sd_bus_message_new_method_return(call, &made), "no answer");
        const BusMessage answer{made};
        sd_bus_message_append(made, "u", 1U);
        program.layout(made);
        return sd_bus_send(nullptr, made, nullptr);
    }
    static int aboutToShow(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        static_cast<ScriptedProgram*>(self)->told.emplace_back("about to show");
        return sd_bus_reply_method_return(call, "b", 0);
    }
    static int event(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        int number = 0;
        const char* what = nullptr;
        test::requireOfBus(sd_bus_message_read(call, "is", &number, &what), "no event");
        static_cast<ScriptedProgram*>(self)->told.push_back(
            std::string{what} + " " + std::to_string(number));
        return sd_bus_reply_method_return(call, "");
    }
    static int getTitle(
        sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
        sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
        return sd_bus_message_append(
            reply, "s", static_cast<ScriptedProgram*>(self)->title.c_str());
    }
    static int getPictures(
        sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
        sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
        return static_cast<ScriptedProgram*>(self)->pictures(reply);
    }

    test::ScriptedBusObject menu_{
        "org.example.menu", "/MenuBar", "com.canonical.dbusmenu", menuTable(), this};
    test::ScriptedBusObject icon_{
        "org.example.icon", "/StatusNotifierItem", "org.kde.StatusNotifierItem", iconTable(), this};
};

class PanelReadersTest : public testing::Test {
  protected:
    void readMenu() {
        menuReader_.emplace(bus_, "org.example.menu", "/MenuBar");
        menuReader_->onMenu = [this](const Menu& menu) {
            menu_ = menu;
        };
    }
    void readIcon() {
        iconReader_.emplace(bus_, "org.example.icon", "/StatusNotifierItem");
        iconReader_->onIcon = [this](const IconReader::Icon& icon) {
            icon_ = icon;
        };
    }
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            program_.serve();
            return condition();
        });
    }

    test::BareBus daemon_;
    EventLoop loop_;
    BusOnLoop bus_{loop_, BusOnLoop::Which::session};
    ScriptedProgram program_;
    std::optional<MenuReader> menuReader_;
    std::optional<IconReader> iconReader_;
    std::optional<Menu> menu_;
    std::optional<IconReader::Icon> icon_;
};

TEST_F(PanelReadersTest, ReadsEverySortOfLine) {
    program_.layout = menuOf(
        {line(
             1,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "label", "s", "Idle");
                 sd_bus_message_append(to, "{sv}", "enabled", "b", 0);
             }),
         line(
             2,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "type", "s", "separator");
             }),
         line(
             3,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "label", "s", "Quit a__b _c");
                 sd_bus_message_append(to, "{sv}", "icon-data", "ay", 2, 1, 2);
                 sd_bus_message_append(to, "{sv}", "shortcut", "aas", 1, 2, "Control", "q");
             }),
         line(
             4,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "label", "s", "Login");
                 sd_bus_message_append(to, "{sv}", "toggle-type", "s", "checkmark");
                 sd_bus_message_append(to, "{sv}", "toggle-state", "i", 1);
             }),
         line(
             5,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "label", "s", "Camera");
                 sd_bus_message_append(to, "{sv}", "children-display", "s", "submenu");
             },
             {line(6, words("A"))}),
         line(
             7,
             [](sd_bus_message* to) {
                 sd_bus_message_append(to, "{sv}", "label", "s", "Hidden");
                 sd_bus_message_append(to, "{sv}", "visible", "b", 0);
             }),
         line(8, [](sd_bus_message* to) {
             sd_bus_message_append(to, "{sv}", "label", "s", "Says something");
             sd_bus_message_append(to, "{sv}", textMark, "b", 1);
         })});
    readMenu();
    ASSERT_TRUE(becomes([&] { return menu_.has_value(); }));
    EXPECT_EQ(
        *menu_,
        (Menu{
            {"1", MenuItem::Text{"Idle"}},
            {"2", MenuItem::Divider{}},
            {"3", MenuItem::Button{"Quit a_b c", MenuShortcut{'q'}}},
            {"4", MenuItem::Toggle{"Login", true}},
            {"5", MenuItem::Submenu{"Camera", {{"6", MenuItem::Button{"A", std::nullopt}}}}},
            {"8", MenuItem::Text{"Says something"}}}));
    EXPECT_THAT(program_.propertiesAsked, Contains(textMark)) << "which is not told unasked";
}

TEST_F(PanelReadersTest, FollowsTheMenuAndTellsWhatTheUserDoes) {
    program_.layout = menuOf({line(1, words("A"))});
    readMenu();
    ASSERT_TRUE(becomes([&] { return menu_ && menu_->size() == 1; }));
    program_.layout = menuOf({line(1, words("A")), line(2, words("B"))});
    program_.tellMenuChange();
    program_.tellMenuChange();
    EXPECT_TRUE(becomes([&] { return menu_->size() == 2; }));
    menuReader_->tellOpening();
    bool isTold = false;
    menuReader_->tellPicked("2", [&] { isTold = true; });
    EXPECT_TRUE(becomes([&] { return isTold; }));
    EXPECT_THAT(program_.told, ElementsAre("about to show", "clicked 2"));
}

TEST_F(PanelReadersTest, AMenuOfAnySizeIsCut) {
    WriteLine deep = line(1, words("the innermost"));
    for (int depth = 0; depth < 15; ++depth) {
        deep = line(
            100 + depth,
            [](sd_bus_message* to) {
                sd_bus_message_append(to, "{sv}", "children-display", "s", "submenu");
            },
            {deep});
    }
    std::vector<WriteLine> lines{deep, line(1, words(std::string(100'000, 'x')))};
    for (int number = 2; number < 3000; ++number) {
        lines.push_back(line(number, words("A")));
    }
    program_.layout = menuOf(lines);
    readMenu();
    ASSERT_TRUE(becomes([&] { return menu_.has_value(); }));
    EXPECT_LE(menu_->size(), menuwire::mostLines);
    EXPECT_GT(menu_->size(), menuwire::mostLines / 2);
    int depth = 0;
    for (const auto* level = menu_->front().asSubmenu(); level != nullptr && !level->items.empty();
         level = level->items.front().asSubmenu()) {
        ++depth;
    }
    EXPECT_LT(depth, menuwire::mostDepth);
    EXPECT_EQ(menu_->at(1), (MenuItem{menu_->at(1).id, MenuItem::Button{}}));
}

TEST_F(PanelReadersTest, ReadsTheIconAndFollowsIt) {
    const std::array<std::uint8_t, 8> bytes{255, 1, 2, 3, 0, 0, 0, 0};
    program_.pictures = [&](sd_bus_message* to) {
        sd_bus_message_open_container(to, 'a', "(iiay)");
        for (const auto& [width, height] :
             {std::pair{2, 1}, {1, 2}, {3, 3}, {-1, -2}, {0, 0}, {100'000, 1}}) {
            sd_bus_message_open_container(to, 'r', "iiay");
            sd_bus_message_append(to, "ii", width, height);
            sd_bus_message_append_array(to, 'y', bytes.data(), bytes.size());
            sd_bus_message_close_container(to);
        }
        return sd_bus_message_close_container(to);
    };
    readIcon();
    ASSERT_TRUE(becomes([&] { return icon_ && icon_->title == "idle"; }));
    ASSERT_EQ(icon_->pictures.size(), 2U) << "the others are not whole";
    EXPECT_EQ(icon_->pictures[0].width, 2);
    EXPECT_EQ(icon_->pictures[0].height, 1);
    EXPECT_THAT(icon_->pictures[0].bytes, testing::ElementsAreArray(bytes));

    program_.title = "recording";
    program_.tellIconChange("NewTitle");
    EXPECT_TRUE(becomes([&] { return icon_->title == "recording"; }));
    program_.pictures = [&](sd_bus_message* to) {
        return sd_bus_message_append(to, "a(iiay)", 1, 1, 1, 4, 9, 9, 9, 9);
    };
    program_.tellIconChange("NewIcon");
    EXPECT_TRUE(becomes([&] { return icon_->pictures.size() == 1; }));
}

TEST_F(PanelReadersTest, WhereNobodyOffersThemThereIsNothing) {
    MenuReader menu{bus_, "org.example.nobody", "/MenuBar"};
    bool isTold = false;
    menu.onMenu = [](const Menu&) {
        FAIL();
    };
    menu.tellPicked("1", [&] { isTold = true; });
    EXPECT_TRUE(becomes([&] { return isTold; }));
}

} // namespace
} // namespace brindle
