#include "LinuxTests/MovieFixtures.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace brindle {
namespace {

using testing::HasSubstr;

class ConfinementTest : public testing::Test {
  protected:
    void SetUp() override {
        if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1) {
            GTEST_SKIP() << "this kernel has no Landlock";
        }
        test::writeFile(privateFile, {1, 2, 3});
    }

    [[nodiscard]] std::string tryAs(const std::string& program) const {
        return test::run(
            program + " --try-what-is-forbidden " + privateFile.string() + " " + newFile.string() +
            " /bin/true");
    }

    test::TemporaryFolder home;
    std::filesystem::path privateFile = home.path() / "diary";
    std::filesystem::path newFile = home.path() / "beside-the-recordings";
};

TEST_F(ConfinementTest, TheCaptureProgramReadsNothingOfTheUsersWritesNowhereAndStartsNothing) {
    EXPECT_EQ(
        tryAs(BRINDLE_CAPTURE_PROGRAM), "confined: yes\n"
                                        "read: Permission denied\n"
                                        "write: Permission denied\n"
                                        "start: Permission denied\n");
    EXPECT_FALSE(std::filesystem::exists(newFile));
    // What it tried can be done by anybody else.
    EXPECT_EQ(
        test::run(
            "cat " + privateFile.string() + " >/dev/null && touch " + newFile.string() +
            " && /bin/true"),
        "");
}

TEST_F(ConfinementTest, GraphicsHardwareIsLeftToThoseRunsThatAreGivenIt) {
    if (access("/dev/dri", F_OK) != 0) {
        GTEST_SKIP() << "this machine has no graphics hardware";
    }
    const auto tryOpen = [this](const std::string& leave) {
        return test::run(
            std::string{BRINDLE_CAPTURE_PROGRAM} + " --try-what-is-forbidden" + leave +
            " $(ls -d /dev/dri/card* /dev/dri/render* | head -n 1) " + newFile.string() +
            " /bin/true");
    };
    EXPECT_THAT(tryOpen(""), HasSubstr("read: Permission denied"));
    EXPECT_THAT(tryOpen("-with-graphics"), HasSubstr("read: done"));
    EXPECT_THAT(tryOpen("-with-graphics"), HasSubstr("write: Permission denied"));
}

TEST_F(ConfinementTest, WithoutARecorderItDoesNothingButSayWhoseItIs) {
    EXPECT_THAT(
        test::run(std::string{BRINDLE_CAPTURE_PROGRAM} + " 3</dev/null"),
        HasSubstr("is started by brindle-recorder"));
}

} // namespace
} // namespace brindle
