#include "BrindleRecorderCore/Calls/CallDetector.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "Support/CallWords.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using test::inWords;
using Kind = CallSource::Kind;
using Snapshot = std::vector<MicUser>;
using Titles = std::vector<std::string>;

const MicUser zoom{"us.zoom.xos", 100};
const MicUser zoomHelper{"us.zoom.CptHost", 101};
const MicUser teams{"com.microsoft.teams2", 200};
const MicUser chrome{"com.google.Chrome", 300};
const MicUser chromeInMeeting{
    "com.google.Chrome", 300, Titles{"Inbox", "Weekly sync - Google Meet"}};
const MicUser safariInMeeting{"com.apple.Safari", 400, Titles{"Stand-up | Whereby"}};
const MicUser unknownTool{"com.example.tool", 500};

const CallSource zoomSource{"zoom.us", "us.zoom.xos", Kind::app, std::nullopt, "zoom"};

constexpr Date at(double seconds) {
    return dateFromUnixSeconds(seconds);
}

CallDetector askingDetector() {
    return CallDetector{CallDetectorConfig{.askBeforeRecording = true}};
}

CallDetector detectorOfAllPrograms() {
    return CallDetector{CallDetectorConfig{.disabledFamilies = {}}};
}

/// A detector that records Zoom since 5 s, as "zoom#1".
CallDetector recordingDetector() {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    return detector;
}

// Configuration

TEST(CallDetectorConfig, HasItsDefaults) {
    const CallDetectorConfig config;
    EXPECT_EQ(config.startAfter, Seconds{5});
    EXPECT_EQ(config.stopAfter, Seconds{20});
    EXPECT_EQ(config.unconfirmedStartAfter, Seconds{20});
    EXPECT_EQ(config.disabledFamilies, std::set<std::string>{"other"});
    EXPECT_FALSE(config.askBeforeRecording);
}

TEST(CallDetectorConfig, EveryFieldCountsForEquality) {
    const CallDetectorConfig config;
    EXPECT_EQ(config, CallDetectorConfig{});
    EXPECT_NE(config, CallDetectorConfig{.startAfter = Seconds{6}});
    EXPECT_NE(config, CallDetectorConfig{.stopAfter = Seconds{6}});
    EXPECT_NE(config, CallDetectorConfig{.unconfirmedStartAfter = Seconds{6}});
    EXPECT_NE(config, CallDetectorConfig{.disabledFamilies = {}});
    EXPECT_NE(config, CallDetectorConfig{.askBeforeRecording = true});
}

// Classification

TEST(CallDetectorClassification, EveryCallProgramIsCertainlyACall) {
    const CallDetector detector{CallDetectorConfig{}};
    for (const CallAppFamily& family : CallCatalog::apps()) {
        for (const std::string& bundleID : family.bundleIDs) {
            const CallDetector::Candidate expected{
                family.id, {family.name, bundleID, Kind::app, std::nullopt, family.id}, true, 0};
            EXPECT_EQ(detector.classify({bundleID, 1}), expected) << bundleID;
            // Titles make no difference to a call program.
            EXPECT_EQ(detector.classify({bundleID, 1, Titles{"Google Meet"}}), expected);
        }
    }
}

TEST(CallDetectorClassification, EveryBrowserIsACallForSureOnlyInAMeeting) {
    const CallDetector detector{CallDetectorConfig{}};
    for (const CallAppFamily& family : CallCatalog::browsers()) {
        for (const std::string& bundleID : family.bundleIDs) {
            const CallSource plain{family.name, bundleID, Kind::browser, std::nullopt, family.id};
            CallSource meeting = plain;
            meeting.site = "meet.jit.si";
            const CallDetector::Candidate unconfirmed{family.id, plain, false, 2};
            const CallDetector::Candidate confirmed{family.id, meeting, true, 1};
            EXPECT_EQ(detector.classify({bundleID, 1}), unconfirmed);
            EXPECT_EQ(detector.classify({bundleID, 1, Titles{}}), unconfirmed);
            EXPECT_EQ(detector.classify({bundleID, 1, Titles{"Inbox"}}), unconfirmed);
            EXPECT_EQ(detector.classify({bundleID, 1, Titles{"Jitsi Meet"}}), confirmed);
        }
    }
}

TEST(CallDetectorClassification, AMeetingAmongTheTitlesOfABrowserConfirmsIt) {
    const CallDetector detector{CallDetectorConfig{}};
    const auto candidate = detector.classify(chromeInMeeting);
    ASSERT_TRUE(candidate);
    EXPECT_EQ(candidate->source.site, "meet.google.com");
    EXPECT_TRUE(candidate->confirmed);
    EXPECT_EQ(candidate->rank, 1);
}

TEST(CallDetectorClassification, ADisabledFamilyIsNeverACall) {
    CallDetector detector{CallDetectorConfig{}};
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        for (const std::string& bundleID : family.bundleIDs) {
            detector.config.disabledFamilies = {family.id};
            EXPECT_EQ(detector.classify({bundleID, 1, Titles{"Jitsi Meet"}}), std::nullopt);
            detector.config.disabledFamilies = {family.name, bundleID, "other"};
            EXPECT_NE(detector.classify({bundleID, 1}), std::nullopt) << "only ids disable";
        }
    }
}

TEST(CallDetectorClassification, UnknownProgramsCountOnlyWhenSwitchedOn) {
    EXPECT_EQ(CallDetector{CallDetectorConfig{}}.classify(unknownTool), std::nullopt);
    const CallDetector::Candidate expected{
        "other:com.example.tool",
        {"com.example.tool", "com.example.tool", Kind::other, std::nullopt, "other"},
        false,
        3};
    EXPECT_EQ(detectorOfAllPrograms().classify(unknownTool), expected);
}

TEST(CallDetectorClassification, AProgramWithoutAnIdentifierGoesByItsProcess) {
    const CallDetector::Candidate expected{
        "other:pid 812", {"pid 812", "", Kind::other, std::nullopt, "other"}, false, 3};
    EXPECT_EQ(detectorOfAllPrograms().classify({"", 812}), expected);
    EXPECT_EQ(CallDetector{CallDetectorConfig{}}.classify({"", 812}), std::nullopt);

    constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(detectorOfAllPrograms().classify({"", -1})->key, "other:pid -1");
    EXPECT_EQ(detectorOfAllPrograms().classify({"", smallest})->key, "other:pid -2147483648");
}

TEST(CallDetectorClassification, AnIdentifierThatOnlyResemblesACallProgramIsUnknown) {
    EXPECT_EQ(CallDetector{CallDetectorConfig{}}.classify({"us.zoom.xosx", 1}), std::nullopt);
    EXPECT_EQ(detectorOfAllPrograms().classify({"us.zoom.xosx", 1})->key, "other:us.zoom.xosx");
}

TEST(CallDetectorClassification, UnknownPartsOfTheSystemAreNeverACall) {
    const CallDetector detector = detectorOfAllPrograms();
    EXPECT_EQ(detector.classify({"com.apple.unheardof", 1}), std::nullopt);
    EXPECT_EQ(detector.classify({"com.apple.", 1}), std::nullopt);
    EXPECT_NE(detector.classify({"com.apple", 1}), std::nullopt);
    EXPECT_NE(detector.classify({"com.applesauce", 1}), std::nullopt);
    EXPECT_EQ(detector.classify({"com.apple.FaceTime", 1})->key, "facetime");
    EXPECT_EQ(detector.classify({"com.apple.WebKit.GPU", 1})->key, "safari");
}

TEST(CallDetectorClassification, IgnoredProgramsAreNeverACall) {
    const CallDetector detector = detectorOfAllPrograms();
    for (const std::string& prefix : CallCatalog::ignoredBundlePrefixes()) {
        EXPECT_EQ(detector.classify({prefix, 1, Titles{"Jitsi Meet"}}), std::nullopt);
        EXPECT_EQ(detector.classify({prefix + ".helper", 1}), std::nullopt);
    }
}

// Start

TEST(CallDetector, StartsExactlyAtTheThreshold) {
    CallDetector detector{CallDetectorConfig{}};
    EXPECT_EQ(inWords(detector.update({zoom}, at(0))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(4.9))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(4.999999999))), "nothing");
    const auto events = detector.update({zoom}, at(5.0));
    EXPECT_EQ(events, std::vector{CallDetectorEvent::start(zoomSource, "zoom#1")});
    EXPECT_EQ(detector.phase(), CallDetector::Phase::recording(zoomSource, "zoom#1", false));
    EXPECT_EQ(inWords(detector.update({zoom}, at(6))), "nothing") << "once";
}

TEST(CallDetector, StartsByATickOnTheLatestSnapshot) {
    CallDetector detector{CallDetectorConfig{}};
    EXPECT_EQ(inWords(detector.update({zoom}, at(0))), "nothing");
    EXPECT_EQ(inWords(detector.tick(at(4.9))), "nothing");
    EXPECT_EQ(inWords(detector.tick(at(5))), "start zoom#1");
}

TEST(CallDetector, ATickBeforeAnySnapshotSeesNobody) {
    CallDetector detector{CallDetectorConfig{}};
    EXPECT_EQ(inWords(detector.tick(at(100))), "nothing");
    EXPECT_TRUE(detector.phase().isIdle());
}

TEST(CallDetector, AsksExactlyAtTheThresholdAndTakesOneAnswer) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    EXPECT_EQ(inWords(detector.update({zoom}, at(4.9))), "nothing");
    const auto events = detector.update({zoom}, at(5));
    EXPECT_EQ(events, std::vector{CallDetectorEvent::ask(zoomSource, "zoom#1")});
    EXPECT_EQ(detector.phase(), CallDetector::Phase::asking(zoomSource, "zoom#1"));

    EXPECT_EQ(detector.answer("zoom#1", true), CallDetectorEvent::start(zoomSource, "zoom#1"));
    EXPECT_EQ(detector.phase(), CallDetector::Phase::recording(zoomSource, "zoom#1", false));
    EXPECT_EQ(detector.answer("zoom#1", true), std::nullopt);
    EXPECT_EQ(inWords(detector.phase()), "recording zoom#1");
}

TEST(CallDetector, MissingFromOneSnapshotWaitsFromTheStartAgain) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.update({}, at(3));
    detector.update({zoom}, at(4));
    EXPECT_EQ(inWords(detector.update({zoom}, at(5))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(8.999))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(9))), "start zoom#1");
}

TEST(CallDetector, AnotherProgramInBetweenDoesNotKeepTheWaitAlive) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.update({teams}, at(3));
    detector.update({zoom}, at(4));
    EXPECT_EQ(inWords(detector.update({zoom}, at(8.5))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(9))), "start zoom#1");
}

TEST(CallDetector, ProcessesOfOneFamilyWaitTogether) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.update({zoom, zoomHelper}, at(2));
    const auto events = detector.update({zoomHelper}, at(5));
    ASSERT_EQ(inWords(events), "start zoom#1");
    EXPECT_EQ(detector.activeSource().value().bundleID, zoomHelper.bundleID);
}

TEST(CallDetector, AnUnconfirmedBrowserWaitsLonger) {
    CallDetector detector{CallDetectorConfig{}};
    for (const double seconds : {0.0, 5.0, 10.0, 19.9}) {
        EXPECT_EQ(inWords(detector.update({chrome}, at(seconds))), "nothing");
    }
    const CallSource source{
        "Google Chrome", "com.google.Chrome", Kind::browser, std::nullopt, "chrome"};
    EXPECT_EQ(
        detector.update({chrome}, at(20)),
        std::vector{CallDetectorEvent::start(source, "chrome#1")});
}

TEST(CallDetector, ABrowserThatShowsItsMeetingStartsByTheTimeItHasBeenThere) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({chrome}, at(0));
    EXPECT_EQ(inWords(detector.update({chrome}, at(12))), "nothing");
    EXPECT_EQ(inWords(detector.update({chromeInMeeting}, at(13))), "start chrome#1");
    EXPECT_EQ(detector.activeSource().value().site, "meet.google.com");
}

TEST(CallDetector, AnUnknownProgramIsNoCallByDefault) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({unknownTool}, at(0));
    EXPECT_EQ(inWords(detector.update({unknownTool}, at(1000))), "nothing");
}

TEST(CallDetector, AnUnknownProgramThatIsSwitchedOnStartsAfterTheLongerWait) {
    CallDetector detector = detectorOfAllPrograms();
    detector.update({unknownTool}, at(0));
    EXPECT_EQ(inWords(detector.update({unknownTool}, at(19.999))), "nothing");
    EXPECT_EQ(inWords(detector.update({unknownTool}, at(20))), "start other:com.example.tool#1");
}

TEST(CallDetector, UnknownProgramsWaitEachForItself) {
    CallDetector detector = detectorOfAllPrograms();
    detector.update({{"", 1}}, at(0));
    detector.update({{"", 1}, {"", 2}}, at(10));
    detector.update({{"", 2}}, at(11));
    EXPECT_EQ(inWords(detector.update({{"", 2}}, at(29))), "nothing");
    EXPECT_EQ(inWords(detector.update({{"", 2}}, at(30))), "start other:pid 2#1");
}

TEST(CallDetector, ACallProgramWinsOverABrowserInAMeeting) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({safariInMeeting, zoom}, at(0));
    EXPECT_EQ(inWords(detector.update({safariInMeeting, zoom}, at(5))), "start zoom#1");
}

TEST(CallDetector, RanksDecideBetweenAllFourSortsOfPrograms) {
    const Snapshot worstFirst{unknownTool, chrome, safariInMeeting, zoom};
    const char* winners[] = {"other:com.example.tool", "chrome", "safari", "zoom"};
    for (std::size_t count = 1; count <= worstFirst.size(); ++count) {
        const Snapshot snapshot{
            worstFirst.begin(), worstFirst.begin() + static_cast<std::ptrdiff_t>(count)};
        CallDetector detector = detectorOfAllPrograms();
        detector.config.startAfter = Seconds{20};
        detector.update(snapshot, at(0));
        EXPECT_EQ(
            inWords(detector.update(snapshot, at(20))),
            "start " + std::string{winners[count - 1]} + "#1");
    }
}

TEST(CallDetector, BetweenTwoCallProgramsTheEarlierInTheSnapshotWins) {
    CallDetector first{CallDetectorConfig{}};
    first.update({zoom, teams}, at(0));
    EXPECT_EQ(inWords(first.update({zoom, teams}, at(5))), "start zoom#1");

    CallDetector second{CallDetectorConfig{}};
    second.update({zoom, teams}, at(0));
    EXPECT_EQ(inWords(second.update({teams, zoom}, at(5))), "start teams#1");
}

TEST(CallDetector, WhoeverStillWaitsCannotWin) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({safariInMeeting}, at(0));
    detector.update({safariInMeeting, zoom}, at(3));
    EXPECT_EQ(inWords(detector.update({zoom, safariInMeeting}, at(5))), "start safari#1");
}

// End

TEST(CallDetector, StopsTwentySecondsAfterTheFirstEmptySnapshot) {
    CallDetector detector = recordingDetector();
    detector.update({zoom}, at(9));
    for (double seconds = 10; seconds < 30; ++seconds) {
        EXPECT_EQ(inWords(detector.update({}, at(seconds))), "nothing") << seconds;
    }
    EXPECT_EQ(inWords(detector.update({}, at(29.999))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(30))), "stop zoom#1");
    EXPECT_TRUE(detector.phase().isIdle());
    EXPECT_EQ(inWords(detector.update({}, at(31))), "nothing") << "once";
}

TEST(CallDetector, StopsByATickAsWell) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    EXPECT_EQ(inWords(detector.tick(at(29.999))), "nothing");
    EXPECT_EQ(inWords(detector.tick(at(30))), "stop zoom#1");
}

TEST(CallDetector, AShortDropOutDoesNotSplitACall) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    EXPECT_EQ(inWords(detector.update({zoom}, at(29))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(40))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(59))), "nothing") << "the wait began anew at 40 s";
    EXPECT_EQ(inWords(detector.update({}, at(60))), "stop zoom#1");
}

TEST(CallDetector, AnotherProgramKeepsTheCallAndChangesNothingAboutIt) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    for (const double seconds : {15.0, 30.0, 60.0, 600.0}) {
        EXPECT_EQ(inWords(detector.update({teams}, at(seconds))), "nothing");
    }
    EXPECT_EQ(detector.phase(), CallDetector::Phase::recording(zoomSource, "zoom#1", false));
}

TEST(CallDetector, AProgramThatStillWaitsKeepsTheCall) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    EXPECT_EQ(inWords(detector.update({chrome}, at(30))), "nothing");
    EXPECT_EQ(inWords(detector.phase()), "recording zoom#1");
    detector.config.stopAfter = Seconds{0};
    EXPECT_EQ(inWords(detector.update({chrome}, at(31))), "nothing");
    EXPECT_EQ(inWords(detector.phase()), "recording zoom#1");
}

TEST(CallDetector, IgnoredProgramsDoNotKeepTheCall) {
    CallDetector detector = recordingDetector();
    const Snapshot ignored{{"com.apple.Siri", 1}, unknownTool};
    detector.update(ignored, at(10));
    EXPECT_EQ(inWords(detector.update(ignored, at(30))), "stop zoom#1");
}

TEST(CallDetector, ASecondCallGetsTheNextNumber) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    detector.update({}, at(30));
    detector.update({teams}, at(40));
    EXPECT_EQ(inWords(detector.update({teams}, at(45))), "start teams#2");
    detector.update({}, at(50));
    detector.update({}, at(70));
    EXPECT_EQ(inWords(detector.manualStart(at(80))), "start manual#3");
}

// The meeting site that shows later

TEST(CallDetector, LearnsTheMeetingOfABrowserCallWithoutAnEvent) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({chrome}, at(0));
    detector.update({chrome}, at(20));
    EXPECT_EQ(detector.activeSource().value().site, std::nullopt);
    EXPECT_EQ(inWords(detector.update({chromeInMeeting}, at(25))), "nothing");
    const CallSource learned{
        "Google Chrome", "com.google.Chrome", Kind::browser, "meet.google.com", "chrome"};
    EXPECT_EQ(detector.phase(), CallDetector::Phase::recording(learned, "chrome#1", false));
}

TEST(CallDetector, LearnsByATickTheMeetingThatShowedWhileTheQuestionWaited) {
    CallDetector detector = askingDetector();
    detector.update({chrome}, at(0));
    detector.update({chrome}, at(20));
    detector.update({chromeInMeeting}, at(25));
    detector.answer("chrome#1", true);
    ASSERT_EQ(inWords(detector.phase()), "recording chrome#1");
    EXPECT_EQ(inWords(detector.tick(at(26))), "nothing");
    EXPECT_EQ(inWords(detector.phase()), "recording chrome#1 meet.google.com");
}

TEST(CallDetector, KeepsTheMeetingThatItLearnedFirst) {
    CallDetector detector{CallDetectorConfig{}};
    const MicUser inAnotherMeeting{"com.google.Chrome", 300, Titles{"Jitsi Meet"}};
    detector.update({chromeInMeeting}, at(0));
    detector.update({chromeInMeeting}, at(5));
    detector.update({inAnotherMeeting}, at(6));
    EXPECT_EQ(detector.activeSource().value().site, "meet.google.com");
    detector.update({chrome}, at(7));
    EXPECT_EQ(detector.activeSource().value().site, "meet.google.com");
}

TEST(CallDetector, LearnsOnlyTheSiteOfTheFirstProcessThatShowsOne) {
    CallDetector detector{CallDetectorConfig{}};
    const MicUser helper{"com.google.Chrome.helper", 301, Titles{"Jitsi Meet"}};
    detector.update({chrome}, at(0));
    detector.update({chrome}, at(20));
    detector.update({chrome, helper, chromeInMeeting}, at(21));
    EXPECT_EQ(detector.activeSource().value().site, "meet.jit.si");
    EXPECT_EQ(detector.activeSource().value().bundleID, "com.google.Chrome");
}

TEST(CallDetector, LearnsNoSiteFromAnotherFamily) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({chrome}, at(0));
    detector.update({chrome}, at(20));
    detector.update({chrome, safariInMeeting}, at(21));
    EXPECT_EQ(detector.activeSource().value().site, std::nullopt);
}

TEST(CallDetector, AManualRecordingLearnsNoSite) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({chrome}, at(0));
    detector.manualStart(at(1));
    detector.update({chromeInMeeting}, at(2));
    EXPECT_EQ(inWords(detector.phase()), "manual recording manual#1");
    EXPECT_EQ(detector.activeSource().value().site, std::nullopt);
}

// The question

TEST(CallDetector, AnAnswerForAnotherCallIsIgnored) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    for (const char* label : {"zoom#2", "zoom", "", "zoom#1 ", "Zoom#1"}) {
        EXPECT_EQ(detector.answer(label, true), std::nullopt);
        EXPECT_EQ(detector.answer(label, false), std::nullopt);
        EXPECT_EQ(inWords(detector.phase()), "asking zoom#1");
    }
}

TEST(CallDetector, AQuestionIsForgottenWhenItsCallEnds) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    detector.update({}, at(10));
    EXPECT_EQ(inWords(detector.update({}, at(29))), "nothing");
    EXPECT_EQ(inWords(detector.phase()), "asking zoom#1");
    EXPECT_EQ(inWords(detector.update({}, at(30))), "nothing");
    EXPECT_TRUE(detector.phase().isIdle());
    EXPECT_EQ(detector.answer("zoom#1", true), std::nullopt);
    EXPECT_TRUE(detector.phase().isIdle());
}

TEST(CallDetector, AQuestionWaitsAsLongAsTheCallLasts) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    EXPECT_EQ(inWords(detector.update({zoom}, at(100'000))), "nothing");
    EXPECT_EQ(inWords(detector.answer("zoom#1", true)), "start zoom#1");
}

TEST(CallDetector, ADeclinedCallSuppressesEveryCallUntilItEnds) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    EXPECT_EQ(detector.answer("zoom#1", false), std::nullopt);
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    EXPECT_EQ(inWords(detector.update({zoom, teams}, at(10))), "nothing");
    EXPECT_EQ(inWords(detector.update({teams}, at(100))), "nothing");
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    detector.update({}, at(200));
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    EXPECT_EQ(inWords(detector.update({}, at(220))), "nothing");
    EXPECT_TRUE(detector.phase().isIdle());
    detector.update({teams}, at(230));
    EXPECT_EQ(inWords(detector.update({teams}, at(235))), "ask teams#2");
}

// The user's own commands

TEST(CallDetector, AManualRecordingWithoutACallIsEndedOnlyByTheUser) {
    CallDetector detector{CallDetectorConfig{}};
    EXPECT_EQ(
        detector.manualStart(at(0)), CallDetectorEvent::start(CallSource::manual(), "manual#1"));
    EXPECT_EQ(
        detector.phase(), CallDetector::Phase::recording(CallSource::manual(), "manual#1", true));
    EXPECT_EQ(inWords(detector.update({}, at(100))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(200))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(300))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(400))), "nothing");
    EXPECT_EQ(inWords(detector.manualStop(at(500))), "stop manual#1");
    EXPECT_TRUE(detector.phase().isIdle());
}

TEST(CallDetector, AManualRecordingIsAttributedToTheBestProgramAtOnce) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({chrome, zoom, teams}, at(0));
    EXPECT_EQ(detector.manualStart(at(0)), CallDetectorEvent::start(zoomSource, "manual#1"));
}

TEST(CallDetector, AManualStartIsIgnoredWhileRecording) {
    CallDetector detector = recordingDetector();
    EXPECT_EQ(detector.manualStart(at(6)), std::nullopt);
    EXPECT_EQ(detector.phase(), CallDetector::Phase::recording(zoomSource, "zoom#1", false));
    detector.manualStop(at(7));
    detector.manualStart(at(8));
    EXPECT_EQ(detector.manualStart(at(9)), std::nullopt);
    EXPECT_EQ(inWords(detector.phase()), "manual recording manual#2");
}

TEST(CallDetector, AManualStartReplacesAQuestion) {
    CallDetector detector = askingDetector();
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    EXPECT_EQ(detector.manualStart(at(6)), CallDetectorEvent::start(zoomSource, "manual#2"));
    EXPECT_EQ(detector.answer("zoom#1", false), std::nullopt);
    EXPECT_EQ(inWords(detector.phase()), "manual recording manual#2");
}

TEST(CallDetector, AManualStartReplacesASuppressedCall) {
    CallDetector detector = recordingDetector();
    detector.manualStop(at(6));
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    EXPECT_EQ(inWords(detector.manualStart(at(7))), "start manual#2");
}

TEST(CallDetector, AManualStopIsIgnoredUnlessRecording) {
    CallDetector detector = askingDetector();
    EXPECT_EQ(detector.manualStop(at(0)), std::nullopt);
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    EXPECT_EQ(detector.manualStop(at(6)), std::nullopt);
    EXPECT_EQ(inWords(detector.phase()), "asking zoom#1");
    detector.answer("zoom#1", false);
    EXPECT_EQ(detector.manualStop(at(7)), std::nullopt);
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
}

TEST(CallDetector, AfterAManualStopTheSameCallIsNotPickedUpAgain) {
    CallDetector detector = recordingDetector();
    EXPECT_EQ(inWords(detector.manualStop(at(10))), "stop zoom#1");
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    for (double seconds = 11; seconds < 100; ++seconds) {
        EXPECT_EQ(inWords(detector.update({zoom}, at(seconds))), "nothing");
        EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    }
    detector.update({}, at(100));
    detector.update({}, at(119.9));
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    EXPECT_EQ(inWords(detector.update({}, at(120))), "nothing");
    EXPECT_TRUE(detector.phase().isIdle());
    EXPECT_EQ(inWords(detector.update({zoom}, at(121))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(125.9))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(126))), "start zoom#2");
}

TEST(CallDetector, AManualStopWithoutACallLeavesNothingSuppressed) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(10));
    EXPECT_EQ(inWords(detector.manualStop(at(11))), "stop zoom#1");
    EXPECT_TRUE(detector.phase().isIdle());
    detector.update({zoom}, at(12));
    EXPECT_EQ(inWords(detector.update({zoom}, at(17))), "start zoom#2");
}

TEST(CallDetector, AManualStopCountsAsTheTimeTheCallWasSeen) {
    // The program is switched on after the snapshot, so only the stop itself has seen a call.
    CallDetector detector{CallDetectorConfig{}};
    detector.update({unknownTool}, at(0));
    detector.manualStart(at(1));
    detector.config.disabledFamilies = {};
    EXPECT_EQ(inWords(detector.manualStop(at(100))), "stop manual#1");
    ASSERT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    detector.update({}, at(119.9));
    EXPECT_EQ(detector.phase(), CallDetector::Phase::suppressed());
    detector.update({}, at(120));
    EXPECT_TRUE(detector.phase().isIdle());
}

// Read-only properties

TEST(CallDetector, IsActiveOnlyWhileRecording) {
    CallDetector detector = askingDetector();
    const auto isActive = [&detector] {
        EXPECT_EQ(detector.activeLabel().has_value(), detector.activeSource().has_value());
        return detector.activeLabel().has_value();
    };
    EXPECT_FALSE(isActive()) << "idle";
    detector.update({zoom}, at(0));
    detector.update({zoom}, at(5));
    EXPECT_FALSE(isActive()) << "asking";
    detector.answer("zoom#1", true);
    EXPECT_EQ(detector.activeLabel(), "zoom#1");
    EXPECT_EQ(detector.activeSource(), zoomSource);
    detector.manualStop(at(6));
    EXPECT_FALSE(isActive()) << "suppressed";
    detector.manualStart(at(7));
    EXPECT_EQ(detector.activeLabel(), "manual#2");
    EXPECT_EQ(detector.activeSource(), zoomSource);
}

// Configuration at work

TEST(CallDetector, ANewConfigurationTakesEffectAtTheNextOperation) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.config.startAfter = Seconds{1};
    EXPECT_TRUE(detector.phase().isIdle());
    EXPECT_EQ(inWords(detector.tick(at(1))), "start zoom#1");
    detector.config.disabledFamilies = {"zoom"};
    detector.config.stopAfter = Seconds{2};
    EXPECT_EQ(inWords(detector.phase()), "recording zoom#1");
    EXPECT_EQ(inWords(detector.tick(at(10))), "nothing") << "the wait for the end begins here";
    EXPECT_EQ(inWords(detector.tick(at(12))), "stop zoom#1");
}

TEST(CallDetector, AFamilyThatIsSwitchedOffMeanwhileWaitsAnew) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(0));
    detector.config.disabledFamilies = {"zoom"};
    detector.tick(at(1));
    detector.config.disabledFamilies = {};
    detector.tick(at(2));
    EXPECT_EQ(inWords(detector.tick(at(6.9))), "nothing");
    EXPECT_EQ(inWords(detector.tick(at(7))), "start zoom#1");
}

TEST(CallDetector, WithoutThresholdsCallsBeginAndEndAtOnce) {
    CallDetector detector{CallDetectorConfig{
        .startAfter = Seconds{0}, .stopAfter = Seconds{0}, .unconfirmedStartAfter = Seconds{0}}};
    EXPECT_EQ(inWords(detector.update({chrome}, at(0))), "start chrome#1");
    EXPECT_EQ(inWords(detector.update({}, at(0))), "stop chrome#1");
}

TEST(CallDetector, AThresholdThatIsNotANumberIsNeverReached) {
    const Seconds notANumber{std::numeric_limits<double>::quiet_NaN()};
    CallDetector detector{CallDetectorConfig{.startAfter = notANumber}};
    detector.update({zoom}, at(0));
    EXPECT_EQ(inWords(detector.tick(Date::max())), "nothing");
}

// Odd times

TEST(CallDetector, AClockThatIsSetBackDelaysAStart) {
    CallDetector detector{CallDetectorConfig{}};
    detector.update({zoom}, at(1000));
    EXPECT_EQ(inWords(detector.update({zoom}, at(0))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(1004.9))), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, at(1005))), "start zoom#1");
}

TEST(CallDetector, AClockThatIsSetBackDelaysAStop) {
    CallDetector detector = recordingDetector();
    detector.update({}, at(1000));
    EXPECT_EQ(inWords(detector.update({}, at(0))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(1019.9))), "nothing");
    EXPECT_EQ(inWords(detector.update({}, at(1020))), "stop zoom#1");
}

TEST(CallDetector, TheEndsOfTimeAreTimesLikeOthers) {
    CallDetector detector{CallDetectorConfig{}};
    EXPECT_EQ(inWords(detector.update({zoom}, Date::max())), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, Date::min())), "nothing");
    EXPECT_EQ(inWords(detector.update({}, Date::min())), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, Date::min())), "nothing");
    EXPECT_EQ(inWords(detector.update({zoom}, Date::max())), "start zoom#1");
    EXPECT_EQ(inWords(detector.update({}, Date::min())), "nothing");
    EXPECT_EQ(inWords(detector.update({}, Date::max())), "stop zoom#1");
}

// Every transition, and every combination that is none

struct PhaseSetup {
    const char* phase;
    std::function<void(CallDetector&)> enter; ///< with times up to 21 s
};

void detectChrome(CallDetector& detector, bool ask) {
    detector.config.askBeforeRecording = ask;
    detector.update({chrome}, at(0));
    detector.update({chrome}, at(20));
}

const PhaseSetup phaseSetups[] = {
    {"idle",
     [](CallDetector&) {
     }},
    {"asking chrome#1",
     [](CallDetector& detector) {
         detectChrome(detector, true);
     }},
    {"recording chrome#1",
     [](CallDetector& detector) {
         detectChrome(detector, false);
     }},
    {"manual recording manual#1",
     [](CallDetector& detector) {
         detector.update({chrome}, at(0));
         detector.manualStart(at(20));
     }},
    {"suppressed",
     [](CallDetector& detector) {
         detectChrome(detector, true);
         detector.answer("chrome#1", false);
     }},
};

/// What leads up to the trigger, which may change no phase by itself, and the trigger.
struct Trigger {
    const char* name;
    std::function<void(CallDetector&)> prepare;
    std::function<std::string(CallDetector&)> pull; ///< the events in words
};

void prepareNothing(CallDetector&) {}

std::function<void(CallDetector&)> prepareUpdate(Snapshot snapshot, bool ask = false) {
    return [snapshot, ask](CallDetector& detector) {
        detector.config.askBeforeRecording = ask;
        detector.update(snapshot, at(30));
    };
}

/// The latest snapshot shows a site, of a family that was switched off when it came in.
void prepareSiteUnseen(CallDetector& detector) {
    detector.config.disabledFamilies = {"chrome"};
    detector.update({chromeInMeeting}, at(30));
    detector.config.disabledFamilies = {};
}

std::function<std::string(CallDetector&)> pullUpdate(Snapshot snapshot, double seconds) {
    return [snapshot, seconds](CallDetector& detector) {
        return inWords(detector.update(snapshot, at(seconds)));
    };
}

std::function<std::string(CallDetector&)> pullTick(double seconds) {
    return [seconds](CallDetector& detector) {
        return inWords(detector.tick(at(seconds)));
    };
}

std::function<std::string(CallDetector&)> pullAnswer(const char* label, bool record) {
    return [label, record](CallDetector& detector) {
        return inWords(detector.answer(label, record));
    };
}

std::string pullManualStart(CallDetector& detector) {
    return inWords(detector.manualStart(at(31)));
}

std::string pullManualStop(CallDetector& detector) {
    return inWords(detector.manualStop(at(31)));
}

const Trigger triggers[] = {
    {"eligible", prepareUpdate({zoom}), pullUpdate({zoom}, 35)},
    {"eligible by tick", prepareUpdate({zoom}), pullTick(35)},
    {"eligible, to be asked", prepareUpdate({zoom}, true), pullUpdate({zoom}, 35)},
    {"eligible, to be asked, by tick", prepareUpdate({zoom}, true), pullTick(35)},
    {"not eligible yet", prepareUpdate({zoom}), pullUpdate({zoom}, 34.999)},
    {"not eligible yet by tick", prepareUpdate({zoom}), pullTick(34.999)},
    {"a site shows", prepareNothing, pullUpdate({chromeInMeeting}, 30)},
    {"a site shows by tick", prepareSiteUnseen, pullTick(31)},
    {"another family's site shows", prepareNothing, pullUpdate({safariInMeeting}, 30)},
    {"call gone", prepareUpdate({}), pullUpdate({}, 50)},
    {"call gone by tick", prepareUpdate({}), pullTick(50)},
    {"call not gone yet", prepareUpdate({}), pullUpdate({}, 49.999)},
    {"call not gone yet by tick", prepareUpdate({}), pullTick(49.999)},
    {"answer: record", prepareNothing, pullAnswer("chrome#1", true)},
    {"answer: decline", prepareNothing, pullAnswer("chrome#1", false)},
    {"answer for another call: record", prepareNothing, pullAnswer("chrome#2", true)},
    {"answer for another call: decline", prepareNothing, pullAnswer("chrome#2", false)},
    {"manual start", prepareNothing, pullManualStart},
    {"manual stop, call goes on", prepareUpdate({zoom}), pullManualStop},
    {"manual stop, no call", prepareUpdate({}), pullManualStop},
};

struct Transition {
    const char* from;
    const char* trigger;
    const char* to;
    const char* event;
};

const Transition transitions[] = {
    {"idle", "eligible", "recording zoom#1", "start zoom#1"},
    {"idle", "eligible by tick", "recording zoom#1", "start zoom#1"},
    {"idle", "eligible, to be asked", "asking zoom#1", "ask zoom#1"},
    {"idle", "eligible, to be asked, by tick", "asking zoom#1", "ask zoom#1"},
    {"idle", "manual start", "manual recording manual#1", "start manual#1"},
    {"asking chrome#1", "answer: record", "recording chrome#1", "start chrome#1"},
    {"asking chrome#1", "answer: decline", "suppressed", "nothing"},
    {"asking chrome#1", "call gone", "idle", "nothing"},
    {"asking chrome#1", "call gone by tick", "idle", "nothing"},
    {"asking chrome#1", "manual start", "manual recording manual#2", "start manual#2"},
    {"recording chrome#1", "call gone", "idle", "stop chrome#1"},
    {"recording chrome#1", "call gone by tick", "idle", "stop chrome#1"},
    {"recording chrome#1", "a site shows", "recording chrome#1 meet.google.com", "nothing"},
    {"recording chrome#1", "a site shows by tick", "recording chrome#1 meet.google.com", "nothing"},
    {"recording chrome#1", "manual stop, call goes on", "suppressed", "stop chrome#1"},
    {"recording chrome#1", "manual stop, no call", "idle", "stop chrome#1"},
    {"manual recording manual#1", "manual stop, call goes on", "suppressed", "stop manual#1"},
    {"manual recording manual#1", "manual stop, no call", "idle", "stop manual#1"},
    {"suppressed", "call gone", "idle", "nothing"},
    {"suppressed", "call gone by tick", "idle", "nothing"},
    {"suppressed", "manual start", "manual recording manual#2", "start manual#2"},
};

TEST(CallDetectorTransitions, EveryPhaseWithEveryTrigger) {
    std::set<const Transition*> walked;
    for (const PhaseSetup& setup : phaseSetups) {
        for (const Trigger& trigger : triggers) {
            SCOPED_TRACE(std::string{setup.phase} + " / " + trigger.name);
            CallDetector detector{CallDetectorConfig{}};
            setup.enter(detector);
            trigger.prepare(detector);
            ASSERT_EQ(inWords(detector.phase()), setup.phase);
            const CallDetector::Phase before = detector.phase();

            const std::string event = trigger.pull(detector);

            const Transition* expected = nullptr;
            for (const Transition& transition : transitions) {
                if (std::string_view{transition.from} == setup.phase &&
                    std::string_view{transition.trigger} == trigger.name) {
                    expected = &transition;
                }
            }
            if (expected == nullptr) {
                EXPECT_EQ(event, "nothing");
                EXPECT_EQ(detector.phase(), before);
            } else {
                walked.insert(expected);
                EXPECT_EQ(event, expected->event);
                EXPECT_EQ(inWords(detector.phase()), expected->to);
            }
        }
    }
    EXPECT_EQ(walked.size(), std::size(transitions)) << "a row names an unknown phase or trigger";
}

} // namespace
} // namespace brindle
