// The X11 window list at a real X server, with windows that the test makes itself.
#include "BrindleRecorderLinux/Windows/X11WindowList.hpp"

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeProcessRegistry.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

constexpr auto nobody = std::nullopt;

class X11WindowListTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!hasProgram("Xvfb")) {
            GTEST_SKIP() << "needs Xvfb (Debian: xvfb)";
        }
        start({});
    }
    void start(const std::vector<std::string>& options) {
        windows_.reset();
        client_.reset();
        server_.emplace(options);
        client_.emplace(server_->display());
        windows_.emplace(processes_, server_->display());
    }
    /// Of a program that does everything right.
    [[nodiscard]] xcb_window_t makeWindow(std::string_view title) const {
        const xcb_window_t window = client_->makeWindow();
        client_->setTitle(window, title);
        return window;
    }
    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> titles;
        for (const auto& window : windows_->windows().value_or(std::vector<WindowRecord>{})) {
            titles.push_back(window.name.value_or("(none)"));
        }
        return titles;
    }

    const ProcProcessRegistry processes_;
    std::optional<XServer> server_;
    std::optional<XClient> client_;
    std::optional<X11WindowList> windows_;
};

TEST_F(X11WindowListTest, ListsTitlesInTheWindowManagersOrderWithTheirProcess) {
    const auto first = makeWindow("Inbox — Mozilla Firefox");
    const auto second = makeWindow("Weekly sync - Google Meet - Chromium");
    client_->list({second, first});
    EXPECT_TRUE(windows_->titlesPermitted());
    EXPECT_THAT(
        windows_->windows(),
        Optional(ElementsAre(
            WindowRecord{getpid(), nobody, "Weekly sync - Google Meet - Chromium"},
            WindowRecord{getpid(), nobody, "Inbox — Mozilla Firefox"})));
}

TEST_F(X11WindowListTest, HasNoWindowsWithoutAWindowManager) {
    EXPECT_THAT(windows_->windows(), Optional(IsEmpty()));
}

TEST_F(X11WindowListTest, SeesANewTitleAtTheNextQuestion) {
    const auto window = makeWindow("before");
    client_->list({window});
    EXPECT_THAT(titles(), ElementsAre("before"));
    client_->setTitle(window, "after");
    EXPECT_THAT(titles(), ElementsAre("after"));
}

TEST_F(X11WindowListTest, SeesANewOwnerWithinAFewQuestionsAndANewTitleAtOnce) {
    const auto window = client_->makeWindow();
    client_->setMachine(window, "elsewhere");
    client_->setClass(window, "zoom", "zoom");
    client_->setTitle(window, "first");
    client_->list({window});
    const auto record = [&] {
        return windows_->windows()->at(0);
    };
    EXPECT_EQ(record().ownerBundleID, "us.zoom.xos");
    client_->setClass(window, "firefox", "firefox");
    client_->setTitle(window, "second");
    EXPECT_EQ(record().name, "second");
    int questions = 0;
    while (record().ownerBundleID != "org.mozilla.firefox" && questions < 100) {
        ++questions;
    }
    EXPECT_LT(questions, 20);
}

TEST_F(X11WindowListTest, LooksForTheOldTitleAgainOnceTheNewOneIsGone) {
    const auto window = client_->makeWindow();
    client_->setOldTitle(window, "old");
    client_->setTitle(window, "new");
    client_->list({window});
    const auto name = [&] {
        return windows_->windows()->at(0).name;
    };
    EXPECT_EQ(name(), "new");
    client_->setTitle(window, "");
    name();
    EXPECT_EQ(name(), "old");
}

TEST_F(X11WindowListTest, DoesNotTakeAnotherProgramsWindowForTheOneThatHadItsNumber) {
    auto other = std::make_unique<XClient>(server_->display());
    const auto before = other->makeWindow();
    other->setClass(before, "zoom", "zoom");
    other->setMachine(before, "elsewhere");
    other->setTitle(before, "before");
    client_->list({before});
    EXPECT_EQ(windows_->windows()->at(0).ownerBundleID, "us.zoom.xos");
    other.reset();
    ASSERT_TRUE(waitFor([&] { return windows_->windows()->empty(); }));
    other = std::make_unique<XClient>(server_->display());
    const auto after = other->makeWindow();
    ASSERT_EQ(after, before); // the server gives numbers again
    other->setClass(after, "firefox", "firefox");
    other->setMachine(after, "elsewhere");
    other->setTitle(after, "after");
    EXPECT_EQ(windows_->windows()->at(0).ownerBundleID, "org.mozilla.firefox");
}

TEST_F(X11WindowListTest, FallsBackToTheOldTitle) {
    const auto window = client_->makeWindow();
    client_->setOldTitle(window, "Caf\xe9 | Jitsi Meet");
    client_->list({window});
    EXPECT_THAT(titles(), ElementsAre("Café | Jitsi Meet"));
    client_->setTitle(window, "new");
    EXPECT_THAT(titles(), ElementsAre("new"));
}

TEST_F(X11WindowListTest, HasWindowsWithoutATitle) {
    client_->list({client_->makeWindow()});
    EXPECT_THAT(titles(), ElementsAre("(none)"));
}

TEST_F(X11WindowListTest, BoundsAMegabyteOfTitle) {
    const auto endless = makeWindow(std::string(1024 * 1024, 'x'));
    const auto normal = makeWindow("normal");
    client_->list({endless, normal});
    const auto found = titles();
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_LE(found[0].size(), MicActivityMonitor::maxTitleBytes + 4);
    EXPECT_GE(found[0].size(), MicActivityMonitor::maxTitleBytes);
    EXPECT_EQ(found[1], "normal");
}

TEST_F(X11WindowListTest, InvalidTextHarmsNothing) {
    const std::string invalid = "\xff\xfe\x80 Google Meet \xf0\x9f";
    const auto odd = makeWindow(invalid);
    const auto normal = makeWindow("normal");
    client_->list({odd, normal});

    test::FakeAudioObjects audio;
    test::FakeProcessRegistry registry;
    registry.bundleIDs[getpid()] = "com.google.Chrome";
    const MicActivityMonitor monitor{audio, registry, *windows_};
    EXPECT_THAT(
        monitor.windowTitlesForFamilyOf("com.google.Chrome"),
        Optional(ElementsAre(invalid, "normal")));
}

TEST_F(X11WindowListTest, TakesTheServersWordForTheProcessNotTheWindows) {
    const auto window = makeWindow("Google Meet");
    client_->setPid(window, server_->pid()); // a process that exists, but is not this one
    client_->setClass(window, "firefox", "firefox");
    client_->list({window});
    EXPECT_THAT(
        windows_->windows(), Optional(ElementsAre(WindowRecord{getpid(), nobody, "Google Meet"})));
}

TEST_F(X11WindowListTest, WindowsOfAnotherMachineBelongToTheirClassNotToAProcessHere) {
    const auto window = makeWindow("Google Meet");
    client_->setMachine(window, "elsewhere.example");
    client_->setPid(window, getpid());
    client_->setClass(window, "Navigator", "firefox-esr");
    client_->list({window});
    EXPECT_THAT(
        windows_->windows(),
        Optional(ElementsAre(WindowRecord{nobody, "org.mozilla.firefox", "Google Meet"})));
}

TEST_F(X11WindowListTest, SandboxedPidsMeanNoProcessOfThisMachine) {
    start({"-extension", "X-Resource"}); // nothing but the windows' own word
    const auto window = makeWindow("Google Meet");
    client_->setPid(window, 2); // here, a thread of the kernel
    client_->setClass(window, "google-chrome", "Google-chrome");
    const auto unknown = makeWindow("Somebody");
    client_->setPid(unknown, 2);
    client_->setClass(unknown, "somebody", "Somebody");
    client_->list({window, unknown});
    EXPECT_THAT(
        windows_->windows(), Optional(ElementsAre(
                                 WindowRecord{nobody, "com.google.Chrome", "Google Meet"},
                                 WindowRecord{nobody, nobody, "Somebody"})));
}

TEST_F(X11WindowListTest, ClaimedPidsCountOnlyWhereThereIsSuchAProcess) {
    start({"-extension", "X-Resource"});
    const auto honest = makeWindow("honest");
    client_->setPid(honest, getpid());
    const auto liar = makeWindow("liar");
    client_->setPid(liar, INT32_MAX);
    const auto silent = makeWindow("silent");
    client_->list({honest, liar, silent});
    EXPECT_THAT(
        windows_->windows(),
        Optional(ElementsAre(
            WindowRecord{getpid(), nobody, "honest"}, WindowRecord{nobody, nobody, "liar"},
            WindowRecord{nobody, nobody, "silent"})));
}

TEST_F(X11WindowListTest, SkipsAWindowThatIsGoneBeforeItIsRead) {
    const auto gone = makeWindow("gone");
    const auto stays = makeWindow("stays");
    client_->list({gone, stays});
    client_->destroy(gone);
    EXPECT_THAT(titles(), ElementsAre("stays"));
}

TEST_F(X11WindowListTest, SkipsTheDesktopsOwnWindows) {
    const auto panel = makeWindow("panel");
    client_->setType(panel, "_NET_WM_WINDOW_TYPE_DOCK");
    const auto desktop = makeWindow("desktop");
    client_->setType(desktop, "_NET_WM_WINDOW_TYPE_DESKTOP");
    const auto normal = makeWindow("normal");
    client_->setType(normal, "_NET_WM_WINDOW_TYPE_NORMAL");
    client_->list({panel, desktop, normal});
    EXPECT_THAT(titles(), ElementsAre("normal"));
}

TEST_F(X11WindowListTest, ReadsNoMoreWindowsThanItsBound) {
    const auto window = makeWindow("again");
    client_->list(std::vector<xcb_window_t>(4000, window));
    EXPECT_THAT(windows_->windows(), Optional(SizeIs(X11WindowList::mostWindows)));
}

TEST_F(X11WindowListTest, GivesUpOnAServerThatIsHeldAndReadsOnWhenItIsFree) {
    client_->list({makeWindow("patient")});
    EXPECT_THAT(titles(), ElementsAre("patient"));
    client_->holdServer();
    EXPECT_EQ(windows_->windows(), nobody);
    EXPECT_EQ(windows_->windows(), nobody);
    client_->releaseServer();
    EXPECT_TRUE(waitFor([&] { return windows_->windows().has_value(); }));
    EXPECT_THAT(titles(), ElementsAre("patient"));
}

TEST_F(X11WindowListTest, TitlesAreNotPermittedOnceTheServerIsGoneAndAgainWhenItIsBack) {
    client_->list({makeWindow("before")});
    EXPECT_THAT(titles(), ElementsAre("before"));
    // The program itself may have left this signal as it was.
    ASSERT_NE(std::signal(SIGPIPE, SIG_DFL), SIG_ERR);
    client_.reset();
    server_->end();
    EXPECT_EQ(windows_->windows(), nobody);
    EXPECT_FALSE(windows_->titlesPermitted());
    server_->begin();
    EXPECT_TRUE(windows_->titlesPermitted());
    client_.emplace(server_->display());
    client_->list({makeWindow("after")});
    EXPECT_THAT(titles(), ElementsAre("after"));
}

TEST(X11WindowListWithoutServer, TitlesAreNotPermitted) {
    const ProcProcessRegistry processes;
    const X11WindowList windows{processes, ":59999"};
    EXPECT_FALSE(windows.titlesPermitted());
    EXPECT_EQ(windows.windows(), nobody);
}

class X11DesktopTest : public X11WindowListTest {
  protected:
    void SetUp() override {
        if (!hasProgram("openbox")) {
            GTEST_SKIP() << "needs openbox";
        }
        X11WindowListTest::SetUp();
        if (server_) {
            windowManager_ = std::make_unique<ChildProcess>(
                "openbox", std::vector<std::string>{"openbox", "--sm-disable"},
                ChildProcess::Setting{.environment = {{"DISPLAY", server_->display()}}});
        }
    }
    void TearDown() override { windowManager_.reset(); }

    std::unique_ptr<ChildProcess> windowManager_;
};

TEST_F(X11DesktopTest, ListsWhatARealWindowManagerManages) {
    const auto window = makeWindow("Weekly sync - Google Meet - Chromium");
    client_->show(window);
    ASSERT_TRUE(waitFor([&] { return !client_->listed().empty(); }));
    EXPECT_THAT(
        windows_->windows(), Optional(ElementsAre(WindowRecord{
                                 getpid(), nobody, "Weekly sync - Google Meet - Chromium"})));
    client_->destroy(window);
    ASSERT_TRUE(waitFor([&] { return client_->listed().empty(); }));
    EXPECT_THAT(windows_->windows(), Optional(IsEmpty()));
}

TEST_F(X11DesktopTest, WindowsThatComeAndGoMeanwhileHarmNothing) {
    client_->show(makeWindow("stays"));
    ASSERT_TRUE(waitFor([&] { return !client_->listed().empty(); }));
    std::atomic<bool> isOver{false};
    std::thread restless{[&] {
        const XClient other{server_->display()};
        while (!isOver) {
            const auto window = other.makeWindow();
            other.setTitle(window, "comes and goes");
            other.show(window);
            other.destroy(window);
        }
    }};
    for (int reading = 0; reading < 500; ++reading) {
        EXPECT_THAT(titles(), testing::Contains("stays"));
    }
    isOver = true;
    restless.join();
}

} // namespace
} // namespace brindle
