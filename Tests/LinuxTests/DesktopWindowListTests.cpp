#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include "BrindleRecorderApp/Calls/MicActivityMonitor.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "LinuxTests/ToplevelCompositor.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace brindle {
namespace {

using pipewire::AudioGraph;
using pipewire::NodeState;
using testing::ElementsAre;
using testing::Optional;

constexpr auto nobody = std::nullopt;

class DesktopWindowListTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!hasProgram("Xvfb")) {
            GTEST_SKIP() << "needs Xvfb (Debian: xvfb)";
        }
        server_.emplace();
        client_.emplace(server_->display());
        const auto window = client_->makeWindow();
        client_->setTitle(window, "on X11");
        client_->list({window});
        display_.emplace("DISPLAY", server_->display());
    }

    /// A Firefox in a call.
    static std::shared_ptr<const AudioGraph> callOfFirefox() {
        AudioGraph graph;
        graph.nodes.push_back({1, 1, NodeState::running, {{"media.class", "Audio/Source"}}});
        graph.nodes.push_back(
            {2,
             2,
             NodeState::running,
             {{"media.class", "Stream/Input/Audio"},
              {"client.id", "3"},
              {"media.name", "in a stream"}}});
        graph.clients.push_back({3, 3, {{"application.process.binary", "firefox"}}});
        graph.links.push_back({4, 1, 2, true});
        return std::make_shared<const AudioGraph>(std::move(graph));
    }

    const WindowRecord onX11_{getpid(), nobody, "on X11"};
    const WindowRecord onWayland_{nobody, "com.google.Chrome", "on Wayland"};
    const WindowRecord inStream_{nobody, "org.mozilla.firefox", "in a stream"};
    test::TemporaryFolder folder_;
    const std::string socket_ = folder_.path() / "wayland-test";
    const test::EnvironmentVariable wayland_{"WAYLAND_DISPLAY", socket_};
    const ProcProcessRegistry processes_;
    EventLoop loop_;
    std::optional<XServer> server_;
    std::optional<XClient> client_;
    std::optional<test::EnvironmentVariable> display_;
};

TEST_F(DesktopWindowListTest, HasTheXServersWindowsBesideTheTitlesInStreams) {
    const DesktopWindowList windows{processes_, loop_, callOfFirefox};
    EXPECT_TRUE(windows.titlesPermitted());
    EXPECT_THAT(windows.windows(), Optional(ElementsAre(onX11_)));
    EXPECT_THAT(windows.titlesToldOtherwise(), ElementsAre(inStream_));
}

TEST_F(DesktopWindowListTest, HasTheCompositorsWindowsInsteadWhereItListsThem) {
    ToplevelCompositor compositor{socket_, {0}};
    compositor.open("on Wayland", "chromium");
    const DesktopWindowList windows{processes_, loop_, callOfFirefox};
    EXPECT_THAT(windows.windows(), Optional(ElementsAre(onWayland_)));
    EXPECT_THAT(windows.titlesToldOtherwise(), ElementsAre(inStream_));
}

TEST_F(DesktopWindowListTest, HasTheXServersWindowsWhereTheCompositorListsNone) {
    const ToplevelCompositor compositor{socket_, {}};
    const DesktopWindowList windows{processes_, loop_, callOfFirefox};
    EXPECT_THAT(windows.windows(), Optional(ElementsAre(onX11_)));
    EXPECT_THAT(windows.titlesToldOtherwise(), ElementsAre(inStream_));
}

TEST_F(DesktopWindowListTest, TheTitleInAStreamIsThatBrowsersAloneWhereNoWindowsAreShown) {
    const test::EnvironmentVariable none{"DISPLAY", nobody};
    const DesktopWindowList windows{processes_, loop_, callOfFirefox};
    EXPECT_FALSE(windows.titlesPermitted());
    test::FakeAudioObjects audio;
    const MicActivityMonitor monitor{audio, processes_, windows};
    const auto users = monitor.withWindowTitles(
        {{.bundleID = "com.google.Chrome", .pid = 1, .windowTitles = {}},
         {.bundleID = "org.mozilla.firefox", .pid = 2, .windowTitles = {}}});
    EXPECT_EQ(users.at(0).windowTitles, std::nullopt);
    EXPECT_THAT(users.at(1).windowTitles, Optional(ElementsAre("in a stream")));
}

} // namespace
} // namespace brindle
