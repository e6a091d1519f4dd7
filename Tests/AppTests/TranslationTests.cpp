// Whatever the user reads is said in the user's language, and whatever is kept is said in English.
#include "AppTests/ShellFixture.hpp"
#include "BrindleRecorderApp/Shell/AppIconState.hpp"
#include "BrindleRecorderApp/Shell/FirstRunWindow.hpp"
#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"
#include "BrindleRecorderApp/Shell/MenuContent.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderApp/Words/SetupTexts.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "Support/AppScene.hpp"
#include "Support/MarkedLanguage.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <variant>

namespace brindle {
namespace {

using test::MarkedLanguage;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr const char* ownName = "Brindle Recorder";

/// Texts that are a name and nothing else.
bool isAName(const std::string& text) {
    static const std::set<std::string> names = [] {
        std::set<std::string> all{
            "Integrated Camera", "Integrated Microphone", ownName,
            test::AppScene::headset.localizedName};
        for (const CallAppFamily& family : CallCatalog::allFamilies()) {
            if (family.id != CallCatalog::otherApps().id) {
                all.insert(family.name);
            }
        }
        return all;
    }();
    return names.contains(text);
}

bool isSaid(const std::string& text) {
    // What is chosen or set up, and what is still missing, has a mark in front in every language.
    std::string words = text;
    for (const std::string_view mark : {"✓ ", "○ "}) {
        words = words.starts_with(mark) ? words.substr(mark.size()) : words;
    }
    return MarkedLanguage::said(words) || isAName(words);
}

/// What the desktop calls its own things is handed to the application in the user's language.
bool isTheDesktops(const std::string& id) {
    return id.ends_with(".hint") || id == "login.approval";
}

void expectSaid(const Menu& menu) {
    for (const MenuItem& item : menu) {
        if (isTheDesktops(item.id)) {
            continue;
        }
        if (const auto* text = item.asText()) {
            EXPECT_TRUE(isSaid(text->text)) << item.id << ": " << text->text;
        } else if (const auto* toggle = item.asToggle()) {
            EXPECT_TRUE(isSaid(toggle->title)) << item.id << ": " << toggle->title;
        } else if (const auto* button = std::get_if<MenuItem::Button>(&item.value)) {
            EXPECT_TRUE(isSaid(button->title)) << item.id << ": " << button->title;
        } else if (const auto* submenu = item.asSubmenu()) {
            EXPECT_TRUE(isSaid(submenu->title)) << item.id << ": " << submenu->title;
            expectSaid(submenu->items);
        }
    }
}

class TranslatedShell : protected MarkedLanguage, public test::ShellFixture {
  protected:
    TranslatedShell() {
        workspace.installed["com.tamsworth.brindlecontent"] = "/Applications/Content.app";
    }
    void expectMenuSaid() {
        MenuContent content{model, environment};
        settle();
        content.menuWillOpen();
        expectSaid(content.menu());
        const auto icon = menuBarIconState(model, model.permissions);
        const auto title = MenuBarIconRenderer::accessibilityDescription(icon);
        EXPECT_TRUE(MarkedLanguage::said(title)) << title;
    }
};

TEST_F(TranslatedShell, TheMenuAtRest) {
    expectMenuSaid();
}

TEST_F(TranslatedShell, TheMenuWithTroubleOfEverySort) {
    model.permissions.refresh();
    capture.removeDevice("cam-1");
    capture.removeDevice("mic-1");
    model.devices.refresh();
    windows.permitted = false;
    loginItems.failWith("no");
    model.launchAtLogin.set(true);
    setCamera(AuthorizationStatus::denied);
    model.refreshStatusLine();
    expectMenuSaid();
}

TEST_F(TranslatedShell, TheMenuWhileTheUserIsAsked) {
    beAsked();
    expectMenuSaid();
}

TEST_F(TranslatedShell, TheMenuWhileItRecordsAndOfACallThatItLeavesAlone) {
    record();
    expectMenuSaid();
    model.stopRecordingFromMenu();
    settle();
    launch();
    zoomTakesTheMicrophone();
    runFor(10);
    model.stopRecordingFromMenu();
    settle();
    ASSERT_TRUE(model.sessionState.get().isArmed());
    expectMenuSaid();
}

TEST_F(TranslatedShell, TheQuestionAndItsButtons) {
    beAsked();
    ASSERT_THAT(notifications.posted, SizeIs(1));
    EXPECT_TRUE(MarkedLanguage::said(notifications.posted[0].title));
    EXPECT_TRUE(MarkedLanguage::said(notifications.posted[0].body));
    model.notifier.postRecording("a call");
    ASSERT_THAT(notifications.categories, SizeIs(2));
    for (const auto& category : notifications.categories) {
        for (const auto& action : category.actions) {
            EXPECT_TRUE(MarkedLanguage::said(action.title)) << action.title;
        }
    }
}

TEST_F(TranslatedShell, TheWindowOfTheFirstLaunch) {
    setCamera(AuthorizationStatus::denied);
    FirstRunWindow window{statusItem, model.permissions};
    window.show();
    const auto& content = statusItem.windows.at(0)->content;
    EXPECT_TRUE(MarkedLanguage::said(content.title));
    for (const auto& block : content.blocks) {
        if (const auto* heading = std::get_if<SetupWindowContent::Heading>(&block)) {
            EXPECT_EQ(heading->text, ownName);
        } else if (const auto* paragraph = std::get_if<SetupWindowContent::Paragraph>(&block)) {
            EXPECT_TRUE(MarkedLanguage::said(paragraph->text)) << paragraph->text;
        } else if (const auto* row = std::get_if<SetupWindowContent::Row>(&block)) {
            EXPECT_TRUE(MarkedLanguage::said(row->title)) << row->title;
            EXPECT_TRUE(MarkedLanguage::said(SetupTexts::spokenRow(row->title, !row->fixHint)));
        } else if (const auto* button = std::get_if<SetupWindowContent::DefaultButton>(&block)) {
            EXPECT_TRUE(MarkedLanguage::said(button->title)) << button->title;
        }
    }
}

using namespace std::chrono_literals;

/// The whole application, with what it writes.
class TranslatedApp : protected MarkedLanguage, public testing::Test, protected test::AppScene {
  protected:
    /// The user reads the marks in all of these, and in no file.
    void expectNoticesSaid(std::size_t count) {
        EXPECT_THAT(notices(), SizeIs(count));
        for (const std::string& notice : notices()) {
            EXPECT_TRUE(MarkedLanguage::said(notice)) << notice;
        }
        for (const std::string& name : folderContents()) {
            if (name.ends_with(".json")) {
                const auto written = sidecar(name.substr(0, name.size() - 5));
                EXPECT_THAT(written.notes, Not(Contains(testing::Truly(saidInPart)))) << name;
                EXPECT_FALSE(saidInPart(written.callName.value_or("")));
                EXPECT_FALSE(saidInPart(written.videoDevice + written.audioDevice));
            }
        }
        EXPECT_THAT(linesAbout(""), Not(Contains(testing::Truly(saidInPart))));
        EXPECT_THAT(systemLog.lines(), Not(Contains(testing::Truly(saidInPart))));
    }
};

TEST_F(TranslatedApp, ARecordingThatGoesOnInANewFile) {
    recordZoomCall();
    runFor(10s);
    writingStops();
    settle();
    EXPECT_TRUE(said(model().captureWarning.get().value_or("")));
    expectNoticesSaid(1);
    EXPECT_THAT(sidecar(firstBaseName).notes, SizeIs(1));
}

TEST_F(TranslatedApp, ACameraThatSomebodyElseHas) {
    capture.setHolder(builtInCamera.uniqueID, CameraHolder{});
    recordZoomCall();
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre("Another program is using the camera; recording sound only."));
    EXPECT_EQ(statusLine(), "⟦Recording 00:00 — zoom.us — ⟦none⟧ / Integrated Microphone⟧");
    expectNoticesSaid(1);
    capture.setHolder(builtInCamera.uniqueID, std::nullopt);
    settle();
    runFor(4s);
    EXPECT_THAT(
        sidecar(firstBaseName).notes, Contains(HasSubstr("The camera is available again.")));
    expectNoticesSaid(2);
}

TEST_F(TranslatedApp, ACameraThatIsTakenInMidRecording) {
    constexpr std::int32_t pid = 7001;
    processes.bundleIDs[pid] = zoom;
    recordZoomCall();
    runFor(10s);
    capture.setOpeners(builtInCamera.uniqueID, {pid});
    capture.setHolder(builtInCamera.uniqueID, CameraHolder{.pid = pid});
    runFor(6s);
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre(HasSubstr("Capture stopped: zoom.us is using the camera.")));
    EXPECT_EQ(
        notices().front(), "⟦⟦Capture stopped: zoom.us is using the camera.⟧ Restarting capture "
                           "into a new file.⟧");
    expectNoticesSaid(2);
}

TEST_F(TranslatedApp, ACameraThatIsNotThere) {
    capture.removeDevice(builtInCamera.uniqueID);
    capture.fireDevicesChanged();
    recordZoomCall();
    EXPECT_THAT(
        sidecar(firstBaseName).notes, ElementsAre("No camera was available; recorded audio only."));
    expectNoticesSaid(1);
}

TEST_F(TranslatedApp, AConversionThatFails) {
    recordZoomCall();
    runFor(10s);
    exporter().script().canBeMade = false;
    zoomReleasesTheMicrophone();
    runFor(21s);
    EXPECT_THAT(
        sidecar(firstBaseName).notes,
        ElementsAre(HasSubstr("MP4 conversion failed (Converting to MP4 failed: ")));
    expectNoticesSaid(1);
}

TEST(TranslatedWords, SayEveryFailure) {
    const MarkedLanguage language;
    for (const RecorderError& error :
         {RecorderError::sessionRuntimeFailure("x"), RecorderError::cameraTaken("x"),
          RecorderError::cameraTaken(std::nullopt), RecorderError::remuxFailed("x"),
          RecorderError::recordingStoppedUnexpectedly("x"), RecorderError::stalled(10),
          RecorderError::alreadyRecording(), RecorderError::notRecording(),
          RecorderError::noInputsAvailable(), RecorderError::cannotAddVideoInput(),
          RecorderError::cannotAddAudioInput(), RecorderError::cannotAddOutput(),
          RecorderError::noFramesReceived()}) {
        EXPECT_TRUE(MarkedLanguage::said(error.userMessage())) << error.userMessage();
        const auto kept = error.userMessage(Language::english());
        EXPECT_FALSE(MarkedLanguage::saidInPart(kept)) << kept;
    }
}

TEST(TranslatedWords, SayEveryMessageAboutRecordings) {
    const MarkedLanguage language;
    using Messages = RecordingMessages;
    for (const std::string& text :
         {Messages::noDiskSpace(), Messages::microphoneDenied(), Messages::nothingOpened(),
          Messages::cameraIsBack(), Messages::nothingReopened(),
          Messages::fallbackUsed("camera", "microphone", std::nullopt),
          Messages::fallbackUsed(std::nullopt, "microphone", std::nullopt),
          Messages::fallbackUsed(std::nullopt, "microphone", "note"), Messages::keptAsMov("a"),
          Messages::lost("a"), Messages::restarting("a"), Messages::stoppedAt("09:30", "a"),
          Messages::problemAt("09:30", "a", "b"), Messages::problemAt("09:30", "a", std::nullopt),
          Messages::recovered(1), Messages::recovered(2), StatusText::noCamera(),
          StatusText::noMicrophone(), StatusText::displayName(CallSource::manual())}) {
        EXPECT_TRUE(MarkedLanguage::said(text)) << text;
    }
}

} // namespace
} // namespace brindle
