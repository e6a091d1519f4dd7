#include "BrindleRecorderApp/Calls/WhoWatch.hpp"

#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeProcessRegistry.hpp"
#include "Support/FakeWindowList.hpp"
#include "Support/ManualMainLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class WhoWatchTest : public testing::Test {
  protected:
    static constexpr AudioObjectID browser = 1;

    WhoWatchTest() {
        audio.setCanListProcesses(true);
        audio.setProcess(
            browser, {.runningInput = false, .pid = 12, .bundleID = "com.google.Chrome"});
    }

    void record(bool running) {
        audio.setRunningInput(browser, running);
        audio.fireRunningInput(browser);
    }

    test::ManualMainLoop loop;
    test::FakeAudioObjects audio;
    test::FakeProcessRegistry processes;
    test::FakeWindowList windows;
    MicActivityMonitor monitor{audio, processes, windows};
    std::vector<std::vector<std::string>> shown;
    WhoWatch::Show show = [this](const std::vector<std::string>& lines) {
        shown.push_back(lines);
    };
};

TEST_F(WhoWatchTest, AnswersAtOnce) {
    const WhoWatch watch{loop, monitor, {}, show};
    EXPECT_THAT(shown, ElementsAre(ElementsAre("Nobody uses the microphone.")));
}

TEST_F(WhoWatchTest, AnswersAgainWhenSomebodyBeginsAndEnds) {
    const WhoWatch watch{loop, monitor, {}, show};
    record(true);
    record(false);
    EXPECT_THAT(
        shown, ElementsAre(
                   ElementsAre("Nobody uses the microphone."), ElementsAre(HasSubstr("pid 12")),
                   ElementsAre("Nobody uses the microphone.")));
}

TEST_F(WhoWatchTest, SaysNothingWhileTheAnswerIsTheSame) {
    const WhoWatch watch{loop, monitor, {}, show};
    audio.fireRunningInput(browser);
    loop.advance(1min);
    EXPECT_THAT(shown, SizeIs(1));
}

TEST_F(WhoWatchTest, NoticesAMeetingInAWindowTitleThatNobodyTellsOf) {
    record(true);
    const WhoWatch watch{loop, monitor, {}, show};
    windows.records = {{{std::nullopt, "com.google.Chrome", "Standup | Jitsi Meet"}}};
    loop.advance(10s);
    EXPECT_THAT(
        shown,
        ElementsAre(ElementsAre(HasSubstr("no meeting")), ElementsAre(HasSubstr("meet.jit.si"))));
}

TEST_F(WhoWatchTest, NamesAProgramAsTheDesktopDoes) {
    processes.bundleIDs[33] = "com.apple.replayd";
    processes.programNames[33] = "OBS Studio";
    audio.setProcess(2, {.runningInput = true, .pid = 33, .bundleID = "com.apple.replayd"});
    EXPECT_THAT(
        WhoWatch::answer(monitor, {}), ElementsAre(HasSubstr("OBS Studio (com.apple.replayd)")));
}

TEST_F(WhoWatchTest, DoesNotNameASandboxedProgramAfterTheProcessThatSpeaksForIt) {
    processes.bundleIDs[33] = "com.apple.replayd";
    processes.programNames[33] = "OBS Studio";
    EXPECT_EQ(monitor.programName({"com.apple.replayd", 33}), "OBS Studio");
    EXPECT_EQ(monitor.programName({"org.example.Box", 33}), std::nullopt);
    EXPECT_EQ(monitor.programName({"com.apple.replayd", -1}), std::nullopt);
}

TEST_F(WhoWatchTest, LeavesNothingBehind) {
    { const WhoWatch watch{loop, monitor, {}, show}; }
    EXPECT_EQ(loop.pendingTimers(), 0U);
    EXPECT_EQ(audio.runningInputListeners(browser), 0U);
    EXPECT_FALSE(monitor.onChange);
}

} // namespace
} // namespace brindle
