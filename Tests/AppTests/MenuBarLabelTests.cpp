#include "BrindleRecorderApp/Shell/MenuBarLabel.hpp"

#include "AppTests/ShellFixture.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

class MenuBarLabelTest : public test::ShellFixture {
  protected:
    void make() { label_.emplace(model, environment, statusItem); }
    const std::string& description() { return statusItem.icon().accessibilityDescription; }
    double dotAlpha() {
        return std::get<IconImage::FillCircle>(statusItem.icon().operations.back()).colour.alpha;
    }
    IconColour glyphColour() {
        return std::get<IconImage::StrokeCircle>(statusItem.icon().operations.at(1)).colour;
    }
    MenuBarIconState state() { return menuBarIconState(model, model.permissions); }

    std::optional<MenuBarLabel> label_;
};

TEST_F(MenuBarLabelTest, TheStateIsThatOfTheApplication) {
    EXPECT_EQ(state(), MenuBarIconState::idle());
    setCamera(AuthorizationStatus::denied);
    EXPECT_EQ(
        state(), MenuBarIconState::error("Setup needs attention (see Permissions and Setup)"));
    test::publish(model.lastRecordingError, "Not enough free disk space.");
    EXPECT_EQ(state(), MenuBarIconState::error("Not enough free disk space."));
    record();
    test::publish(model.lastRecordingError, "Problem in the running recording.");
    EXPECT_EQ(state(), MenuBarIconState::recording());
}

TEST_F(MenuBarLabelTest, WindowTitlesThatMayNotBeReadAreNoProblem) {
    windows.permitted = false;
    EXPECT_EQ(state(), MenuBarIconState::idle());
}

TEST_F(MenuBarLabelTest, ShowsTheIconAtOnce) {
    make();
    EXPECT_EQ(statusItem.icons.size(), 1U);
    EXPECT_EQ(description(), "Brindle Recorder: idle");
}

TEST_F(MenuBarLabelTest, FollowsTheApplication) {
    make();
    setCamera(AuthorizationStatus::denied);
    settle();
    EXPECT_EQ(
        description(),
        "Brindle Recorder: error, Setup needs attention (see Permissions and Setup)");
    setCamera(AuthorizationStatus::authorized);
    test::publish(model.lastRecordingError, "Not enough free disk space.");
    settle();
    EXPECT_EQ(description(), "Brindle Recorder: error, Not enough free disk space.");
    record();
    EXPECT_EQ(description(), "Brindle Recorder: recording");
    model.stopRecordingFromMenu();
    settle();
    EXPECT_EQ(description(), "Brindle Recorder: idle");
}

TEST_F(MenuBarLabelTest, FollowsTheMicrophonePermission) {
    make();
    capture.setAuthorizationStatus(MediaType::audio, AuthorizationStatus::denied);
    model.permissions.refresh();
    settle();
    EXPECT_EQ(
        description(),
        "Brindle Recorder: error, Setup needs attention (see Permissions and Setup)");
}

TEST_F(MenuBarLabelTest, PulsesWhileRecordingOnly) {
    make();
    loop.advance(std::chrono::seconds{1});
    EXPECT_EQ(statusItem.icons.size(), 1U);
    EXPECT_EQ(loop.pendingTimers(), 0U) << "an idle icon costs nothing";
    record();
    const auto shown = statusItem.icons.size();
    loop.advance(std::chrono::seconds{1});
    EXPECT_GE(statusItem.icons.size(), shown + 11);
    double least = 1;
    for (auto icon = statusItem.icons.begin() + static_cast<std::ptrdiff_t>(shown);
         icon != statusItem.icons.end(); ++icon) {
        least =
            std::min(least, std::get<IconImage::FillCircle>(icon->operations.back()).colour.alpha);
    }
    EXPECT_LT(least, 0.4);
    model.stopRecordingFromMenu();
    settle();
    const auto afterwards = statusItem.icons.size();
    loop.advance(std::chrono::seconds{1});
    EXPECT_EQ(statusItem.icons.size(), afterwards);
}

TEST_F(MenuBarLabelTest, SwitchingReducedMotionOnWhileRecordingDrawsASteadyDotAtOnce) {
    make();
    record();
    loop.advance(std::chrono::milliseconds{500});
    ASSERT_LT(dotAlpha(), 1);
    const auto timers = loop.pendingTimers();
    workspace.setReducesMotion(true);
    EXPECT_EQ(dotAlpha(), 1);
    EXPECT_EQ(loop.pendingTimers(), timers - 1);
    const auto shown = statusItem.icons.size();
    loop.advance(std::chrono::seconds{1});
    EXPECT_EQ(statusItem.icons.size(), shown);
    EXPECT_EQ(description(), "Brindle Recorder: recording");
}

TEST_F(MenuBarLabelTest, FollowsTheAppearanceOfThePanel) {
    make();
    EXPECT_EQ(glyphColour(), (IconColour{0, 0, 0, 1}));
    workspace.setAppearance(Appearance::dark);
    EXPECT_EQ(glyphColour(), (IconColour{1, 1, 1, 1}));
}

TEST_F(MenuBarLabelTest, DoesNotShowTheSameIconTwice) {
    make();
    workspace.setAppearance(Appearance::light);
    test::publish(model.lastRecordingError, "Problem");
    test::publish(model.lastRecordingError, std::nullopt);
    settle();
    EXPECT_EQ(statusItem.icons.size(), 1U);
}

TEST_F(MenuBarLabelTest, LeavesNothingBehind) {
    make();
    record();
    label_.reset();
    EXPECT_EQ(workspace.motionListeners(), 0U);
    EXPECT_EQ(workspace.appearanceListeners(), 0U);
    const auto shown = statusItem.icons.size();
    test::publish(model.lastRecordingError, "Problem");
    loop.advance(std::chrono::seconds{1});
    EXPECT_EQ(statusItem.icons.size(), shown);
}

} // namespace
} // namespace brindle
