#include "BrindleRecorderLinux/Window/WindowProgram.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// The program is a script that writes down each of its starts. Its ends are told by the real loop,
/// the waits are on one that a test moves.
class WindowProgramTest : public testing::Test {
  protected:
    /// `life` is what the program does.
    WindowProgram& make(const std::string& life) {
        const auto script = folder_.path() / "program";
        std::ofstream{script} << "#!/bin/sh\necho \"$1 $2 $BRINDLE_WINDOW_TOKEN\" >>" << starts_
                              << "\n"
                              << life << "\n";
        chmod(script.c_str(), 0700);
        auto& made = program_.emplace(
            WindowRole::trayIcon,
            WindowProgram::Means{
                time_, programs_, script, "org.example.icon", [this] { return isScreen_; },
                [this](std::string_view line) {
                    lines_.emplace_back(line);
                }});
        made.onEnd = [this] {
            ++ends_;
        };
        return made;
    }
    std::vector<std::string> starts() const {
        std::ifstream stream{starts_};
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, condition);
    }
    [[nodiscard]] bool hasStarted(std::size_t times) {
        return becomes([&] { return starts().size() == times; });
    }
    [[nodiscard]] bool hasEnded(int times) {
        return becomes([&] { return ends_ == times; });
    }
    static bool isAlive(pid_t pid) { return kill(pid, 0) == 0; }

    test::TemporaryFolder folder_;
    const std::string starts_ = (folder_.path() / "starts").string();
    EventLoop loop_;
    test::FakeDateProvider clock_;
    test::ManualMainLoop time_{clock_};
    StartedPrograms programs_{loop_};
    bool isScreen_ = true;
    int ends_ = 0;
    std::vector<std::string> lines_;
    std::optional<WindowProgram> program_;
};

TEST_F(WindowProgramTest, RunsWhileItIsWanted) {
    auto& program = make("exec sleep 1000");
    EXPECT_EQ(program.pid(), std::nullopt);
    EXPECT_EQ(program.token(), "");
    program.setWanted(true);
    program.setWanted(true);
    ASSERT_TRUE(hasStarted(1));
    EXPECT_EQ(starts().front(), "tray-icon org.example.icon " + program.token());
    EXPECT_GE(program.token().size(), 32U);
    const auto pid = program.pid().value();
    program.setWanted(false);
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(program.token(), "");
    EXPECT_TRUE(becomes([&] { return !isAlive(pid); }));
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(starts().size(), 1U);
    EXPECT_TRUE(lines_.empty());
}

TEST_F(WindowProgramTest, EndsWithItsOwnerEvenWhereItHasStopped) {
    make("exec sleep 1000").setWanted(true);
    ASSERT_TRUE(hasStarted(1));
    const auto pid = program_->pid().value();
    kill(pid, SIGSTOP);
    program_.reset();
    EXPECT_TRUE(becomes([&] { return !isAlive(pid); }));
}

TEST_F(WindowProgramTest, IsStartedAgainWithAnotherTokenWhenItDies) {
    auto& program = make("exec sleep 1000");
    program.setWanted(true);
    ASSERT_TRUE(hasStarted(1));
    const auto before = program.token();
    kill(*program.pid(), SIGKILL);
    ASSERT_TRUE(hasEnded(1));
    EXPECT_EQ(program.token(), "");
    EXPECT_THAT(lines_, Contains("window: tray-icon has ended (signal 9)"));
    time_.advance(WindowProgram::firstDelay);
    ASSERT_TRUE(hasStarted(2));
    EXPECT_NE(program.token(), before);
}

TEST_F(WindowProgramTest, IsNotStartedWhereThereIsNoScreen) {
    auto& program = make("exec sleep 1000");
    isScreen_ = false;
    program.setWanted(true);
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(program.pid(), std::nullopt);
    isScreen_ = true;
    time_.advance(WindowProgram::lookForAScreenEvery);
    EXPECT_TRUE(hasStarted(1));
}

TEST_F(WindowProgramTest, OneThatDoesNotStayIsGivenUpUntilThereIsAnotherScreen) {
    auto& program = make("exit 1");
    program.setWanted(true);
    for (int failures = 1; failures <= WindowProgram::mostFailures; ++failures) {
        ASSERT_TRUE(hasEnded(failures));
        time_.advance(WindowProgram::firstDelay * (1 << (failures - 1)));
    }
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(ends_, WindowProgram::mostFailures);
    EXPECT_EQ(program.pid(), std::nullopt);
    EXPECT_THAT(lines_, Contains(HasSubstr("given up until there is another screen")));

    isScreen_ = false;
    time_.advance(WindowProgram::lookForAScreenEvery);
    isScreen_ = true;
    time_.advance(WindowProgram::lookForAScreenEvery);
    EXPECT_TRUE(hasEnded(WindowProgram::mostFailures + 1));
}

TEST_F(WindowProgramTest, OneThatHasLivedLongHasNotFailed) {
    auto& program = make("exec sleep 1000");
    program.setWanted(true);
    for (int lives = 1; lives <= 2 * WindowProgram::mostFailures; ++lives) {
        ASSERT_TRUE(program.pid());
        time_.advance(WindowProgram::longEnough);
        kill(*program.pid(), SIGKILL);
        ASSERT_TRUE(hasEnded(lives));
        time_.advance(WindowProgram::firstDelay);
    }
    EXPECT_TRUE(program.pid());
}

TEST_F(WindowProgramTest, OneThatIsDoneWaitsUntilItIsWantedOnceMore) {
    auto& program = make("exit 0");
    program.setWanted(true);
    ASSERT_TRUE(hasEnded(1));
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(program.pid(), std::nullopt);
    program.setWanted(true);
    EXPECT_TRUE(hasEnded(2));
    EXPECT_TRUE(lines_.empty());
}

TEST_F(WindowProgramTest, RunsOnceAndAnewWhereItStillRuns) {
    auto& program = make("exec sleep 1000");
    program.runOnce();
    ASSERT_TRUE(hasStarted(1));
    const auto first = program.pid().value();
    program.runOnce();
    ASSERT_TRUE(hasStarted(2));
    EXPECT_TRUE(becomes([&] { return !isAlive(first); }));
    kill(*program.pid(), SIGKILL);
    ASSERT_TRUE(hasEnded(2));
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(program.pid(), std::nullopt);
    isScreen_ = false;
    program.runOnce();
    EXPECT_EQ(program.pid(), std::nullopt);
}

TEST_F(WindowProgramTest, AProgramThatIsMissingIsTriedAndGivenUp) {
    auto& program = make("");
    std::filesystem::remove(folder_.path() / "program");
    program.setWanted(true);
    time_.advance(std::chrono::hours{1});
    EXPECT_EQ(program.pid(), std::nullopt);
    EXPECT_THAT(lines_, Contains(HasSubstr("given up until there is another screen")));
}

} // namespace
} // namespace brindle
