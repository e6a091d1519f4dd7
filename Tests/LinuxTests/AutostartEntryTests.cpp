#include "BrindleRecorderLinux/Desktop/AutostartEntry.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace brindle {
namespace {

using testing::HasSubstr;

class AutostartEntryTest : public testing::Test {
  protected:
    [[nodiscard]] AutostartEntry entry(const std::filesystem::path& program = "/bin/true") {
        return AutostartEntry{files_, folder_, program};
    }
    [[nodiscard]] std::string contents() const {
        std::ifstream stream{file_};
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    void write(const std::string& contents) const {
        std::filesystem::create_directories(folder_);
        std::ofstream{file_} << contents;
    }

    test::TemporaryFolder temporary_;
    PosixFileManager files_;
    const std::filesystem::path folder_ = temporary_.path() / "config" / "autostart";
    const std::filesystem::path file_ = folder_ / AutostartEntry::fileName;
};

TEST_F(AutostartEntryTest, RegistersAndUnregisters) {
    auto login = entry();
    EXPECT_EQ(login.status(), LoginItemStatus::notRegistered);
    ASSERT_TRUE(login.registerApplication());
    EXPECT_EQ(login.status(), LoginItemStatus::enabled);
    EXPECT_THAT(contents(), HasSubstr("[Desktop Entry]\n"));
    EXPECT_THAT(contents(), HasSubstr("\nType=Application\n"));
    EXPECT_THAT(contents(), HasSubstr("\nExec=\"/bin/true\"\n"));
    ASSERT_TRUE(login.unregisterApplication());
    EXPECT_EQ(login.status(), LoginItemStatus::notRegistered);
    EXPECT_TRUE(login.unregisterApplication()) << "there is nothing left to do";
}

TEST_F(AutostartEntryTest, WhatTheUserSwitchedOffInTheDesktopsSettingsStaysOff) {
    for (const char* off : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const auto before =
            std::string{"[Desktop Entry]\nType=Application\nName=x\nExec=/bin/true\n"} + off + "\n";
        write(before);
        auto login = entry();
        EXPECT_EQ(login.status(), LoginItemStatus::requiresApproval) << off;
        EXPECT_TRUE(login.registerApplication());
        EXPECT_EQ(login.status(), LoginItemStatus::requiresApproval) << off;
        EXPECT_EQ(contents(), before);
    }
}

TEST_F(AutostartEntryTest, AnEntryThatStartsNothingIsNone) {
    write("[Desktop Entry]\nType=Application\nName=x\nExec=/nowhere/brindle-recorder\n");
    EXPECT_EQ(entry().status(), LoginItemStatus::notRegistered);
    write("no entry at all");
    EXPECT_EQ(entry().status(), LoginItemStatus::notRegistered);
    EXPECT_TRUE(entry().registerApplication());
    EXPECT_EQ(entry().status(), LoginItemStatus::enabled);
}

TEST_F(AutostartEntryTest, AnyPathCanBeStarted) {
    const auto program = temporary_.path() / "a b$c`d\"e%f\\g";
    std::filesystem::create_symlink("/bin/true", program);
    auto login = entry(program);
    ASSERT_TRUE(login.registerApplication());
    EXPECT_EQ(login.status(), LoginItemStatus::enabled) << contents();
}

TEST_F(AutostartEntryTest, AFolderThatCannotBeMadeIsAnErrorWithItsText) {
    std::ofstream{temporary_.path() / "config"} << "a file where the folder should be";
    const auto registered = entry().registerApplication();
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error().domain, "POSIX");
    EXPECT_THAT(registered.error().description, HasSubstr("config"));
    EXPECT_EQ(entry().status(), LoginItemStatus::notRegistered);
}

} // namespace
} // namespace brindle
