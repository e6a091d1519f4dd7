// The Wayland window list at Plasma's real compositor, which tells of windows only to programs
// whose desktop entry asks for it.
#include "BrindleRecorderLinux/Windows/WaylandWindowList.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using Records = std::vector<WindowRecord>;

class KWinTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* const program : {"kwin_wayland", "chromium"}) {
            if (!hasProgram(program)) {
                GTEST_SKIP() << "needs " << program << " (Debian: kwin-wayland, chromium)";
            }
        }
        if (std::getenv("BRINDLE_SESSION") == nullptr) {
            GTEST_SKIP() << "needs the session bus of scripts/private-session";
        }
        for (const char* const name : {"runtime", "config", "cache", "data/applications"}) {
            std::filesystem::create_directories(folder_.path() / name);
        }
        std::filesystem::permissions(folder_.path() / "runtime", std::filesystem::perms::owner_all);
    }

    void allowUs() const {
        std::ofstream{folder_.path() / "data/applications/brindle-recorder-tests.desktop"}
            << "[Desktop Entry]\nType=Application\nName=Tests\nExec="
            << std::filesystem::read_symlink("/proc/self/exe").string()
            << "\nX-KDE-Wayland-Interfaces=org_kde_plasma_window_management\n";
    }
    void begin() {
        // A copy, because the installed file carries a privilege that not everybody may be given.
        const std::string program = folder_.path() / "kwin_wayland";
        std::filesystem::copy_file("/usr/bin/kwin_wayland", program);
        compositor_ = std::make_unique<ChildProcess>(
            program,
            std::vector<std::string>{
                "kwin_wayland", "--virtual", "--no-lockscreen", "--socket", "wayland-kwin"},
            ChildProcess::Setting{.environment = environment()});
        ASSERT_TRUE(waitFor([this] { return std::filesystem::exists(socket()); }));
    }
    /// A real browser on a page of that title; smaller programs that can be given a title do not
    /// run on a screen without a size in millimetres.
    [[nodiscard]] std::unique_ptr<ChildProcess> openPage(const std::string& title) const {
        auto forWindow = environment();
        forWindow["WAYLAND_DISPLAY"] = socket();
        return std::make_unique<ChildProcess>(
            "chromium",
            std::vector<std::string>{
                "chromium", "--ozone-platform=wayland", "--no-sandbox", "--disable-gpu",
                "--no-first-run", "--disable-background-networking", "--disable-component-update",
                "--disable-sync", "--user-data-dir=" + (folder_.path() / "profile").string(),
                "data:text/html,<title>" + title + "</title>"},
            ChildProcess::Setting{.environment = forWindow});
    }
    [[nodiscard]] std::string socket() const { return folder_.path() / "runtime/wayland-kwin"; }

    EventLoop loop_;

  private:
    [[nodiscard]] std::map<std::string, std::string> environment() const {
        const auto inFolder = [this](const char* name) {
            return (folder_.path() / name).string();
        };
        return {
            {"XDG_RUNTIME_DIR", inFolder("runtime")},
            {"XDG_CONFIG_HOME", inFolder("config")},
            {"XDG_CACHE_HOME", inFolder("cache")},
            {"XDG_DATA_HOME", inFolder("data")},
            {"KWIN_COMPOSE", "Q"}, // needs no graphics processor
            {"LC_ALL", "C.UTF-8"}};
    }

    test::TemporaryFolder folder_;
    std::unique_ptr<ChildProcess> compositor_;
};

TEST_F(KWinTest, TellsAProgramOfTheWindowsThatItsDesktopEntryAsksFor) {
    allowUs();
    begin();
    const WaylandWindowList windows{loop_, socket()};
    ASSERT_TRUE(waitUntil(loop_, [&] { return windows.titlesPermitted(); }));
    const auto has = [&](const WindowRecord& window) {
        const auto all = windows.windows().value_or(Records{});
        return std::find(all.begin(), all.end(), window) != all.end();
    };
    const WindowRecord meeting{
        std::nullopt, "com.google.Chrome", "Weekly sync - Google Meet - Chromium"};
    {
        const auto browser = openPage("Weekly sync - Google Meet");
        EXPECT_TRUE(waitUntil(loop_, [&] { return has(meeting); }));
        // Known at once to who comes later.
        const WaylandWindowList late{loop_, socket()};
        EXPECT_EQ(late.windows(), windows.windows());
    }
    EXPECT_TRUE(waitUntil(loop_, [&] { return !has(meeting); }));
    EXPECT_TRUE(windows.titlesPermitted());
}

TEST_F(KWinTest, TellsOthersNothing) {
    begin();
    const WaylandWindowList windows{loop_, socket()};
    EXPECT_FALSE(windows.titlesPermitted());
    EXPECT_EQ(windows.windows(), std::nullopt);
}

} // namespace
} // namespace brindle
