#include "BrindleRecorderLinux/Gio/InstalledApplications.hpp"

#include "DesktopTests/Bus.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace brindle {
namespace {

// GIO reads the folders of applications once, so the entries go where the session has them.
class InstalledApplicationsTest : public testing::Test {
  protected:
    void SetUp() override {
        const char* data = std::getenv("XDG_DATA_HOME");
        ASSERT_NE(data, nullptr);
        applications_ = std::filesystem::path{data} / "applications";
        std::filesystem::create_directories(applications_);
    }

    /// An application that writes down how it was started and which signals it would not hear.
    std::filesystem::path install(const std::string& identifier, const std::string& more = {}) {
        const auto script = temporary_.path() / identifier;
        std::ofstream{script} << "#!/bin/sh\n(echo \"$@\"; grep SigBlk /proc/self/status) >"
                              << answer_ << ".new && mv " << answer_ << ".new " << answer_ << "\n";
        chmod(script.c_str(), 0700);
        auto entry = applications_ / (identifier + ".desktop");
        std::ofstream{entry} << "[Desktop Entry]\nType=Application\nName=Test\nExec="
                             << script.string() << " %f\n"
                             << more;
        return entry;
    }
    std::string answer() {
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(answer_); }));
        std::ifstream stream{answer_};
        std::string text{std::istreambuf_iterator<char>{stream}, {}};
        std::filesystem::remove(answer_);
        return text;
    }

    test::TemporaryFolder temporary_;
    std::filesystem::path applications_;
    const std::string answer_ = (temporary_.path() / "answer").string();
};

TEST_F(InstalledApplicationsTest, FindsAndStartsAnApplication) {
    EXPECT_EQ(InstalledApplications::find("com.example.nowhere"), std::nullopt);
    const auto entry = install("com.example.companion");
    std::optional<std::filesystem::path> found;
    // GIO hears of new entries a moment later.
    ASSERT_TRUE(waitUntil([&] {
        found = InstalledApplications::find("com.example.companion");
        return found.has_value();
    }));
    EXPECT_EQ(*found, entry);

    // The program keeps some signals for itself; an application that it starts hears them.
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    EXPECT_TRUE(InstalledApplications::open(*found));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(answer(), "\nSigBlk:\t0000000000000000\n");
}

TEST_F(InstalledApplicationsTest, WhatIsGoneIsNotStarted) {
    EXPECT_FALSE(InstalledApplications::open(applications_ / "com.example.gone.desktop"));
}

TEST_F(InstalledApplicationsTest, ShowsAFolderInTheApplicationForFolders) {
    install("com.example.files", "MimeType=inode/directory;\n");
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    ASSERT_NE(configuration, nullptr);
    std::filesystem::create_directories(configuration);
    std::ofstream{std::filesystem::path{configuration} / "mimeapps.list"}
        << "[Default Applications]\ninode/directory=com.example.files.desktop\n";
    ASSERT_TRUE(waitUntil([&] { return InstalledApplications::openFolder("/tmp/Mine & yours"); }));
    EXPECT_TRUE(answer().starts_with("/tmp/Mine & yours\n"));
}

} // namespace
} // namespace brindle
