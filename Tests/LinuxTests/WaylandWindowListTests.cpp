// The Wayland window list at a real compositor, with real programs' windows.
#include "BrindleRecorderLinux/Windows/WaylandWindowList.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/ToplevelCompositor.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

constexpr auto nobody = std::nullopt;
using Records = std::vector<WindowRecord>;

/// sway on a screen that nobody sees.
class SwayTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* const program : {"sway", "foot"}) {
            if (!hasProgram(program)) {
                GTEST_SKIP() << "needs " << program;
            }
        }
        std::ofstream{folder_.path() / "config"} << "xwayland disable\n";
        std::filesystem::permissions(folder_.path(), std::filesystem::perms::owner_all);
        begin();
        ASSERT_TRUE(waitFor([this] { return std::filesystem::exists(socket()); }));
    }
    void TearDown() override {
        foots_.clear();
        sway_.reset();
    }
    void begin() {
        std::vector<std::string> command{"sway", "--config", folder_.path() / "config"};
        if (geteuid() == 0) {
            // sway refuses to run as root.
            constexpr uid_t nobodysNumber = 65534;
            ASSERT_EQ(chown(folder_.path().c_str(), nobodysNumber, nobodysNumber), 0);
            const std::string number = std::to_string(nobodysNumber);
            command.insert(
                command.begin(),
                {"setpriv", "--reuid", number, "--regid", number, "--clear-groups"});
        }
        sway_ = std::make_unique<ChildProcess>(
            command.front(), command,
            ChildProcess::Setting{
                .environment = {
                    {"XDG_RUNTIME_DIR", folder_.path()},
                    {"WLR_BACKENDS", "headless"},
                    {"WLR_LIBINPUT_NO_DEVICES", "1"},
                    {"WLR_RENDERER", "pixman"}}});
    }
    [[nodiscard]] std::string socket() const { return folder_.path() / "wayland-1"; }

    void openWindow(const std::string& title, const std::string& applicationID) {
        foots_.push_back(std::make_unique<ChildProcess>(
            "foot",
            std::vector<std::string>{
                "foot", "--config=/dev/null", "--override=locked-title=yes", "--title=" + title,
                "--app-id=" + applicationID, "sleep", "infinity"},
            ChildProcess::Setting{
                .environment = {
                    {"XDG_RUNTIME_DIR", folder_.path()},
                    {"WAYLAND_DISPLAY", socket()},
                    {"LC_ALL", "C.UTF-8"}}}));
    }

    test::TemporaryFolder folder_;
    EventLoop loop_;
    std::unique_ptr<ChildProcess> sway_;
    std::vector<std::unique_ptr<ChildProcess>> foots_;
};

TEST_F(SwayTest, FollowsTheWindowsAsTheyComeAndGo) {
    const WaylandWindowList windows{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
    EXPECT_THAT(windows.windows(), Optional(IsEmpty()));

    openWindow("Weekly sync - Google Meet", "org.mozilla.firefox");
    const WindowRecord meeting{nobody, "org.mozilla.firefox", "Weekly sync - Google Meet"};
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{meeting}; }));

    openWindow("Terminal", "somebody");
    const WindowRecord terminal{nobody, nobody, "Terminal"};
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{meeting, terminal}; }));

    foots_.erase(foots_.begin());
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{terminal}; }));
}

TEST_F(SwayTest, KnowsAtOnceWhatIsThereAlready) {
    openWindow("Standup | Jitsi Meet", "chromium");
    const WaylandWindowList early{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return early.windows().value_or(Records{}).size() == 1; }));
    const WaylandWindowList late{loop_, socket()};
    EXPECT_TRUE(waitUntil(loop_, [&] { return late.titlesPermitted(); }));
    EXPECT_THAT(
        late.windows(),
        Optional(ElementsAre(WindowRecord{nobody, "com.google.Chrome", "Standup | Jitsi Meet"})));
}

TEST_F(SwayTest, TitlesAreNotPermittedOnceTheCompositorIsGoneAndAgainWhenItIsBack) {
    const WaylandWindowList windows{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
    sway_->signal(SIGKILL);
    EXPECT_TRUE(waitUntil(loop_, [&] { return !windows.titlesPermitted(); }));
    EXPECT_EQ(windows.windows(), nobody);
    sway_.reset();
    std::filesystem::remove(socket());
    std::filesystem::remove(socket() + ".lock");
    begin();
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
}

TEST(WaylandWindowListWithoutCompositor, TitlesAreNotPermitted) {
    EventLoop loop;
    const WaylandWindowList windows{loop, "/nowhere/wayland-0"};
    EXPECT_FALSE(windows.titlesPermitted());
    EXPECT_EQ(windows.windows(), nobody);
}

/// A compositor of the test's own on the real wire, for what no real one does on demand, and for
/// the common protocol, which no compositor of Debian 12 speaks.
class ToplevelCompositorTest : public testing::TestWithParam<std::size_t> {
  protected:
    [[nodiscard]] std::string socket() const { return folder_.path() / "wayland-test"; }

    test::TemporaryFolder folder_;
    ToplevelCompositor compositor_{socket(), {GetParam()}};
    EventLoop loop_;
};

INSTANTIATE_TEST_SUITE_P(EveryProtocol, ToplevelCompositorTest, testing::Values(0U, 1U, 2U));

/// Of a protocol by which the compositor can say that it will tell no more.
class EndingCompositorTest : public ToplevelCompositorTest {};

INSTANTIATE_TEST_SUITE_P(CommonProtocols, EndingCompositorTest, testing::Values(0U, 1U));

TEST_P(ToplevelCompositorTest, FollowsTheWindowsAsTheyComeChangeAndGo) {
    compositor_.open("Inbox", "firefox");
    const WaylandWindowList windows{loop_, socket()};
    const WindowRecord inbox{nobody, "org.mozilla.firefox", "Inbox"};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{inbox}; }));
    compositor_.open("Notes", "notes");
    const WindowRecord notes{nobody, nobody, "Notes"};
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{inbox, notes}; }));
    compositor_.rename(0, "Standup | Jitsi Meet");
    const WindowRecord meeting{nobody, "org.mozilla.firefox", "Standup | Jitsi Meet"};
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{meeting, notes}; }));
    compositor_.close(0);
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == Records{notes}; }));
}

TEST_P(ToplevelCompositorTest, LongAndInvalidTitlesHarmNothing) {
    compositor_.open(std::string(3500, 'x'), std::string(3500, 'y'));
    compositor_.open("\xff\xfe Google Meet", "chromium");
    const WaylandWindowList windows{loop_, socket()};
    const Records expected{
        {nobody, nobody, std::string(3500, 'x')},
        {nobody, "com.google.Chrome", "\xff\xfe Google Meet"}};
    EXPECT_TRUE(waitUntil(loop_, [&] { return windows.windows() == expected; }));
}

TEST_P(ToplevelCompositorTest, KeepsNoMoreWindowsThanItsBound) {
    for (std::size_t count = 0; count < WaylandWindowList::mostWindows + 100; ++count) {
        compositor_.open("window", "somebody");
    }
    const WaylandWindowList windows{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
    EXPECT_THAT(windows.windows(), Optional(SizeIs(WaylandWindowList::mostWindows)));
}

TEST_P(EndingCompositorTest, IsNotPermittedOnceTheCompositorTellsNoMore) {
    const WaylandWindowList windows{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
    compositor_.finish();
    EXPECT_TRUE(waitUntil(loop_, [&] { return !windows.titlesPermitted(); }));
    EXPECT_EQ(windows.windows(), nobody);
}

TEST(ToplevelCompositorOfAll, IsHeardByTheCommonProtocolOnly) {
    const test::TemporaryFolder folder;
    const std::string socket = folder.path() / "wayland-test";
    ToplevelCompositor compositor{socket, {2, 1, 0}};
    compositor.open("once", "firefox");
    EventLoop loop;
    const WaylandWindowList windows{loop, socket};
    ASSERT_TRUE(waitUntil(loop, [&] { return windows.titlesPermitted(); }));
    EXPECT_THAT(windows.windows(), Optional(SizeIs(1)));
}

TEST(ToplevelCompositorOfNone, TitlesAreNotPermitted) {
    const test::TemporaryFolder folder;
    const std::string socket = folder.path() / "wayland-test";
    const ToplevelCompositor compositor{socket, {}};
    EventLoop loop;
    const WaylandWindowList windows{loop, socket};
    EXPECT_FALSE(windows.titlesPermitted());
    EXPECT_EQ(windows.windows(), nobody);
}

TEST(ToplevelCompositorThatHangs, IsNotWaitedForAndIsHeardWhenItGoesOn) {
    const test::TemporaryFolder folder;
    const std::string socket = folder.path() / "wayland-test";
    ToplevelCompositor compositor{socket, {0}};
    compositor.open("patient", "firefox");
    compositor.hang();
    EventLoop loop;
    const WaylandWindowList windows{loop, socket};
    EXPECT_FALSE(windows.titlesPermitted());
    compositor.goOn();
    EXPECT_TRUE(waitUntil(loop, [&] { return windows.titlesPermitted(); }));
    EXPECT_THAT(windows.windows(), Optional(SizeIs(1)));
}

} // namespace
} // namespace brindle
