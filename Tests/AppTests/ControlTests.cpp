#include "BrindleRecorderApp/Shell/Control.hpp"

#include "AppTests/ShellFixture.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "Support/FakeControlPort.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

using Kind = ControlCommand::Kind;
using State = ProgramStatus::State;
using testing::SizeIs;

class ControlTest : public test::ShellFixture {
  protected:
    test::FakeControlPort port_;
    MenuContent menu_{model, environment};
    std::optional<Control> control_{std::in_place, model, menu_, loop, port_};
};

TEST_F(ControlTest, TellsAtOnceWhatGoesOn) {
    ASSERT_THAT(port_.statuses, SizeIs(1));
    EXPECT_EQ(
        port_.status(), (ProgramStatus{
                            .state = State::idle,
                            .line = "Idle — watching for calls",
                            .call = {},
                            .camera = "Integrated Camera",
                            .microphone = "Integrated Microphone",
                            .warning = {},
                            .problem = {},
                            .question = {},
                            .folder = "/home/user/Movies/Brindle"}));
}

TEST_F(ControlTest, TellsOfARecording) {
    record();
    EXPECT_EQ(port_.status().state, State::recording);
    EXPECT_EQ(port_.status().call, "Manual recording");
    EXPECT_EQ(
        port_.status().line,
        "Recording 00:00 — Manual recording — Integrated Camera / Integrated Microphone");
}

TEST_F(ControlTest, TellsOnceOfAllThatIsPublishedTogether) {
    test::publish(model.statusLine, "another");
    test::publish(model.captureWarning, "something");
    settle();
    ASSERT_THAT(port_.statuses, SizeIs(2));
    EXPECT_EQ(port_.status().line, "another");
    EXPECT_EQ(port_.status().warning, "something");
}

TEST_F(ControlTest, TellsOfTroubleAsTheIconShowsIt) {
    setCamera(AuthorizationStatus::denied);
    settle();
    EXPECT_EQ(port_.status().problem, "Setup needs attention (see Permissions and Setup)");
    EXPECT_EQ(port_.status().line, "Error: Setup needs attention (see Permissions and Setup)");
}

TEST_F(ControlTest, TellsOfDevicesThatComeAndGo) {
    capture.addCamera({"cam-2", "Desk Camera", false});
    model.settings.preferredVideoDeviceID.set("cam-2");
    model.devices.refresh();
    settle();
    EXPECT_EQ(port_.status().camera, "Desk Camera");
}

TEST_F(ControlTest, RecordsStopsAndDiscardsAsTheMenuDoes) {
    EXPECT_TRUE(port_.ask(Kind::record));
    settle();
    EXPECT_TRUE(model.sessionState.get().isRecording());
    EXPECT_TRUE(port_.ask(Kind::stop));
    settle();
    EXPECT_FALSE(model.sessionState.get().isRecording());

    EXPECT_TRUE(port_.ask(Kind::record));
    settle();
    EXPECT_TRUE(port_.ask(Kind::discard));
    settle();
    EXPECT_FALSE(model.sessionState.get().isRecording());
}

TEST_F(ControlTest, DoesNothingThatTheMenuDoesNotOffer) {
    EXPECT_FALSE(port_.ask(Kind::stop));
    EXPECT_FALSE(port_.ask(Kind::discard));
    EXPECT_FALSE(port_.ask(Kind::answerRecord));
    EXPECT_FALSE(port_.ask(Kind::answerSkip, "us.zoom.xos#1"));
    record();
    EXPECT_FALSE(port_.ask(Kind::record));
}

TEST_F(ControlTest, AnswersTheQuestionThatIsNamed) {
    beAsked();
    EXPECT_EQ(port_.status().state, State::asking);
    ASSERT_TRUE(port_.status().question);
    EXPECT_FALSE(port_.ask(Kind::answerRecord, *port_.status().question + "0"));
    EXPECT_TRUE(model.pendingAskLabel.get());
    EXPECT_TRUE(port_.ask(Kind::answerRecord, *port_.status().question));
    settle();
    EXPECT_EQ(port_.status().state, State::recording);
    EXPECT_EQ(port_.status().call, "zoom.us");
    EXPECT_EQ(port_.status().question, std::nullopt);
}

TEST_F(ControlTest, LeavesACallAlone) {
    beAsked();
    EXPECT_TRUE(port_.ask(Kind::answerSkip, *port_.status().question));
    settle();
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_EQ(port_.status().question, std::nullopt);
}

TEST_F(ControlTest, OpensTheFolderAndQuits) {
    EXPECT_TRUE(port_.ask(Kind::openFolder));
    EXPECT_THAT(workspace.openedFolders, SizeIs(1));
    bool isAsked = false;
    model.onQuitRequest = [&isAsked] {
        isAsked = true;
    };
    EXPECT_TRUE(port_.ask(Kind::quit));
    EXPECT_TRUE(isAsked);
}

TEST_F(ControlTest, ShowsTheMenuWhereThatCanBeDone) {
    EXPECT_FALSE(port_.ask(Kind::show)) << "this one has nothing to show it with";
    bool canBeShown = true;
    int times = 0;
    control_.emplace(model, menu_, loop, port_, [&] {
        ++times;
        return canBeShown;
    });
    EXPECT_TRUE(port_.ask(Kind::show));
    canBeShown = false;
    EXPECT_FALSE(port_.ask(Kind::show));
    EXPECT_EQ(times, 2);
}

TEST_F(ControlTest, TakesNoCommandsOnceItIsGone) {
    control_.reset();
    EXPECT_FALSE(port_.ask(Kind::record));
}

} // namespace
} // namespace brindle
