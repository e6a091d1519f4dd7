#include "BrindleRecorderLinux/DBus/TerminalMenu.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/DBus/ExportedMenu.hpp"
#include "DesktopTests/Bus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What was written to a file that is read back.
class Captured {
  public:
    Captured() : file{std::tmpfile()} {}
    ~Captured() { std::fclose(file); }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;
    [[nodiscard]] std::string text() const {
        std::rewind(file);
        std::array<char, 4096> buffer{};
        return {buffer.data(), std::fread(buffer.data(), 1, buffer.size(), file)};
    }
    std::FILE* file;
};

class TerminalMenuTest : public testing::Test {
  protected:
    TerminalMenuTest() {
        menu_.onActivation = [this](const std::string& name) {
            picked_.push_back(name);
        };
        menu_.exportOn(program_.bus());
        program_.bus().registerService(
            QString::fromStdString(std::string{AppInfo::bundleIdentifier}));
        menu_.show(
            {{"status", MenuItem::Text{"Idle — watching for calls"}},
             {"rule", MenuItem::Divider{}},
             {"start", MenuItem::Button{"Record now", std::nullopt}},
             {"settings",
              MenuItem::Submenu{
                  "Settings", {{"ask", MenuItem::Toggle{"Ask before recording", true}}}}}});
    }

    /// The command waits for its answers, as in its own process, while the program answers here.
    template <class Command>
    bool run(Command command) {
        std::atomic<int> result{-1};
        std::thread terminal{[&] {
            const BusClient client;
            result = command(TerminalMenu{client.bus(), output_.file, errors_.file}) ? 1 : 0;
        }};
        EXPECT_TRUE(waitUntil([&] { return result != -1; }));
        terminal.join();
        return result == 1;
    }
    bool pick(const std::vector<std::string>& words) {
        return run([&](const TerminalMenu& menu) { return menu.pick(words); });
    }

    BusClient program_;
    ExportedMenu menu_;
    std::vector<std::string> picked_;
    Captured output_;
    Captured errors_;
};

TEST_F(TerminalMenuTest, PrintsTheMenu) {
    EXPECT_TRUE(run([](const TerminalMenu& menu) { return menu.print(); }));
    EXPECT_EQ(
        output_.text(), "Idle — watching for calls\n\nRecord now\nSettings\n"
                        "    [x] Ask before recording\n");
}

TEST_F(TerminalMenuTest, PicksALine) {
    EXPECT_TRUE(pick({"Record now"}));
    EXPECT_TRUE(pick({"Settings", "Ask before recording"}));
    EXPECT_THAT(picked_, ElementsAre("start", "ask"));
}

TEST_F(TerminalMenuTest, SaysWhatCannotBePicked) {
    EXPECT_FALSE(pick({"Stop recording"}));
    EXPECT_FALSE(pick({"Idle — watching for calls"}));
    EXPECT_FALSE(pick({"Settings"}));
    EXPECT_THAT(picked_, IsEmpty());
    EXPECT_EQ(
        errors_.text(),
        "brindle-recorder: the menu has no 'Stop recording' to pick there\n"
        "brindle-recorder: the menu has no 'Idle — watching for calls' to pick there\n"
        "brindle-recorder: that is a submenu; say which of its lines\n");
}

TEST_F(TerminalMenuTest, SaysSoWhenNothingRuns) {
    program_.bus().unregisterService(
        QString::fromStdString(std::string{AppInfo::bundleIdentifier}));
    EXPECT_FALSE(run([](const TerminalMenu& menu) { return menu.print(); }));
    EXPECT_EQ(
        errors_.text(),
        "brindle-recorder: no copy of the program with a menu runs in this session\n");
}

} // namespace
} // namespace brindle
