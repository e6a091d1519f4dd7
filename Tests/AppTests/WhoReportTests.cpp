#include "BrindleRecorderApp/Words/WhoReport.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using Titles = std::vector<std::string>;

struct WhoCase {
    const char* name;
    MicUser user;
    std::set<std::string> disabled;
    std::string line;
};

class WhoReportLine : public testing::TestWithParam<WhoCase> {};

TEST_P(WhoReportLine, SaysWhoItIsAndWhatFollows) {
    CallDetectorConfig config;
    config.disabledFamilies = GetParam().disabled;
    EXPECT_EQ(WhoReport::line({GetParam().user, std::nullopt}, config), GetParam().line);
}

const std::set<std::string> onlyOthers{"other"};

INSTANTIATE_TEST_SUITE_P(
    WhoReport, WhoReportLine,
    testing::Values(
        WhoCase{
            "CallProgram",
            {"us.zoom.xos", 4711},
            onlyOthers,
            "zoom.us (us.zoom.xos), pid 4711: a call after 5 s"},
        WhoCase{
            "BrowserInAMeeting",
            {"com.google.Chrome", 12, Titles{"Inbox", "Weekly sync - Google Meet"}},
            onlyOthers,
            "Google Chrome (com.google.Chrome), pid 12, meet.google.com: a call after 5 s"},
        WhoCase{
            "BrowserWithoutAMeeting",
            {"com.google.Chrome", 12, Titles{"Inbox"}},
            onlyOthers,
            "Google Chrome (com.google.Chrome), pid 12: a call after 20 s, because no meeting is "
            "recognised in its window titles"},
        WhoCase{
            "BrowserWithoutTitles",
            {"org.mozilla.firefox", 12},
            onlyOthers,
            "Firefox (org.mozilla.firefox), pid 12: a call after 20 s, because its window titles "
            "cannot be read"},
        WhoCase{
            "UnknownProgramWhileOthersAreOff",
            {"parec", 33},
            onlyOthers,
            "parec, pid 33: not a call, because it is not a known call program, and other "
            "programs are switched off in the settings"},
        WhoCase{
            "UnknownProgramWhileOthersAreOn",
            {"parec", 33},
            {},
            "parec, pid 33: a call after 20 s, because it is not a known call program"},
        WhoCase{
            "IgnoredProgram",
            {"com.apple.replayd", 8},
            {},
            "com.apple.replayd, pid 8: not a call, because it is known to use the microphone "
            "without being in a call"},
        WhoCase{
            "PartOfTheSystem",
            {"com.apple.Anything", 8},
            {},
            "com.apple.Anything, pid 8: not a call, because it is a part of the system"},
        WhoCase{
            "SwitchedOff",
            {"com.tinyspeck.slackmacgap", 9},
            {"slack"},
            "Slack (com.tinyspeck.slackmacgap), pid 9: not a call, because Slack is switched off "
            "in the settings"},
        WhoCase{
            "SwitchedOffInAMeeting",
            {"com.google.Chrome", 12, Titles{"Google Meet"}},
            {"chrome"},
            "Google Chrome (com.google.Chrome), pid 12, meet.google.com: not a call, because "
            "Google Chrome is switched off in the settings"},
        WhoCase{
            "NobodyKnown",
            {"", -1},
            {},
            "no identifier, process unknown: a call after 20 s, because it is not a known call "
            "program"}),
    [](const auto& each) { return std::string{each.param.name}; });

TEST(WhoReport, SaysThatNobodyIsThere) {
    EXPECT_THAT(WhoReport::lines({}, {}), ElementsAre("Nobody uses the microphone."));
}

TEST(WhoReport, KeepsTheOrderOfTheUsers) {
    EXPECT_THAT(
        WhoReport::lines({{{"us.zoom.xos", 1}, {}}, {{"parec", 2}, {}}}, {}),
        ElementsAre(HasSubstr("us.zoom.xos"), HasSubstr("parec")));
}

TEST(WhoReport, NamesAProgramAsItsUserKnowsIt) {
    EXPECT_EQ(
        WhoReport::line({{"com.apple.replayd", 8}, "OBS Studio"}, {}),
        "OBS Studio (com.apple.replayd), pid 8: not a call, because it is known to use the "
        "microphone without being in a call");
}

TEST(WhoReport, TheCatalogNamesItsOwnProgramsItself) {
    EXPECT_THAT(
        WhoReport::line({{"us.zoom.xos", 8}, "A wrapper"}, {}),
        testing::StartsWith("zoom.us (us.zoom.xos), pid 8: "));
}

TEST(WhoReport, NamesNothingTwice) {
    EXPECT_THAT(
        WhoReport::line({{"parec", 8}, "parec"}, {}), testing::StartsWith("parec, pid 8: "));
}

TEST(WhoReport, NeverShowsAWindowTitle) {
    const MicUser user{"com.google.Chrome", 12, Titles{"Salary of Jo - Google Meet", "Diagnosis"}};
    EXPECT_THAT(
        WhoReport::line({user, {}}, {}),
        testing::AllOf(Not(HasSubstr("Jo")), Not(HasSubstr("Diag"))));
}

TEST(WhoReport, TellsAReasonExactlyWhereTheDetectorSeesNoCall) {
    std::vector<std::string> identifiers = CallCatalog::ignoredBundlePrefixes();
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        identifiers.insert(identifiers.end(), family.bundleIDs.begin(), family.bundleIDs.end());
    }
    identifiers.insert(identifiers.end(), {"", "parec", "com.apple.unknown"});
    std::vector<std::set<std::string>> choices{{}, {"other"}};
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        choices.push_back({family.id});
    }
    for (const auto& disabled : choices) {
        CallDetectorConfig config;
        config.disabledFamilies = disabled;
        for (const std::string& identifier : identifiers) {
            const MicUser user{identifier, 7, Titles{"Huddle"}};
            const bool counts = CallDetector{config}.classify(user).has_value();
            EXPECT_EQ(
                WhoReport::line({user, {}}, config).find("not a call, because") ==
                    std::string::npos,
                counts)
                << identifier;
        }
    }
}

} // namespace
} // namespace brindle
