#include "BrindleRecorderCore/Recordings/MenuBarIconState.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

const auto idle = MenuBarIconState::idle();
const auto recording = MenuBarIconState::recording();
const auto setupError =
    MenuBarIconState::error("Setup needs attention (see Permissions and Setup)");
const std::string idleLine = "Waiting for a call";

struct MappingCase {
    bool recording;
    std::optional<std::string> recordingError;
    bool setupProblem;
    MenuBarIconState expected;
};

TEST(MenuBarIconStateMapper, RanksRecordingAboveItsErrorAboveTheSetup) {
    const MappingCase cases[] = {
        {false, std::nullopt, false, idle},
        {false, std::nullopt, true, setupError},
        {false, "x", false, MenuBarIconState::error("x")},
        {false, "x", true, MenuBarIconState::error("x")},
        {true, std::nullopt, false, recording},
        {true, std::nullopt, true, recording},
        {true, "x", false, recording},
        {true, "x", true, recording},
        {false, "", true, MenuBarIconState::error("")},
    };
    for (const auto& [isRecording, recordingError, setupProblem, expected] : cases) {
        SCOPED_TRACE(
            testing::Message() << isRecording << recordingError.value_or("-") << setupProblem);
        EXPECT_EQ(
            MenuBarIconStateMapper::state(isRecording, recordingError, setupProblem), expected);
    }
}

TEST(MenuBarIconStateMapper, SetupProblemBecomesTheStatusLine) {
    const auto state = MenuBarIconStateMapper::state(false, std::nullopt, true);
    EXPECT_EQ(
        MenuBarIconStateMapper::statusLine(state, idleLine),
        "Error: Setup needs attention (see Permissions and Setup)");
}

TEST(MenuBarIconStateMapper, LeavesTheCallersLineAloneWithoutAnError) {
    EXPECT_EQ(MenuBarIconStateMapper::statusLine(idle, idleLine), idleLine);
    EXPECT_EQ(MenuBarIconStateMapper::statusLine(recording, idleLine), idleLine);
    EXPECT_EQ(MenuBarIconStateMapper::statusLine(recording, ""), "");
}

TEST(MenuBarIconState, MovesOnlyWhileRecording) {
    EXPECT_TRUE(recording.isAnimated());
    EXPECT_FALSE(idle.isAnimated());
    EXPECT_FALSE(setupError.isAnimated());
}

TEST(MenuBarIconState, ComparesCasesAndMessages) {
    EXPECT_EQ(MenuBarIconState::error("a"), MenuBarIconState::error("a"));
    EXPECT_NE(MenuBarIconState::error("a"), MenuBarIconState::error("b"));
    EXPECT_NE(idle, recording);
    EXPECT_NE(idle, MenuBarIconState::error(""));
    EXPECT_TRUE(idle.isIdle());
    EXPECT_FALSE(recording.isIdle());
    EXPECT_EQ(idle.errorMessage(), nullptr);
    EXPECT_EQ(*setupError.errorMessage(), "Setup needs attention (see Permissions and Setup)");
}

} // namespace
} // namespace brindle
