// Who uses the microphone, asked of a private session with real programs.
#include "BrindleRecorderLinux/CommandLine/WhoCommand.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "LinuxTests/SessionAudio.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "LinuxTests/XServer.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace brindle {
namespace {

using testing::HasSubstr;
using testing::Not;

class WhoCommandTest : public testing::Test {
  protected:
    void SetUp() override {
        if (std::getenv("BRINDLE_SESSION") == nullptr) {
            GTEST_SKIP() << "needs the servers of scripts/private-session";
        }
        if (!hasProgram("pacat")) {
            GTEST_SKIP() << "needs pacat (Debian: pulseaudio-utils)";
        }
    }

    /// pacat under another name, which is what tells programs apart.
    [[nodiscard]] std::string programNamed(const std::string& name) const {
        const auto program = folder_.path() / name;
        std::filesystem::copy_file(std::filesystem::canonical("/usr/bin/pacat"), program);
        return program;
    }
    [[nodiscard]] std::string printed() const { return output_.text(); }
    /// What the command answers once the server counts as many users.
    std::string askWhile(std::size_t users) {
        test::SessionAudio audio;
        const ProcProcessRegistry processes;
        const PipeWireAudioObjects objects{audio.server, processes};
        EXPECT_TRUE(waitUntil(audio.loop, [&] {
            std::size_t recording = 0;
            for (const AudioObjectID id :
                 objects.processes().value_or(std::vector<AudioObjectID>{})) {
                recording += objects.isRunningInput(id).value_or(false) ? 1U : 0U;
            }
            return recording == users;
        }));
        EventLoop own;
        PosixFileManager files;
        EXPECT_TRUE(
            (WhoCommand{own, files, /*once=*/true, output_.stream(), output_.stream()}.run()));
        return printed();
    }

    test::TemporaryFolder folder_;
    test::OutputCapture output_;
};

TEST_F(WhoCommandTest, SaysThatNobodyIsThere) {
    EXPECT_EQ(askWhile(0), "Nobody uses the microphone.\n");
}

TEST_F(WhoCommandTest, NamesAnUnknownProgram) {
    const ChildProcess program{
        programNamed("unheard-of"), {"unheard-of", "--record", "--raw", "/dev/null"}};
    EXPECT_EQ(
        askWhile(1),
        fmt::format(
            "unheard-of, pid {}: not a call, because it is not a known call program, and other "
            "programs are switched off in the settings\n",
            program.pid()));
}

TEST_F(WhoCommandTest, NamesTheSiteOfAMeetingButNotItsTitle) {
    const ChildProcess program{
        programNamed("firefox"),
        {"firefox", "--record", "--raw", "--stream-name=Salary of Jo - Google Meet", "/dev/null"}};
    EXPECT_EQ(
        askWhile(1),
        fmt::format(
            "Firefox (org.mozilla.firefox), pid {}, meet.google.com: a call after 5 s\n",
            program.pid()));
}

TEST_F(WhoCommandTest, NamesAProgramThatIsNeverInACallAsItsUserKnowsIt) {
    const ChildProcess program{programNamed("obs"), {"obs", "--record", "--raw", "/dev/null"}};
    EXPECT_EQ(
        askWhile(1),
        fmt::format(
            "OBS Studio (com.apple.replayd), pid {}: not a call, because it is known to use the "
            "microphone without being in a call\n",
            program.pid()));
}

TEST_F(WhoCommandTest, SaysSoWhereNoServerCanTell) {
    const test::EnvironmentVariable nowhere{"XDG_RUNTIME_DIR", folder_.path().c_str()};
    EventLoop loop;
    PosixFileManager files;
    EXPECT_FALSE(
        (WhoCommand{loop, files, /*once=*/true, output_.stream(), output_.stream()}.run()));
    EXPECT_THAT(printed(), HasSubstr("sound server: none answers"));
}

TEST_F(WhoCommandTest, TellsSoundThatGoesThroughPulseAudioFromNobody) {
    const auto server = folder_.path() / "pulseaudio";
    std::filesystem::copy_file("/bin/sleep", server);
    const ChildProcess pulseAudio{server, {server, "600"}};
    std::filesystem::create_directories(folder_.path() / "pulse");
    std::ofstream{folder_.path() / "pulse" / "pid"} << pulseAudio.pid() << '\n';
    const test::EnvironmentVariable elsewhere{"XDG_RUNTIME_DIR", folder_.path().c_str()};
    const ProcProcessRegistry registry;
    ASSERT_TRUE(waitFor([&] { return registry.runsFileNamed(pulseAudio.pid(), "pulseaudio"); }));
    EventLoop loop;
    PosixFileManager files;
    EXPECT_FALSE(
        (WhoCommand{loop, files, /*once=*/true, output_.stream(), output_.stream()}.run()));
    EXPECT_THAT(printed(), HasSubstr("sound goes through PulseAudio, not PipeWire"));
    EXPECT_THAT(printed(), Not(HasSubstr("Nobody")));
}

} // namespace
} // namespace brindle
