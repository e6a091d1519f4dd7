#include "BrindleRecorderLinux/Processes/StartedPrograms.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

class StartedProgramsTest : public testing::Test {
  protected:
    /// The exit status of what is run, or nothing where it did not end by itself.
    std::optional<int>
    run(const std::string& script, const StartedPrograms::Environment& environment = {}) {
        std::optional<int> status;
        EXPECT_TRUE(programs_.start(
            {"sh", "-c", script}, [&](int told) { status = told; }, environment));
        EXPECT_TRUE(waitUntil(loop_, [&] { return status.has_value(); }));
        return WIFEXITED(*status) ? std::optional{WEXITSTATUS(*status)} : std::nullopt;
    }

    EventLoop loop_;
    StartedPrograms programs_{loop_};
};

TEST_F(StartedProgramsTest, TellsHowAProgramEnded) {
    EXPECT_EQ(run("exit 0"), 0);
    EXPECT_EQ(run("exit 7"), 7);
    EXPECT_EQ(run("kill -KILL $$"), std::nullopt);
}

TEST_F(StartedProgramsTest, AProgramThatIsNotThereIsNotStarted) {
    EXPECT_EQ(programs_.start({"/nowhere/brindle"}, {}), std::nullopt);
    EXPECT_EQ(programs_.start({"brindle-of-no-name"}, {}), std::nullopt);
}

TEST_F(StartedProgramsTest, ItHearsTheSignalsThatWeKeepForOurselves) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handlerBefore = std::signal(SIGPIPE, SIG_IGN);
    const auto status = run("kill -TERM $$; exit 1");
    const auto pipe = run("kill -PIPE $$; exit 1");
    std::signal(SIGPIPE, handlerBefore);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(status, std::nullopt);
    EXPECT_EQ(pipe, std::nullopt);
}

TEST_F(StartedProgramsTest, ItsInputIsEmptyAndItsVariablesAreOursAndMore) {
    EXPECT_EQ(run("read -r line && exit 1; exit 0"), 0);
    EXPECT_EQ(
        run("[ \"$BRINDLE_TEST\" = 'a b' ] && [ -n \"$PATH\" ]", {{"BRINDLE_TEST", "a b"}}), 0);
    EXPECT_EQ(run("[ \"$PATH\" = /nowhere ]", {{"PATH", "/nowhere"}}), 0);
}

TEST_F(StartedProgramsTest, ManyAtOnceAreToldApart) {
    std::vector<int> ended;
    for (int code = 0; code < 8; ++code) {
        EXPECT_TRUE(programs_.start(
            {"sh", "-c", "exit " + std::to_string(code)}, [&ended, code](int status) {
                EXPECT_EQ(WEXITSTATUS(status), code);
                ended.push_back(code);
            }));
    }
    EXPECT_TRUE(waitUntil(loop_, [&] { return ended.size() == 8; }));
}

} // namespace
} // namespace brindle
