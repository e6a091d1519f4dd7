#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"

#include "BrindleRecorderLinux/Processes/ProcReader.hpp"
#include "BrindleRecorderLinux/Processes/ProcessEnds.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/FakeProc.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "LinuxTests/XServer.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

namespace brindle {
namespace {

TEST(ProcProcessRegistry, KnowsItsOwnProcess) {
    const ProcProcessRegistry registry;
    EXPECT_EQ(registry.ownProcessIdentifier(), getpid());
    EXPECT_EQ(registry.executablePath(getpid()), std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_TRUE(registry.runsFileNamed(getpid(), "LinuxTests"));
}

TEST(ProcProcessRegistry, ReadsARealCopyUnderAnotherName) {
    const FakeProc temporary;
    const auto copy = temporary.folder() / "zoom";
    std::filesystem::copy_file("/bin/sleep", copy);
    const ChildProcess child{copy, {copy, "600"}};
    const ProcProcessRegistry registry;
    EventLoop loop;
    EXPECT_TRUE(waitUntil(loop, [&] {
        return registry.executablePath(child.pid()) == copy &&
               registry.bundleIdentifier(child.pid()) == "us.zoom.xos";
    }));
    std::filesystem::remove(copy);
    EXPECT_EQ(registry.executablePath(child.pid()), copy);
    EXPECT_EQ(registry.bundleIdentifier(child.pid()), "us.zoom.xos");
}

TEST(ProcProcessRegistry, ReadsARealSymbolicLinkUnderAnotherName) {
    const FakeProc temporary;
    const auto link = temporary.folder() / "zoom";
    std::filesystem::create_symlink("/bin/sleep", link);
    const ChildProcess child{link, {link, "600"}};
    const ProcProcessRegistry registry;
    EventLoop loop;
    EXPECT_TRUE(waitUntil(loop, [&] {
        return registry.runsFileNamed(child.pid(), "sleep") &&
               registry.bundleIdentifier(child.pid()) == "us.zoom.xos";
    }));
}

TEST(ProcProcessRegistry, RemembersAProcessUntilItEnds) {
    const FakeProc temporary;
    const auto copy = temporary.folder() / "zoom";
    std::filesystem::copy_file("/bin/sleep", copy);
    EventLoop loop;
    const ProcProcessRegistry registry{loop};
    const ProcProcessRegistry forgetful;
    std::int32_t pid = 0;
    {
        const ChildProcess child{copy, {copy, "600"}};
        pid = child.pid();
        ASSERT_TRUE(waitUntil(loop, [&] { return forgetful.executablePath(pid) == copy; }));
        EXPECT_EQ(registry.executablePath(pid), copy);
        EXPECT_EQ(registry.bundleIdentifier(pid), "us.zoom.xos");
        child.signal(SIGKILL);
        // Its end is known to the kernel, which still has its number, but not yet to the loop.
        ASSERT_TRUE(waitFor([&] { return !forgetful.executablePath(pid); }));
        EXPECT_EQ(registry.executablePath(pid), copy);
        EXPECT_TRUE(waitUntil(loop, [&] { return !registry.executablePath(pid); }));
    }
    EXPECT_FALSE(registry.bundleIdentifier(pid));
    EXPECT_FALSE(registry.bundleIdentifier(-1));
}

TEST(ProcessEnds, TellsTheEndOfEachProcessOnceAndOfNoOther) {
    EventLoop loop;
    std::vector<std::int32_t> ended;
    ProcessEnds ends{loop, [&](std::int32_t pid) {
                         ended.push_back(pid);
                     }};
    const ChildProcess stays{"sleep", {"sleep", "600"}};
    const ChildProcess goes{"sleep", {"sleep", "600"}};
    EXPECT_TRUE(ends.watch(stays.pid()));
    EXPECT_TRUE(ends.watch(goes.pid()));
    EXPECT_TRUE(ends.watch(goes.pid()));
    for (const std::int32_t number : {-1, 0, 99'999'999}) {
        EXPECT_FALSE(ends.watch(number)) << number;
    }
    goes.signal(SIGKILL);
    EXPECT_TRUE(waitUntil(loop, [&] { return !ended.empty(); }));
    stays.signal(SIGKILL);
    EXPECT_TRUE(waitUntil(loop, [&] { return ended.size() == 2; }));
    EXPECT_EQ(ended, (std::vector<std::int32_t>{goes.pid(), stays.pid()}));
}

TEST(ProcessEnds, MayGoWhileItWatches) {
    EventLoop loop;
    const ChildProcess child{"sleep", {"sleep", "600"}};
    int told = 0;
    {
        ProcessEnds ends{loop, [&](std::int32_t) {
                             ++told;
                         }};
        EXPECT_TRUE(ends.watch(child.pid()));
    }
    ProcessEnds other{loop, [&](std::int32_t) {
                          told += 100;
                      }};
    EXPECT_TRUE(other.watch(child.pid()));
    child.signal(SIGKILL);
    EXPECT_TRUE(waitUntil(loop, [&] { return told > 0; }));
    EXPECT_EQ(told, 100);
}

TEST(ProcProcessRegistry, AnswersNothingForWhatIsNoProcess) {
    const FakeProc proc;
    const ProcProcessRegistry registry{proc.folder()};
    for (const std::int32_t number : {-1, 0, 5}) {
        EXPECT_FALSE(registry.bundleIdentifier(number)) << number;
        EXPECT_FALSE(registry.executablePath(number)) << number;
        EXPECT_FALSE(registry.runsFileNamed(number, "")) << number;
    }
    EXPECT_FALSE(registry.bundleIdentifierOfApplication("/opt/zoom"));
}

TEST(ProcReader, ReadsEveryPieceOfEvidence) {
    const FakeProc proc;
    proc.add(
        {.pid = 7,
         .executable = "/usr/bin/a program (deleted)",
         .arguments = {"a program", "--flag", ""},
         .command = "a) (b",
         .parent = 3,
         .session = 7,
         .controlGroup = "/user.slice/app.slice/app-gnome-org.example.App-12.scope",
         .flatpakID = "org.example.Box"});
    ProcessEvidence expected;
    expected.sandboxID = "org.example.Box";
    expected.desktopID = "org.example.App";
    expected.executable = "/usr/bin/a program";
    expected.command = "a) (b";
    expected.arguments = {"a program", "--flag", ""};
    expected.parent = 3;
    expected.leadsSession = true;
    EXPECT_EQ(ProcReader{proc.folder()}.evidence(7), expected);
}

TEST(ProcReader, IsNotHeldUpByAPipeInAProcessesOwnRoot) {
    const FakeProc proc;
    proc.add({.pid = 7, .executable = "/usr/bin/tool"});
    ASSERT_EQ(mkfifo((proc.folder() / "7/root/.flatpak-info").c_str(), 0600), 0);
    const auto evidence = ProcReader{proc.folder()}.evidence(7);
    ASSERT_TRUE(evidence);
    EXPECT_FALSE(evidence->sandboxID);
}

TEST(ProcReader, BoundsWhatItReads) {
    const FakeProc proc;
    proc.add({.pid = 7, .executable = "/usr/bin/tool"});
    std::ofstream{proc.folder() / "7/cmdline"} << std::string(1'000'000, 'x');
    const auto evidence = ProcReader{proc.folder()}.evidence(7);
    ASSERT_TRUE(evidence);
    ASSERT_EQ(evidence->arguments.size(), 1U);
    EXPECT_LT(evidence->arguments.front().size(), 100'000U);
}

TEST(ProcReader, RefusesAStatusThatIsCutOff) {
    const FakeProc proc;
    proc.add({.pid = 7, .executable = "/usr/bin/tool"});
    for (const char* text :
         {"", "7", "7 (tool", "7 (tool) S", "7 (tool) S 1 1", "7 )tool( S 1 1 1"}) {
        std::ofstream{proc.folder() / "7/stat"} << text;
        EXPECT_FALSE(ProcReader{proc.folder()}.evidence(7)) << text;
    }
}

TEST(ProcessEvidence, ReadsTheApplicationFromItsControlGroup) {
    const std::string slice = "/user.slice/user-1000.slice/user@1000.service/app.slice/";
    const auto desktop = [](std::string id) {
        return ApplicationScope{std::move(id), {}};
    };
    const auto snap = [](std::string name) {
        return ApplicationScope{{}, std::move(name)};
    };
    const std::vector<std::pair<std::string, ApplicationScope>> cases{
        {"app-gnome-us.zoom.Zoom-4242.scope", desktop("us.zoom.Zoom")},
        {"app-flatpak-org.telegram.desktop-17.scope", desktop("org.telegram.desktop")},
        {"app-gnome-google\\x2dchrome-4242.scope", desktop("google-chrome")},
        {"app-firefox-1a2b.scope", desktop("firefox")},
        {"app-org.kde.konsole@8f2e.service", desktop("org.kde.konsole")},
        {"app-KDE-org.kde.konsole@8f2e.service", desktop("org.kde.konsole")},
        {"app-org.kde.discover.service", desktop("org.kde.discover")},
        {"snap.zoom-client.zoom-client-0f6a.scope", snap("zoom-client")},
        {"snap.firefox.hook.configure-1.scope", snap("firefox")},
        {"app-org.gnome.Terminal.slice/vte-spawn-9f.scope", {}},
        {"app-gnome-slack-1.scope/inner", desktop("slack")},
        {"app-gnome-slack-1.scope/app-gnome-zoom-2.scope", desktop("zoom")},
        {"app-a-b-c-d.scope", {}},
        {"app-.scope", {}},
        {"app-gnome--1.scope", {}},
        {"app-x\\xzz-1.scope", desktop("x\\xzz")},
        {"pipewire.service", {}},
        {"", {}},
    };
    for (const auto& [unit, expected] : cases) {
        EXPECT_EQ(scopeInControlGroup(slice + unit), expected) << unit;
    }
}

TEST(ProcessEvidence, ReadsTheNameOfASnapFromAPath) {
    EXPECT_EQ(snapNameInPath("/snap/zoom-client/230/zoom/zoom"), "zoom-client");
    EXPECT_EQ(snapNameInPath("/var/lib/snapd/snap/slack/9/slack"), "slack");
    EXPECT_EQ(snapNameInPath("/snap/bin/slack"), std::nullopt);
    EXPECT_EQ(snapNameInPath("/usr/bin/snap"), std::nullopt);
    EXPECT_EQ(snapNameInPath("/snap/"), std::nullopt);
    EXPECT_EQ(snapNameInPath(""), std::nullopt);
}

TEST(ProcessEvidence, ReadsTheApplicationOfASandbox) {
    EXPECT_EQ(
        applicationIDInFlatpakInfo("[Application]\nname=us.zoom.Zoom\nruntime=x\n"),
        "us.zoom.Zoom");
    EXPECT_EQ(
        applicationIDInFlatpakInfo("[Runtime]\nname=org.a.B\n[Application]\nname=org.c.D"),
        "org.c.D");
    EXPECT_EQ(applicationIDInFlatpakInfo("[Runtime]\nname=org.a.B\n"), std::nullopt);
    EXPECT_EQ(applicationIDInFlatpakInfo("[Application]\nname=\n"), std::nullopt);
    EXPECT_EQ(applicationIDInFlatpakInfo(""), std::nullopt);
}

} // namespace
} // namespace brindle
