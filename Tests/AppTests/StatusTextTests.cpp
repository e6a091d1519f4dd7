#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <gtest/gtest.h>

#include <string>

namespace brindle {
namespace {

StatusText::Facts facts() {
    return {
        .elapsed = Seconds{65},
        .camera = "Integrated Camera",
        .microphone = "Headset",
        .callName = "zoom.us",
        .waitingForAnswer = false};
}

TEST(StatusText, SaysThatItWatchesWhenThereIsNoCall) {
    EXPECT_EQ(StatusText::statusLine(SessionState::idle(), facts()), "Idle — watching for calls");
}

TEST(StatusText, AsksToLookAtTheNotificationWhileAPromptShows) {
    auto waiting = facts();
    waiting.waitingForAnswer = true;
    EXPECT_EQ(
        StatusText::statusLine(SessionState::idle(), waiting),
        "Call detected — record it? (see notification)");
}

TEST(StatusText, AnArmedCallIsNotRecordedEvenWhileAPromptShows) {
    auto waiting = facts();
    EXPECT_EQ(
        StatusText::statusLine(SessionState::armed("zoom#1"), waiting), "Not recording this call");
    waiting.waitingForAnswer = true;
    EXPECT_EQ(
        StatusText::statusLine(SessionState::armed("zoom#1"), waiting), "Not recording this call");
}

TEST(StatusText, ARecordingNamesTimeCallAndDevices) {
    EXPECT_EQ(
        StatusText::statusLine(SessionState::recording("zoom#1"), facts()),
        "Recording 01:05 — zoom.us — Integrated Camera / Headset");
}

TEST(StatusText, ARecordingOfANamelessCallLeavesTheNameOut) {
    auto nameless = facts();
    nameless.callName.reset();
    EXPECT_EQ(
        StatusText::statusLine(SessionState::recording("zoom#1"), nameless),
        "Recording 01:05 — Integrated Camera / Headset");
}

TEST(StatusText, ARecordingWithoutAStartHasJustBegun) {
    auto startless = facts();
    startless.elapsed.reset();
    EXPECT_EQ(
        StatusText::statusLine(SessionState::recording("zoom#1"), startless),
        "Recording 00:00 — zoom.us — Integrated Camera / Headset");
}

TEST(StatusText, MinutesAreNeverFoldedIntoHours) {
    struct Case {
        double seconds;
        std::string text;
    };
    for (const auto& [seconds, text] : {
             Case{0, "00:00"},
             Case{0.999, "00:00"},
             Case{-0.5, "00:00"},
             Case{-7200, "00:00"},
             Case{59.999, "00:59"},
             Case{60, "01:00"},
             Case{3'599.9, "59:59"},
             Case{3'600, "60:00"},
             Case{3'725, "62:05"},
             Case{4'500, "75:00"},
             Case{6'000, "100:00"},
             Case{604'800, "10080:00"},
         }) {
        EXPECT_EQ(StatusText::elapsedText(Seconds{seconds}), text) << seconds;
    }
}

TEST(StatusText, CallsAProgramByItsName) {
    const CallSource zoom{"zoom.us", "us.zoom.xos", CallSource::Kind::app, std::nullopt, "zoom"};
    EXPECT_EQ(StatusText::displayName(zoom), "zoom.us");
    const CallSource unknown{"pid 12", "", CallSource::Kind::other, std::nullopt, "other"};
    EXPECT_EQ(StatusText::displayName(unknown), "pid 12");
}

TEST(StatusText, CallsABrowserCallByItsSiteToo) {
    CallSource chrome{
        "Google Chrome", "com.google.Chrome", CallSource::Kind::browser, "meet.google.com",
        "chrome"};
    EXPECT_EQ(StatusText::displayName(chrome), "Google Chrome (meet.google.com)");
    chrome.site.reset();
    EXPECT_EQ(StatusText::displayName(chrome), "Google Chrome");
}

TEST(StatusText, OnlyABrowserHasASiteInItsName) {
    const CallSource odd{
        "zoom.us", "us.zoom.xos", CallSource::Kind::app, "meet.google.com", "zoom"};
    EXPECT_EQ(StatusText::displayName(odd), "zoom.us");
}

TEST(StatusText, CallsAManualRecordingSo) {
    EXPECT_EQ(StatusText::displayName(CallSource::manual()), "Manual recording");
}

} // namespace
} // namespace brindle
