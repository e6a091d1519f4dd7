#include "BrindleRecorderLinux/Windows/WindowOwner.hpp"

#include "Support/FakeProcessRegistry.hpp"

#include <gtest/gtest.h>

#include <string>

namespace brindle {
namespace {

struct NameCase {
    const char* windowName;
    std::optional<std::string> application;
};

TEST(WindowOwner, NamesTheApplicationOfAWindowName) {
    constexpr auto chrome = "com.google.Chrome";
    const NameCase cases[] = {
        {"Chromium", chrome},
        {"chromium", chrome},
        {"Google-chrome", chrome},
        {"google-chrome-beta", chrome},
        {"com.google.Chrome", chrome},
        {"org.chromium.Chromium", chrome},
        {"Microsoft-edge", "com.microsoft.edgemac"},
        {"Brave-browser", "com.brave.Browser"},
        {"firefox", "org.mozilla.firefox"},
        {"firefox-esr", "org.mozilla.firefox"},
        {"org.mozilla.firefox", "org.mozilla.firefox"},
        {"firefox_firefox", "org.mozilla.firefox"},
        // Installed web applications
        {"chrome-kjgfgldnnfoeklkmfkjfagphfepbbdan-Default",
         "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan"},
        {"crx_kjgfgldnnfoeklkmfkjfagphfepbbdan",
         "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan"},
        {"chrome-abcdefghijklmnopabcdefghijklmnop-Profile_1", chrome},
        {"crx_abcdefghijklmnopabcdefghijklmnop", std::nullopt},
        // Nobody
        {"", std::nullopt},
        {"Navigator", std::nullopt},
        {"xterm", std::nullopt},
        {"chrome-", std::nullopt},
        {"-", std::nullopt},
        {"firefoxes", std::nullopt},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(applicationOfWindowName(each.windowName), each.application) << each.windowName;
    }
    EXPECT_EQ(applicationOfWindowName(std::string(1024 * 1024, 'f')), std::nullopt);
    EXPECT_EQ(applicationOfWindowName("\xff\x80"), std::nullopt);
}

class WindowOwnerTest : public testing::Test {
  protected:
    WindowOwnerTest() {
        processes.executablePaths[100] = "/usr/lib/chromium/chromium";
        processes.executablePaths[200] = "/usr/bin/slack";
    }
    test::FakeProcessRegistry processes;
};

TEST_F(WindowOwnerTest, TheServersWordCountsMost) {
    EXPECT_EQ(
        ownerOf({.certainPid = 100, .claimedPid = 200, .windowClass = "firefox"}, processes),
        (WindowOwner{100, std::nullopt}));
}

TEST_F(WindowOwnerTest, TheClassCountsMoreThanTheWindowsOwnPid) {
    EXPECT_EQ(
        ownerOf({.claimedPid = 200, .windowClass = "firefox"}, processes),
        (WindowOwner{std::nullopt, "org.mozilla.firefox"}));
}

TEST_F(WindowOwnerTest, TheInstanceHelpsWhereTheClassSaysNothing) {
    EXPECT_EQ(
        ownerOf({.windowClass = "Mine", .windowInstance = "chromium"}, processes),
        (WindowOwner{std::nullopt, "com.google.Chrome"}));
}

TEST_F(WindowOwnerTest, AClaimedPidCountsWhereThereIsSuchAProcess) {
    EXPECT_EQ(ownerOf({.claimedPid = 200}, processes), (WindowOwner{200, std::nullopt}));
    EXPECT_EQ(ownerOf({.claimedPid = 2}, processes), WindowOwner{});
}

TEST_F(WindowOwnerTest, AClaimIsNotBelievedWhereTheServerNamedAnotherProcess) {
    EXPECT_EQ(ownerOf({.certainPid = 300, .claimedPid = 200}, processes), WindowOwner{});
}

TEST_F(WindowOwnerTest, NoProcessHereOwnsAWindowOfAnotherMachine) {
    EXPECT_EQ(
        ownerOf({.certainPid = 100, .claimedPid = 100, .isFromThisMachine = false}, processes),
        WindowOwner{});
}

TEST(WindowOwner, KnowsThisMachineByItsName) {
    EXPECT_TRUE(isSameMachine("", "box"));
    EXPECT_TRUE(isSameMachine("box", "box"));
    EXPECT_TRUE(isSameMachine("Box.example.org", "box"));
    EXPECT_TRUE(isSameMachine("box", "box.lan"));
    EXPECT_TRUE(isSameMachine("localhost", "box"));
    EXPECT_FALSE(isSameMachine("boxes", "box"));
    EXPECT_FALSE(isSameMachine("toolbox.example.org", "box"));
}

} // namespace
} // namespace brindle
