#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"

#include "BrindleRecorderApp/Settings.hpp"
#include "Support/FakeStatusItem.hpp"
#include "Support/FakeWindowList.hpp"
#include "Support/InMemoryDefaultsStore.hpp"
#include "Support/ScriptedCaptureSystem.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

using Content = SetupWindowContent;

class FirstRunWindowTest : public testing::Test {
  protected:
    test::ScriptedCaptureSystem capture_;
    test::FakeWindowList windowList_;
    PermissionsModel permissions_{capture_, windowList_};
    test::FakeStatusItem statusItem_;
    test::InMemoryDefaultsStore store_;
    Settings settings_{store_};
    std::optional<FirstRunWindow> window_{std::in_place, statusItem_, permissions_};

    /// What the rows of the only window say; "done" for a row without a hint.
    std::vector<std::string> rows() {
        std::vector<std::string> rows;
        for (const auto& block : statusItem_.windows.at(0)->content.blocks) {
            if (const auto* row = std::get_if<Content::Row>(&block)) {
                rows.push_back(row->fixHint.value_or("done"));
            }
        }
        return rows;
    }
    void setCamera(AuthorizationStatus status) {
        capture_.setAuthorizationStatus(MediaType::video, status);
        permissions_.refresh();
    }
};

const std::string cameraHint =
    "System Settings > Privacy & Security > Camera > enable Brindle Recorder.";
const std::string windowTitlesHint =
    "Optional: System Settings > Privacy & Security > Screen & System Audio Recording > enable "
    "Brindle Recorder.";

TEST_F(FirstRunWindowTest, SaysWhatTheProgramDoesAndWhatIsMissing) {
    setCamera(AuthorizationStatus::denied);
    window_->show();
    ASSERT_THAT(statusItem_.windows, SizeIs(1));
    const Content& content = statusItem_.windows[0]->content;
    EXPECT_EQ(content.title, "Brindle Recorder Setup");
    EXPECT_THAT(
        content.blocks,
        ElementsAre(
            VariantWith<Content::Heading>(Content::Heading{"Brindle Recorder"}),
            VariantWith<Content::Paragraph>(Content::Paragraph{
                "Brindle Recorder notices when a call app (Zoom, Teams, Meet, Slack, FaceTime and "
                "more) is using your microphone and records your camera and microphone while the "
                "call lasts. It records you only — never other participants, never your screen. "
                "You can also start and stop it from the menu bar."}),
            VariantWith<Content::Note>(Content::Note{
                "Optional: allow Screen & System Audio Recording to let it read window titles, so "
                "browser calls are recognised faster."}),
            VariantWith<Content::Divider>(Content::Divider{}),
            VariantWith<Content::Row>(Content::Row{"Camera access", cameraHint}),
            VariantWith<Content::Row>(Content::Row{"Microphone access", std::nullopt}),
            VariantWith<Content::Row>(
                Content::Row{"Window titles (optional: spot browser calls faster)", std::nullopt}),
            VariantWith<Content::DefaultButton>(Content::DefaultButton{"Done"})));
}

TEST_F(FirstRunWindowTest, ShowingTwiceYieldsOneWindow) {
    window_->show();
    window_->show();
    ASSERT_THAT(statusItem_.windows, SizeIs(1));
    EXPECT_EQ(statusItem_.windows[0]->timesBroughtToFront, 2);
    EXPECT_FALSE(statusItem_.windows[0]->isGone);
}

TEST_F(FirstRunWindowTest, MakesNoWindowUntilItIsShown) {
    setCamera(AuthorizationStatus::denied);
    EXPECT_THAT(statusItem_.windows, IsEmpty());
}

TEST_F(FirstRunWindowTest, FollowsThePermissionsWhileItIsOpen) {
    setCamera(AuthorizationStatus::denied);
    window_->show();
    EXPECT_THAT(rows(), ElementsAre(cameraHint, "done", "done"));
    setCamera(AuthorizationStatus::authorized);
    EXPECT_THAT(rows(), ElementsAre("done", "done", "done"));
    EXPECT_EQ(statusItem_.windows[0]->timesBroughtToFront, 1) << "without pushing itself forward";
}

TEST_F(FirstRunWindowTest, AsksAfreshAboutWindowTitlesWhenShownAgain) {
    window_->show();
    windowList_.permitted = false;
    window_->show();
    EXPECT_THAT(rows(), ElementsAre("done", "done", windowTitlesHint));
}

TEST_F(FirstRunWindowTest, IsShownOnTheFirstLaunchOnly) {
    window_->showOnFirstLaunch(settings_);
    ASSERT_THAT(statusItem_.windows, SizeIs(1));
    EXPECT_EQ(statusItem_.windows[0]->timesBroughtToFront, 1);
    EXPECT_EQ(store_.boolean("hasShownFirstRunWindow"), true);
    window_->showOnFirstLaunch(settings_);
    EXPECT_EQ(statusItem_.windows[0]->timesBroughtToFront, 1);
}

TEST_F(FirstRunWindowTest, IsNotShownWhenAnEarlierRunHasShownIt) {
    store_.values["hasShownFirstRunWindow"] = true;
    Settings settings{store_};
    window_->showOnFirstLaunch(settings);
    EXPECT_THAT(statusItem_.windows, IsEmpty());
    EXPECT_THAT(store_.writtenKeys, IsEmpty());
}

TEST_F(FirstRunWindowTest, EndsWithTheProgram) {
    window_->show();
    window_.reset();
    EXPECT_TRUE(statusItem_.windows[0]->isGone);
    setCamera(AuthorizationStatus::denied);
}

} // namespace
} // namespace brindle
