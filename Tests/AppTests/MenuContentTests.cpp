#include "BrindleRecorderApp/Shell/MenuContent.hpp"

#include "AppTests/ShellFixture.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <stdexcept>

namespace brindle {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Strings = std::vector<std::string>;

/// A line as a reader of these tests sees it: "[ ]" and "[x]" toggles, "(…)" buttons, "…>"
/// submenus.
std::string inWords(const MenuItem& item) {
    if (const auto* text = item.asText()) {
        return text->text;
    }
    if (const auto* button = std::get_if<MenuItem::Button>(&item.value)) {
        return button->shortcut ? fmt::format("({} ^{})", button->title, button->shortcut->key)
                                : fmt::format("({})", button->title);
    }
    if (const auto* toggle = item.asToggle()) {
        return fmt::format("[{}] {}", toggle->isOn ? "x" : " ", toggle->title);
    }
    if (const auto* submenu = item.asSubmenu()) {
        return submenu->title + ">";
    }
    return "---";
}

Strings inWords(const Menu& menu) {
    Strings words;
    for (const auto& item : menu) {
        words.push_back(inWords(item));
    }
    return words;
}

/// Every line of the menu, submenus included.
void collect(const Menu& menu, std::vector<MenuItem>& all) {
    for (const auto& item : menu) {
        all.push_back(item);
        if (const auto* submenu = item.asSubmenu()) {
            collect(submenu->items, all);
        }
    }
}

Strings allIn(const Menu& menu) {
    std::vector<MenuItem> all;
    collect(menu, all);
    return inWords(all);
}

class MenuContentTest : public test::ShellFixture {
  protected:
    MenuContentTest() {
        workspace.installed["com.tamsworth.brindlecontent"] = "/Applications/Content.app";
        make();
    }

    void make() {
        content.emplace(model, environment);
        content->onChange = [this](const Menu& menu) {
            shown.push_back(menu);
        };
    }

    /// The menu as it is after everything that was published.
    Strings lines() {
        settle();
        return inWords(content->menu());
    }
    Strings linesOf(const std::string& submenuTitle) {
        settle();
        for (const auto& item : content->menu()) {
            const auto* submenu = item.asSubmenu();
            if (submenu != nullptr && submenu->title == submenuTitle) {
                return inWords(submenu->items);
            }
        }
        throw std::logic_error{"no submenu " + submenuTitle};
    }
    /// What stands between the rules, counted from the menu's top.
    Strings section(std::size_t index) {
        Strings words;
        for (const auto& line : lines()) {
            if (line == "---") {
                if (index-- == 0) {
                    break;
                }
                words.clear();
            } else {
                words.push_back(line);
            }
        }
        return words;
    }
    /// The line that reads so, wherever it is.
    MenuItem line(const std::string& words) {
        settle();
        std::vector<MenuItem> all;
        collect(content->menu(), all);
        for (const auto& item : all) {
            if (inWords(item) == words) {
                return item;
            }
        }
        throw std::logic_error{"no line reads " + words};
    }
    /// The user picks the line that reads so.
    void pick(const std::string& words) {
        content->activate(line(words).id);
        settle();
    }

    std::optional<MenuContent> content;
    std::vector<Menu> shown;
};

const std::string idleLine = "Idle — watching for calls";

TEST_F(MenuContentTest, ReadsFromTopToBottom) {
    EXPECT_THAT(
        lines(),
        ElementsAre(
            "(Open Brindle Content System)", "---", idleLine, "---", "Camera>", "Microphone>",
            "---", "(Record now)", "Settings>", "---", "(Open Recordings Folder)",
            "Recordings folder: 0 bytes", "---", "[ ] Launch at Login", "---",
            "Permissions and Setup>", "---", "(Quit Brindle Recorder ^q)"));
}

TEST_F(MenuContentTest, IsThereAsSoonAsItIsMade) {
    EXPECT_THAT(inWords(content->menu()), Contains("(Record now)"));
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(MenuContentTest, EveryLineHasANameOfItsOwn) {
    setCamera(AuthorizationStatus::denied);
    windows.permitted = false;
    loginItems.failWith("no");
    model.launchAtLogin.set(true);
    beAsked();
    test::publish(model.captureWarning, "careful");
    settle();
    std::vector<MenuItem> all;
    collect(content->menu(), all);
    std::set<std::string> ids;
    for (const auto& item : all) {
        EXPECT_FALSE(item.id.empty());
        EXPECT_TRUE(ids.insert(item.id).second) << item.id;
    }
}

// The status

TEST_F(MenuContentTest, TheStatusLineIsTheModels) {
    test::publish(model.statusLine, "Not recording this call");
    EXPECT_THAT(section(1), ElementsAre("Not recording this call"));
}

TEST_F(MenuContentTest, InTheErrorStateTheStatusLineIsTheErrorWhateverTheModelSays) {
    setCamera(AuthorizationStatus::denied);
    test::publish(model.statusLine, "Not recording this call");
    EXPECT_THAT(
        section(1), ElementsAre("Error: Setup needs attention (see Permissions and Setup)"));
    test::publish(model.lastRecordingError, "Not enough free disk space.");
    EXPECT_THAT(section(1), ElementsAre("Error: Not enough free disk space."));
}

TEST_F(MenuContentTest, WhileRecordingTheStatusLineIsTheModelsInSpiteOfAnError) {
    record();
    test::publish(model.lastRecordingError, "Problem");
    EXPECT_THAT(
        section(1),
        ElementsAre(
            "Recording 00:00 — Manual recording — Integrated Camera / Integrated Microphone"));
}

TEST_F(MenuContentTest, TheWarningIsThereExactlyAsLongAsTheModelHasOne) {
    test::publish(model.captureWarning, "Less than 10 GB of disk space are free.");
    EXPECT_THAT(
        section(1), ElementsAre(idleLine, "Warning: Less than 10 GB of disk space are free."));
    test::publish(model.captureWarning, std::nullopt);
    EXPECT_THAT(section(1), ElementsAre(idleLine));
}

// The record prompt

TEST_F(MenuContentTest, OffersTheAnswersOfThePromptWhileItWaits) {
    EXPECT_THAT(lines(), Not(Contains("(Record)")));
    beAsked();
    EXPECT_THAT(
        section(1),
        ElementsAre("Call detected — record it? (see notification)", "(Record)", "(Skip)"));
}

TEST_F(MenuContentTest, RecordFromThePromptRecordsAndTakesTheNotificationBack) {
    beAsked();
    pick("(Record)");
    EXPECT_TRUE(model.sessionState.get().isRecording());
    EXPECT_THAT(notifications.shown, IsEmpty());
    EXPECT_THAT(lines(), Not(Contains("(Record)")));
    EXPECT_THAT(lines(), Not(Contains("(Skip)")));
}

TEST_F(MenuContentTest, SkipFromThePromptLeavesTheCallAlone) {
    beAsked();
    pick("(Skip)");
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_THAT(notifications.shown, IsEmpty());
    EXPECT_THAT(section(1), ElementsAre(idleLine)) << "at once, not at the next pass";
    runFor(60);
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_THAT(lines(), Not(Contains("(Record)")));
}

TEST_F(MenuContentTest, TheAnswersGoWhenTheNotificationIsAnswered) {
    beAsked();
    notifications.respondToAsk(*model.pendingAskLabel.get(), Notifier::skipAction);
    EXPECT_THAT(lines(), Not(Contains("(Record)")));
}

TEST_F(MenuContentTest, TheAnswersGoWhenTheCallEnds) {
    beAsked();
    zoomReleasesTheMicrophone();
    runFor(25);
    EXPECT_THAT(lines(), Not(Contains("(Record)")));
}

TEST_F(MenuContentTest, AnAnswerMeantForAnEarlierCallDoesNothing) {
    beAsked();
    const auto earlier = line("(Record)").id;
    zoomReleasesTheMicrophone();
    runFor(25);
    zoomTakesTheMicrophone();
    runFor(6);
    ASSERT_THAT(lines(), Contains("(Record)"));
    content->activate(earlier);
    settle();
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_THAT(lines(), Contains("(Record)"));
}

TEST_F(MenuContentTest, AClickBeforeTheMenuHasFollowedNeverAnswersAnotherPrompt) {
    beAsked();
    const auto earlier = line("(Record)").id;
    test::publish(model.pendingAskLabel, "another call");
    content->activate(earlier);
    EXPECT_EQ(model.pendingAskLabel.get(), "another call");
    EXPECT_THAT(notifications.removed, IsEmpty());
}

TEST_F(MenuContentTest, AnsweringWithoutAPromptDoesNothing) {
    model.answerPendingAsk(true);
    settle();
    EXPECT_TRUE(model.sessionState.get().isIdle());
    EXPECT_THAT(notifications.removed, IsEmpty());
}

// The devices

TEST_F(MenuContentTest, ListsTheSystemDefaultAndThenEveryDevice) {
    capture.addCamera({"cam-2", "Webcam", false});
    capture.addMicrophone({"mic-2", "Headset", false});
    capture.fireDevicesChanged();
    EXPECT_THAT(
        linesOf("Camera"),
        ElementsAre("(✓ System default (Integrated Camera))", "(Integrated Camera)", "(Webcam)"));
    EXPECT_THAT(
        linesOf("Microphone"),
        ElementsAre(
            "(✓ System default (Integrated Microphone))", "(Integrated Microphone)", "(Headset)"));
}

TEST_F(MenuContentTest, NamesTheDefaultMicrophoneAmongSeveral) {
    constexpr AudioObjectID secondDevice = 2;
    capture.addMicrophone({"mic-2", "Headset", false});
    audio.setDevice(secondDevice, {.uniqueID = "mic-2"});
    audio.setDefaultInputDevice(secondDevice);
    model.devices.refresh();
    EXPECT_THAT(
        linesOf("Microphone"),
        ElementsAre("(✓ System default (Headset))", "(Integrated Microphone)", "(Headset)"));
}

TEST_F(MenuContentTest, TheSystemDefaultMayBeNone) {
    capture.setDefaultCamera(std::nullopt);
    audio.setDefaultInputDevice(std::nullopt);
    model.devices.refresh();
    EXPECT_THAT(linesOf("Camera"), ElementsAre("(✓ System default (none))", "(Integrated Camera)"));
    EXPECT_THAT(
        linesOf("Microphone"), ElementsAre("(✓ System default (none))", "(Integrated Microphone)"));
}

TEST_F(MenuContentTest, ChoosingADeviceStoresItAndChecksIt) {
    pick("(Integrated Camera)");
    EXPECT_EQ(defaults.string("preferredVideoDeviceID"), "cam-1");
    EXPECT_THAT(
        linesOf("Camera"),
        ElementsAre("(System default (Integrated Camera))", "(✓ Integrated Camera)"));
    EXPECT_THAT(linesOf("Microphone"), Contains("(✓ System default (Integrated Microphone))"));
    pick("(Integrated Microphone)");
    EXPECT_EQ(defaults.string("preferredAudioDeviceID"), "mic-1");
    EXPECT_THAT(
        linesOf("Microphone"),
        ElementsAre("(System default (Integrated Microphone))", "(✓ Integrated Microphone)"));
}

TEST_F(MenuContentTest, ChoosingTheSystemDefaultForgetsTheDevice) {
    pick("(Integrated Camera)");
    pick("(Integrated Microphone)");
    pick("(System default (Integrated Camera))");
    EXPECT_EQ(defaults.string("preferredVideoDeviceID"), std::nullopt);
    EXPECT_EQ(defaults.string("preferredAudioDeviceID"), "mic-1");
    EXPECT_THAT(linesOf("Camera"), Contains("(✓ System default (Integrated Camera))"));
    pick("(System default (Integrated Microphone))");
    EXPECT_EQ(defaults.string("preferredAudioDeviceID"), std::nullopt);
}

TEST_F(MenuContentTest, ChoosingADeviceRefreshesTheStatusLine) {
    for (const char* choice : {"(Integrated Camera)", "(Integrated Microphone)"}) {
        test::publish(model.statusLine, "out of date");
        pick(choice);
        EXPECT_EQ(model.statusLine.get(), idleLine) << choice;
    }
}

TEST_F(MenuContentTest, AChosenDeviceThatIsGoneLeavesNothingChecked) {
    pick("(Integrated Camera)");
    capture.addCamera({"cam-2", "Webcam", false});
    capture.removeDevice("cam-1");
    capture.setDefaultCamera(std::nullopt);
    capture.fireDevicesChanged();
    EXPECT_THAT(linesOf("Camera"), ElementsAre("(System default (none))", "(Webcam)"));
}

TEST_F(MenuContentTest, TwoDevicesThatAreCalledAlikeAreChosenApart) {
    capture.addCamera({"cam-2", "Integrated Camera", false});
    capture.addMicrophone({"mic-2", "Integrated Microphone", false});
    capture.fireDevicesChanged();
    settle();
    for (const std::string kind : {"Camera", "Microphone"}) {
        const bool isCamera = kind == "Camera";
        const std::string plain = fmt::format("(Integrated {})", kind);
        const std::string checked = fmt::format("(✓ Integrated {})", kind);
        const std::string systemDefault = fmt::format("(System default (Integrated {}))", kind);
        const std::string first = isCamera ? "cam-1" : "mic-1";
        const std::string second = isCamera ? "cam-2" : "mic-2";
        const std::string key = isCamera ? "preferredVideoDeviceID" : "preferredAudioDeviceID";
        const std::string item = isCamera ? "camera.device." : "microphone.device.";

        content->activate(item + second);
        EXPECT_EQ(defaults.string(key), second);
        EXPECT_THAT(linesOf(kind), ElementsAre(systemDefault, plain, checked));
        content->activate(item + first);
        EXPECT_EQ(defaults.string(key), first);
        EXPECT_THAT(linesOf(kind), ElementsAre(systemDefault, checked, plain));
    }
}

TEST_F(MenuContentTest, WithoutDevicesSaysSoAndNothingElse) {
    capture.removeDevice("cam-1");
    capture.removeDevice("mic-1");
    capture.fireDevicesChanged();
    EXPECT_THAT(linesOf("Camera"), ElementsAre("No cameras found"));
    EXPECT_THAT(linesOf("Microphone"), ElementsAre("No microphones found"));
}

// Recording

TEST_F(MenuContentTest, RecordNowGivesWayToTheStopCommands) {
    EXPECT_THAT(section(3), ElementsAre("(Record now)", "Settings>"));
    pick("(Record now)");
    EXPECT_TRUE(model.sessionState.get().isRecording());
    EXPECT_THAT(section(3), ElementsAre("(Stop recording)", "(Stop and Discard)", "Settings>"));
}

TEST_F(MenuContentTest, StopRecordingKeepsTheRecording) {
    record();
    pick("(Stop recording)");
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_TRUE(files.fileExists(folder.root / "2026-03-14_0930.mp4"));
    EXPECT_THAT(section(3), ElementsAre("(Record now)", "Settings>"));
}

TEST_F(MenuContentTest, StopAndDiscardLeavesNothing) {
    record();
    ASSERT_TRUE(files.fileExists(folder.root / "2026-03-14_0930.mov"));
    pick("(Stop and Discard)");
    EXPECT_FALSE(model.sessionState.get().isRecording());
    for (const char* extension : {".mov", ".mp4", ".json"}) {
        EXPECT_FALSE(files.fileExists(folder.root / ("2026-03-14_0930" + std::string{extension})))
            << extension;
    }
    EXPECT_THAT(section(3), ElementsAre("(Record now)", "Settings>"));
}

TEST_F(MenuContentTest, AStopThatComesTooLateStopsNothingElse) {
    record();
    const auto stop = line("(Stop recording)").id;
    model.stopRecordingFromMenu();
    content->activate(stop); // before the menu has followed
    settle();
    EXPECT_FALSE(model.sessionState.get().isRecording());
    EXPECT_THAT(section(3), ElementsAre("(Record now)", "Settings>"));
}

// Settings

TEST_F(MenuContentTest, SettingsListEveryFamilyAndTheQuestion) {
    Strings expected{"Auto-record calls in:"};
    for (const auto& family : CallCatalog::allFamilies()) {
        expected.push_back((family.id == "other" ? "[ ] " : "[x] ") + family.name);
    }
    expected.emplace_back("---");
    expected.emplace_back("[ ] Ask before recording");
    EXPECT_EQ(linesOf("Settings"), expected);
    EXPECT_THAT(expected, Contains("[x] zoom.us"));
    EXPECT_THAT(expected, Contains("[ ] Other apps using the microphone"));
}

TEST_F(MenuContentTest, AFamilyThatTheDesktopCannotHaveIsNotOfferedButItsSettingIsKept) {
    defaults.setStringArray("disabledCallFamilies", {"facetime", "other"});
    AppEnvironment desktop = environment;
    desktop.words.absentFamilies = {"facetime"};
    AppModel onIt{desktop, folder};
    const MenuContent menuOnIt{onIt, desktop};
    const auto words = allIn(menuOnIt.menu());
    EXPECT_THAT(words, Not(Contains(HasSubstr("FaceTime"))));
    EXPECT_THAT(words, Contains("[x] zoom.us"));
    onIt.setAutoRecord("zoom", false);
    EXPECT_THAT(
        defaults.stringArray("disabledCallFamilies").value(),
        ElementsAre("facetime", "other", "zoom"));
}

TEST_F(MenuContentTest, TheDesktopNamesItsOwnThings) {
    loginItems.current = LoginItemStatus::requiresApproval;
    AppEnvironment desktop = environment;
    desktop.words.loginApproval = "Ask the gatekeeper";
    AppModel onIt{desktop, folder};
    const MenuContent menuOnIt{onIt, desktop};
    EXPECT_THAT(allIn(menuOnIt.menu()), Contains("Ask the gatekeeper"));
}

TEST_F(MenuContentTest, AFamilySwitchesOffAndOn) {
    pick("[x] zoom.us");
    EXPECT_THAT(defaults.stringArray("disabledCallFamilies").value(), ElementsAre("other", "zoom"));
    EXPECT_THAT(linesOf("Settings"), Contains("[ ] zoom.us"));
    pick("[ ] zoom.us");
    EXPECT_THAT(defaults.stringArray("disabledCallFamilies").value(), ElementsAre("other"));
    EXPECT_THAT(linesOf("Settings"), Contains("[x] zoom.us"));
}

TEST_F(MenuContentTest, TheQuestionSwitchesOnAndOff) {
    pick("[ ] Ask before recording");
    EXPECT_EQ(defaults.boolean("askBeforeRecording"), true);
    pick("[x] Ask before recording");
    EXPECT_EQ(defaults.boolean("askBeforeRecording"), false);
}

// The folder

TEST_F(MenuContentTest, ShowsTheFolderAndItsSize) {
    test::publish(model.folderSizeText, "1.5 MB");
    EXPECT_THAT(section(4), ElementsAre("(Open Recordings Folder)", "Recordings folder: 1.5 MB"));
}

TEST_F(MenuContentTest, OpensTheRecordingsFolderAndMakesItAnewWhereItIsMissing) {
    files.removeTree(folder.root);
    pick("(Open Recordings Folder)");
    EXPECT_THAT(workspace.openedFolders, ElementsAre(folder.root));
    EXPECT_TRUE(files.contentsOfDirectory(folder.root).has_value());
}

// Launch at login

TEST_F(MenuContentTest, LaunchAtLoginSwitchesOnAndOff) {
    pick("[ ] Launch at Login");
    EXPECT_THAT(section(5), ElementsAre("[x] Launch at Login"));
    pick("[x] Launch at Login");
    EXPECT_THAT(section(5), ElementsAre("[ ] Launch at Login"));
    EXPECT_THAT(loginItems.calls, ElementsAre("register", "unregister"));
}

TEST_F(MenuContentTest, SaysWhyLaunchAtLoginFailed) {
    loginItems.failWith("Permission denied");
    pick("[ ] Launch at Login");
    EXPECT_THAT(
        section(5),
        ElementsAre("[ ] Launch at Login", "Launch at login failed: Permission denied"));
}

TEST_F(MenuContentTest, SaysThatLaunchAtLoginWantsApproval) {
    loginItems.afterRegistering = LoginItemStatus::requiresApproval;
    pick("[ ] Launch at Login");
    EXPECT_THAT(
        section(5),
        ElementsAre("[ ] Launch at Login", "Approve in System Settings > General > Login Items"));
}

TEST_F(MenuContentTest, AToggleThatCouldNotBeTurnedIsShownAgainAsItIs) {
    loginItems.failWith("Permission denied");
    pick("[ ] Launch at Login");
    const auto shownBefore = shown.size();
    pick("[ ] Launch at Login"); // fails in the same way
    EXPECT_THAT(shown, SizeIs(shownBefore + 1));
}

// Setup, companion and quitting

TEST_F(MenuContentTest, SetupListsTheItemsWithTheirHints) {
    EXPECT_THAT(
        linesOf("Permissions and Setup"),
        ElementsAre(
            "✓ Camera access", "✓ Microphone access",
            "✓ Window titles (optional: spot browser calls faster)"));
    windows.permitted = false;
    setCamera(AuthorizationStatus::denied);
    EXPECT_THAT(
        linesOf("Permissions and Setup"),
        ElementsAre(
            "○ Camera access",
            "System Settings > Privacy & Security > Camera > enable Brindle Recorder.",
            "✓ Microphone access", "○ Window titles (optional: spot browser calls faster)",
            "Optional: System Settings > Privacy & Security > Screen & System Audio Recording > "
            "enable Brindle Recorder."));
}

TEST_F(MenuContentTest, OpensTheCompanionApplication) {
    pick("(Open Brindle Content System)");
    EXPECT_THAT(
        workspace.openedApplications,
        ElementsAre(std::filesystem::path{"/Applications/Content.app"}));
}

TEST_F(MenuContentTest, WithoutTheCompanionApplicationTheMenuBeginsWithTheStatus) {
    workspace.installed.clear();
    make();
    EXPECT_THAT(section(0), ElementsAre(idleLine));
    EXPECT_EQ(lines().front(), idleLine);
}

TEST_F(MenuContentTest, FindsTheCompanionApplicationThatWasInstalledSince) {
    workspace.installed.clear();
    make();
    workspace.installed["com.tamsworth.brindlecontent"] = "/Applications/Content.app";
    content->menuWillOpen();
    EXPECT_THAT(section(0), ElementsAre("(Open Brindle Content System)"));
}

TEST_F(MenuContentTest, ACompanionApplicationThatIsGoneOpensNothing) {
    workspace.installed.clear();
    pick("(Open Brindle Content System)");
    EXPECT_THAT(workspace.openedApplications, IsEmpty());
}

TEST_F(MenuContentTest, QuitAsksWhoeverRunsTheProgram) {
    pick("(Quit Brindle Recorder ^q)"); // nobody listens yet
    int requests = 0;
    model.onQuitRequest = [&] {
        ++requests;
    };
    pick("(Quit Brindle Recorder ^q)");
    EXPECT_EQ(requests, 1);
}

TEST_F(MenuContentTest, ACommandMayEndTheMenuItself) {
    model.onQuitRequest = [&] {
        content.reset();
    };
    content->activate(line("(Quit Brindle Recorder ^q)").id);
    settle();
    EXPECT_FALSE(content);
}

// Keeping up

TEST_F(MenuContentTest, IsComputedOnceForAllThatHappensInOneTurn) {
    test::publish(model.statusLine, "one");
    test::publish(model.statusLine, "two");
    test::publish(model.folderSizeText, "12 KB");
    EXPECT_THAT(shown, IsEmpty());
    settle();
    EXPECT_THAT(shown, SizeIs(1));
    EXPECT_EQ(shown.back(), content->menu());
    EXPECT_THAT(inWords(shown.back()), Contains("two"));
}

TEST_F(MenuContentTest, IsNotShownAgainWhenItReadsTheSame) {
    test::publish(model.statusLine, "one");
    test::publish(model.statusLine, idleLine);
    settle();
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(MenuContentTest, EverythingPublishedReachesTheMenu) {
    const std::vector<std::pair<const char*, std::function<void()>>> changes{
        {"session state",
         [&] {
             test::publish(model.sessionState, SessionState::recording("x"));
         }},
        {"status line",
         [&] {
             test::publish(model.statusLine, "another");
         }},
        {"session state again",
         [&] {
             test::publish(model.sessionState, SessionState::idle());
         }},
        {"last error",
         [&] {
             test::publish(model.lastRecordingError, "error");
         }},
        {"warning",
         [&] {
             test::publish(model.captureWarning, "warning");
         }},
        {"folder size",
         [&] {
             test::publish(model.folderSizeText, "7 KB");
         }},
        {"prompt",
         [&] {
             test::publish(model.pendingAskLabel, "zoom#1");
         }},
        {"camera choice",
         [&] {
             model.settings.preferredVideoDeviceID.set("cam-1");
         }},
        {"microphone choice",
         [&] {
             model.settings.preferredAudioDeviceID.set("mic-1");
         }},
        {"families",
         [&] {
             model.settings.disabledCallFamilies.set({});
         }},
        {"question",
         [&] {
             model.settings.askBeforeRecording.set(true);
         }},
        {"cameras",
         [&] {
             capture.addCamera({"cam-2", "Webcam", false});
             capture.fireDevicesChanged();
         }},
        {"microphones",
         [&] {
             capture.addMicrophone({"mic-2", "Headset", false});
             capture.fireDevicesChanged();
         }},
        {"default camera",
         [&] {
             capture.setDefaultCamera(std::nullopt);
             model.devices.refresh();
         }},
        {"default microphone",
         [&] {
             audio.setDefaultInputDevice(std::nullopt);
             model.devices.refresh();
         }},
        {"camera access",
         [&] {
             test::publish(model.permissions.cameraAuthorized, false);
         }},
        {"microphone access",
         [&] {
             test::publish(model.permissions.microphoneAuthorized, false);
         }},
        {"login item",
         [&] {
             loginItems.current = LoginItemStatus::enabled;
             model.launchAtLogin.refresh();
         }},
        {"login approval",
         [&] {
             loginItems.current = LoginItemStatus::requiresApproval;
             model.launchAtLogin.refresh();
         }},
        {"login error",
         [&] {
             loginItems.failWith("no");
             model.launchAtLogin.set(true);
         }},
    };
    for (const auto& [what, change] : changes) {
        const auto before = shown.size();
        change();
        settle();
        EXPECT_EQ(shown.size(), before + 1) << what;
    }
}

TEST_F(MenuContentTest, OpeningTheMenuReadsWhatNobodyPublishes) {
    windows.permitted = false;
    loginItems.current = LoginItemStatus::enabled;
    content->menuWillOpen();
    EXPECT_THAT(shown, SizeIs(1)) << "before the user sees it";
    EXPECT_THAT(section(5), ElementsAre("[x] Launch at Login"));
    EXPECT_THAT(linesOf("Permissions and Setup"), SizeIs(4));
    EXPECT_THAT(shown, SizeIs(1));
    content->menuWillOpen();
    EXPECT_THAT(shown, SizeIs(1));
}

TEST_F(MenuContentTest, LinesThatStayKeepTheirNames) {
    const auto idsOf = [&](const Strings& words) {
        Strings ids;
        for (const auto& word : words) {
            ids.push_back(line(word).id);
        }
        return ids;
    };
    const Strings stable{
        "Camera>",
        "Microphone>",
        "Settings>",
        "[x] zoom.us",
        "(Integrated Camera)",
        "(Open Recordings Folder)",
        "[ ] Launch at Login",
        "Permissions and Setup>"};
    const auto before = idsOf(stable);
    const auto status = line(idleLine).id;
    capture.addCamera({"cam-0", "Another", false});
    capture.fireDevicesChanged();
    record();
    test::publish(model.captureWarning, "careful");
    EXPECT_EQ(idsOf(stable), before);
    EXPECT_EQ(line(model.statusLine.get()).id, status);
    pick("(Integrated Camera)");
    EXPECT_EQ(line("(✓ Integrated Camera)").id, before[4]);
}

TEST_F(MenuContentTest, UnknownLinesAndTextsDoNothing) {
    for (const auto& id :
         {std::string{}, std::string{"nonsense"}, line(idleLine).id, line("Settings>").id}) {
        content->activate(id);
    }
    settle();
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(MenuContentTest, LeavesNothingBehind) {
    test::publish(model.statusLine, "one");
    content.reset();
    test::publish(model.statusLine, "two");
    settle();
    EXPECT_THAT(shown, IsEmpty());
}

} // namespace
} // namespace brindle
