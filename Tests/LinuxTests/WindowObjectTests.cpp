// The object from which the program with the windows reads the setup window.
#include "BrindleRecorderLinux/Window/WindowObject.hpp"

#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/BusVisitor.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* refused = "org.freedesktop.DBus.Error.AccessDenied";

/// Somebody who calls the recorder's object.
class Caller {
  public:
    Caller(EventLoop& loop, std::string recorder)
        : loop_{loop}, bus_{loop, BusOnLoop::Which::session}, recorder_{std::move(recorder)},
          calls_{bus_} {}

    /// The error's name, empty where there was none.
    std::string call(
        const char* method, const std::function<void(sd_bus_message*)>& fill = {},
        const std::function<void(sd_bus_message*)>& read = {}) {
        std::optional<std::string> error;
        auto message =
            calls_.make(recorder_, WindowProtocol::path, WindowProtocol::interface, method);
        if (fill) {
            fill(message.get());
        }
        EXPECT_TRUE(calls_.send(std::move(message), [&](sd_bus_message* answer) {
            const auto* const told = sd_bus_message_get_error(answer);
            error = told != nullptr ? told->name : "";
            if (told == nullptr && read) {
                read(answer);
            }
        }));
        EXPECT_TRUE(waitUntil(loop_, [&] { return error.has_value(); }));
        return error.value_or("no answer");
    }
    std::string attach(const std::string& token) {
        return call("Attach", [&](sd_bus_message* message) {
            sd_bus_message_append(message, "s", token.c_str());
        });
    }
    std::string tellTrayIcon(bool isShown) {
        return call("TrayIconShown", [&](sd_bus_message* message) {
            sd_bus_message_append(message, "b", isShown ? 1 : 0);
        });
    }
    std::optional<SetupWindowContent> content() {
        std::optional<SetupWindowContent> result;
        call("GetSetupWindow", {}, [&](sd_bus_message* answer) {
            EXPECT_GT(sd_bus_message_read(answer, "u", &fronts), 0);
            result = WindowProtocol::read(answer);
        });
        return result;
    }
    unsigned fronts = 0;

  private:
    EventLoop& loop_;
    BusOnLoop bus_;
    std::string recorder_;
    BusCalls calls_;
};

class WindowObjectTest : public testing::Test {
  protected:
    WindowObjectTest() {
        object_.roleOfToken = [](std::string_view token) -> std::optional<WindowRole> {
            if (token == "of the window") {
                return WindowRole::setupWindow;
            }
            if (token == "of the menu") {
                return WindowRole::menuWindow;
            }
            return token == "of the icon" ? std::optional{WindowRole::trayIcon} : std::nullopt;
        };
        object_.onSetupWindowClosed = [this] {
            told_.emplace_back("closed");
        };
        object_.onTrayIconShown = [this](bool isShown) {
            told_.emplace_back(isShown ? "shown" : "not shown");
        };
    }
    [[nodiscard]] std::string recordersName() const {
        const char* name = nullptr;
        test::requireOfBus(sd_bus_get_unique_name(bus_.get(), &name), "no name");
        return name;
    }

    test::BareBus daemon_;
    EventLoop loop_;
    BusOnLoop bus_{loop_, BusOnLoop::Which::session};
    WindowObject object_{bus_};
    std::vector<std::string> told_;
};

TEST_F(WindowObjectTest, WhoeverWasStartedForItReadsTheSetupWindowAndTellsItsEnd) {
    const auto content = FirstRunWindow::content(
        {{"camera", "Camera access", std::nullopt},
         {"microphone", "Microphone access", "Ask the desk."}});
    object_.show(content, 3);
    Caller window{loop_, recordersName()};
    ASSERT_EQ(window.attach("of the window"), "");
    EXPECT_EQ(window.content(), content);
    EXPECT_EQ(window.fronts, 3U);
    EXPECT_EQ(window.call("SetupWindowClosed"), "");
    EXPECT_THAT(told_, ElementsAre("closed"));
    object_.show(std::nullopt, 3);
    EXPECT_EQ(window.call("GetSetupWindow"), "org.freedesktop.DBus.Error.Failed");
}

TEST_F(WindowObjectTest, WhoeverWasStartedForTheIconTellsOfIt) {
    Caller icon{loop_, recordersName()};
    ASSERT_EQ(icon.attach("of the icon"), "");
    EXPECT_EQ(icon.tellTrayIcon(true), "");
    EXPECT_EQ(icon.tellTrayIcon(false), "");
    EXPECT_THAT(told_, ElementsAre("shown", "not shown"));
}

TEST_F(WindowObjectTest, TheWindowWithTheMenuIsToldToComeToTheFront) {
    test::BusVisitor visitor{loop_};
    visitor.listenTo({recordersName(), WindowProtocol::path, WindowProtocol::interface});
    object_.bringMenuWindowToFront();
    EXPECT_THAT(visitor.heard("MenuWindowToFront"), testing::SizeIs(1));
    // It reads the menu as panels do, and has no other window to look at.
    Caller window{loop_, recordersName()};
    ASSERT_EQ(window.attach("of the menu"), "");
    EXPECT_EQ(window.call("GetSetupWindow"), refused);
}

TEST_F(WindowObjectTest, NobodyElseReadsOrTells) {
    object_.show(FirstRunWindow::content({}), 1);
    Caller stranger{loop_, recordersName()};
    for (const char* token : {"", "of the", "of the window ", "made up"}) {
        EXPECT_EQ(stranger.attach(token), refused);
    }
    EXPECT_EQ(stranger.call("GetSetupWindow"), refused);
    EXPECT_EQ(stranger.call("SetupWindowClosed"), refused);
    EXPECT_EQ(stranger.tellTrayIcon(true), refused);

    // Nor does one role speak for the other.
    ASSERT_EQ(stranger.attach("of the icon"), "");
    EXPECT_EQ(stranger.call("SetupWindowClosed"), refused);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(WindowObjectTest, WhoeverCameBeforeSpeaksNoMore) {
    Caller first{loop_, recordersName()};
    Caller second{loop_, recordersName()};
    ASSERT_EQ(first.attach("of the icon"), "");
    ASSERT_EQ(second.attach("of the icon"), "");
    EXPECT_EQ(first.tellTrayIcon(true), refused);
    EXPECT_EQ(second.tellTrayIcon(true), "");
    object_.forget(WindowRole::trayIcon);
    EXPECT_EQ(second.tellTrayIcon(false), refused);
    EXPECT_THAT(told_, ElementsAre("shown"));
}

TEST_F(WindowObjectTest, TextsOfAnyLengthAndContentArrive) {
    SetupWindowContent content{.title = "T", .blocks = {}};
    content.blocks.emplace_back(SetupWindowContent::Paragraph{std::string(100'000, 'x')});
    content.blocks.emplace_back(SetupWindowContent::Note{"\xFF"});
    for (int more = 0; more < 100; ++more) {
        content.blocks.emplace_back(SetupWindowContent::Divider{});
    }
    object_.show(content, 1);
    Caller window{loop_, recordersName()};
    ASSERT_EQ(window.attach("of the window"), "");
    const auto read = window.content();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->blocks.size(), WindowProtocol::mostBlocks);
    EXPECT_EQ(
        read->blocks[0], (SetupWindowContent::Block{SetupWindowContent::Paragraph{
                             std::string(WindowProtocol::mostCharacters - 1, 'x') + "…"}}));
    EXPECT_EQ(read->blocks[1], (SetupWindowContent::Block{SetupWindowContent::Note{"\uFFFD"}}));
}

TEST_F(WindowObjectTest, WhatIsNoContentIsNotRead) {
    const auto message = [&] {
        sd_bus_message* made = nullptr;
        test::requireOfBus(
            sd_bus_message_new_signal(bus_.get(), &made, "/a", "b.c", "D"), "no message");
        return BusMessage{made};
    };
    const auto readBack = [](const BusMessage& one) {
        sd_bus_message_seal(one.get(), 1, 0);
        sd_bus_message_rewind(one.get(), 1);
        return WindowProtocol::read(one.get());
    };
    const auto whole = message();
    sd_bus_message_append(whole.get(), "sa(sss)", "T", 1, "note", "a", "");
    EXPECT_TRUE(readBack(whole));
    const auto unknown = message();
    sd_bus_message_append(unknown.get(), "sa(sss)", "T", 1, "carousel", "a", "");
    EXPECT_FALSE(readBack(unknown));
    const auto other = message();
    sd_bus_message_append(other.get(), "sas", "T", 1, "note");
    EXPECT_FALSE(readBack(other));
    const auto huge = message();
    sd_bus_message_append(
        huge.get(), "sa(sss)", "T", 1, "note", std::string(100'000, 'x').c_str(), "");
    EXPECT_FALSE(readBack(huge));
}

TEST(WindowProtocol, EveryRoleIsFoundByItsName) {
    for (const auto role : WindowProtocol::roles) {
        EXPECT_EQ(WindowProtocol::roleOfName(WindowProtocol::nameOf(role)), role);
    }
    EXPECT_EQ(WindowProtocol::roleOfName(""), std::nullopt);
}

} // namespace
} // namespace brindle
