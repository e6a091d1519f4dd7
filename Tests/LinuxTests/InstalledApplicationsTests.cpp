#include "BrindleRecorderLinux/Desktop/InstalledApplications.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Desktop/DesktopWorkspace.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

namespace brindle {
namespace {

class InstalledApplicationsTest : public testing::Test {
  protected:
    InstalledApplicationsTest() {
        std::filesystem::create_directories(entries_);
        std::filesystem::create_directories(temporary_.path() / "config");
    }

    /// An application that writes down how it was started and which signals it would not hear.
    std::filesystem::path install(const std::string& identifier, const std::string& more = {}) {
        const auto script = temporary_.path() / identifier;
        std::ofstream{script} << "#!/bin/sh\n(echo \"$@\"; grep SigBlk /proc/self/status) >"
                              << answer_ << ".new && mv " << answer_ << ".new " << answer_ << "\n";
        chmod(script.c_str(), 0700);
        auto entry = entries_ / (identifier + ".desktop");
        std::ofstream{entry} << "[Desktop Entry]\nType=Application\nName=Test\nExec="
                             << script.string() << " %f\n"
                             << more;
        return entry;
    }
    void installForFolders() {
        install("com.example.files", "MimeType=inode/directory;\n");
        std::ofstream{temporary_.path() / "config" / "mimeapps.list"}
            << "[Default Applications]\ninode/directory=com.example.files.desktop\n";
    }
    std::string answer() {
        EXPECT_TRUE(waitUntil(loop_, [&] { return std::filesystem::exists(answer_); }));
        std::ifstream stream{answer_};
        std::string text{std::istreambuf_iterator<char>{stream}, {}};
        std::filesystem::remove(answer_);
        return text;
    }
    std::filesystem::path folder() {
        auto path = temporary_.path() / "Mine & yours";
        std::filesystem::create_directory(path);
        return path;
    }

    test::TemporaryFolder temporary_;
    const std::filesystem::path entries_ = temporary_.path() / "data" / "applications";
    const std::string answer_ = (temporary_.path() / "answer").string();
    const test::EnvironmentVariable data_{"XDG_DATA_HOME", (temporary_.path() / "data").string()};
    const test::EnvironmentVariable configuration_{
        "XDG_CONFIG_HOME", (temporary_.path() / "config").string()};
    const test::EnvironmentVariable others_{
        "XDG_DATA_DIRS", (temporary_.path() / "others").string()};
    test::BareBus bus_;
    EventLoop loop_;
    PosixFileManager files_;
    std::optional<InstalledApplications> applications_{std::in_place, files_, loop_};
};

TEST_F(InstalledApplicationsTest, FindsAndStartsAnApplication) {
    EXPECT_EQ(applications_->find("com.example.companion"), std::nullopt);
    const auto entry = install("com.example.companion");
    EXPECT_EQ(applications_->find("com.example.companion"), entry);

    // The program keeps some signals for itself; an application that it starts hears them.
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    applications_->open(entry);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(answer(), "\nSigBlk:\t0000000000000000\n");
}

TEST_F(InstalledApplicationsTest, WhatCannotBeStartedIsNotFound) {
    std::ofstream{entries_ / "a.desktop"} << "[Desktop Entry]\nType=Link\nExec=/bin/true\n";
    std::ofstream{entries_ / "b.desktop"} << "[Desktop Entry]\nType=Application\nExec=/nowhere\n";
    std::ofstream{entries_ / "c.desktop"} << "nothing of the kind";
    install("d", "Hidden=true\n");
    for (const char* identifier : {"a", "b", "c", "d"}) {
        EXPECT_EQ(applications_->find(identifier), std::nullopt) << identifier;
    }
}

TEST_F(InstalledApplicationsTest, WhatTheUserSaysOfAnApplicationComesFirst) {
    const auto others = temporary_.path() / "others" / "applications";
    std::filesystem::create_directories(others);
    for (const char* name : {"a.desktop", "b.desktop"}) {
        std::ofstream{others / name} << "[Desktop Entry]\nType=Application\nExec=/bin/true\n";
    }
    install("b", "Hidden=true\n");
    EXPECT_EQ(applications_->find("a"), others / "a.desktop");
    EXPECT_EQ(applications_->find("b"), std::nullopt);
}

TEST_F(InstalledApplicationsTest, WithoutTheDesktopsToolNothingIsFound) {
    install("com.example.companion");
    const test::EnvironmentVariable path{"PATH", "/nowhere"};
    EXPECT_EQ(applications_->find("com.example.companion"), std::nullopt);
}

TEST_F(InstalledApplicationsTest, ShowsAFolderInTheApplicationForFolders) {
    installForFolders();
    bool isOtherwise = false;
    applications_->openFolder(folder(), [&] { isOtherwise = true; });
    EXPECT_EQ(answer().substr(0, folder().string().size() + 1), folder().string() + "\n");
    EXPECT_FALSE(isOtherwise);
}

TEST_F(InstalledApplicationsTest, TellsOfAFolderThatNobodyShows) {
    int times = 0;
    applications_->openFolder(folder(), [&] { ++times; });
    EXPECT_TRUE(waitUntil(loop_, [&] { return times == 1; }));
    const test::EnvironmentVariable path{"PATH", "/nowhere"};
    applications_->openFolder(folder(), [&] { ++times; });
    EXPECT_EQ(times, 2) << "the tool is not there";
}

/// A file manager on the bus that keeps which folders it was to show.
class FileManagerOnTheBus {
  public:
    void serve() { object_.serve(); }
    std::string shown;

  private:
    static const sd_bus_vtable* table() {
        static const std::array<sd_bus_vtable, 3> table{{
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD(
                "ShowFolders", "ass", "", &FileManagerOnTheBus::show, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        }};
        return table.data();
    }
    static int show(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        const char* address = nullptr;
        const char* startup = nullptr;
        test::requireOfBus(sd_bus_message_read(call, "ass", 1, &address, &startup), "no folder");
        static_cast<FileManagerOnTheBus*>(self)->shown = address;
        return sd_bus_reply_method_return(call, "");
    }

    test::ScriptedBusObject object_{
        "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
        "org.freedesktop.FileManager1", table(), this};
};

TEST_F(InstalledApplicationsTest, AFolderThatNoApplicationShowsGoesToTheFileManagerOfTheBus) {
    FileManagerOnTheBus fileManager;
    BusOnLoop bus{loop_, BusOnLoop::Which::session};
    DesktopWorkspace workspace{bus, files_, loop_};
    workspace.openFolder(folder());
    EXPECT_TRUE(waitUntil(loop_, [&] {
        fileManager.serve();
        return !fileManager.shown.empty();
    }));
    EXPECT_EQ(fileManager.shown, "file://" + temporary_.path().string() + "/Mine%20%26%20yours");
}

} // namespace
} // namespace brindle
