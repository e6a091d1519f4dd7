#include "BrindleRecorderLinux/Program/LinuxWords.hpp"

#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderApp/Words/SetupTexts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TEST(LinuxWords, NameNothingThatOnlyAnotherDesktopHas) {
    const DesktopWords words = linuxWords();
    std::string all =
        SetupTexts::introduction(words) + words.windowTitlesNote + words.loginApproval;
    for (const SetupItem& item : SetupChecklist::items({}, words)) {
        all += item.title + item.fixHint.value_or("");
    }
    for (const char* foreign :
         {"menu bar", "FaceTime", "System Settings", "Screen & System Audio Recording"}) {
        EXPECT_THAT(all, Not(HasSubstr(foreign)));
    }
}

TEST(LinuxWords, IntroduceTheProgram) {
    EXPECT_EQ(
        SetupTexts::introduction(linuxWords()),
        "Brindle Recorder notices when a call app (Zoom, Teams, Meet, Slack, Discord and more) is "
        "using your microphone and records your camera and microphone while the call lasts. It "
        "records you only — never other participants, never your screen. You can also start and "
        "stop it from its icon in the panel.");
}

TEST(LinuxWords, SayHowToMendTheSetup) {
    const auto items = SetupChecklist::items({}, linuxWords());
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(
        items[0].fixHint,
        "Cameras come through PipeWire, which must be running; where this program "
        "runs in a sandbox, allow it the camera in the desktop's settings.");
    EXPECT_EQ(items[1].fixHint, "Sound comes through PipeWire, which must be running.");
    EXPECT_EQ(
        items[2].fixHint, "Optional: not every desktop shows window titles to other programs; the "
                          "user guide says which do, and what they ask for.");
    EXPECT_EQ(
        linuxWords().loginApproval, "Allow it in the desktop's settings for what starts at login");
}

TEST(LinuxWords, OfferNoProgramThatDoesNotExistHere) {
    EXPECT_THAT(
        linuxWords().absentFamilies,
        ElementsAre("arc", "around", "facetime", "goto", "safari", "whereby"));
}

} // namespace
} // namespace brindle
