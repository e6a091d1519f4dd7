#include "BrindleRecorderCore/Calls/CallNaming.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include "Support/NamedTimeZone.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using Kind = CallSource::Kind;

CallSource source(const std::string& bundleID, Kind kind, const std::string& app = "An app") {
    return {app, bundleID, kind, std::nullopt, "a family"};
}

Date date(const char* text) {
    return *InternetDateTime::parse(text);
}

const TimeZone utc = TimeZone::utc();

TEST(CallNaming, ShortensTwoNames) {
    const std::map<std::string, std::string> expected{{"zoom", "Zoom"}, {"teams", "Teams"}};
    EXPECT_EQ(CallNaming::shortNames(), expected);
    EXPECT_EQ(CallNaming::appName(source("us.zoom.xos", Kind::app, "zoom.us")), "Zoom");
    EXPECT_EQ(CallNaming::appName(source("com.microsoft.teams2", Kind::app)), "Teams");
}

TEST(CallNaming, NamesEveryFamilyByEachOfItsIdentifiers) {
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        const std::string expected = family.id == "zoom"    ? "Zoom"
                                     : family.id == "teams" ? "Teams"
                                                            : family.name;
        for (const std::string& bundleID : family.bundleIDs) {
            EXPECT_EQ(CallNaming::appName(source(bundleID, Kind::app)), expected);
            EXPECT_EQ(CallNaming::appName(source(bundleID + ".helper", Kind::other)), expected);
        }
    }
}

TEST(CallNaming, NoSourceIsACall) {
    EXPECT_EQ(CallNaming::appName(std::nullopt), "Call");
}

TEST(CallNaming, AManualRecordingIsACall) {
    EXPECT_EQ(CallNaming::appName(CallSource::manual()), "Call");
    EXPECT_EQ(CallNaming::appName(source("us.zoom.xos", Kind::manual)), "Call");
}

TEST(CallNaming, AnUnknownProgramGoesByItsOwnName) {
    EXPECT_EQ(
        CallNaming::appName(source("com.example.tool", Kind::other, "com.example.tool")),
        "com.example.tool");
    EXPECT_EQ(CallNaming::appName(source("", Kind::other, "pid 812")), "pid 812");
}

TEST(CallNaming, AnUnknownProgramWithoutANameIsACall) {
    EXPECT_EQ(CallNaming::appName(source("com.example.tool", Kind::other, "")), "Call");
}

TEST(CallNaming, AWebMeetingIsNamedAfterItsBrowser) {
    const CallSource meeting{
        "Google Chrome", "com.google.Chrome", Kind::browser, "meet.google.com", "chrome"};
    EXPECT_EQ(CallNaming::appName(meeting), "Google Chrome");
}

TEST(CallNaming, ASourceReadBackFromAFileIsNamedByItsIdentifier) {
    const CallSource readBack{
        "Microsoft Teams", "com.microsoft.teams2", Kind::app, std::nullopt, "com.microsoft.teams2"};
    EXPECT_EQ(CallNaming::appName(readBack), "Teams");
}

TEST(CallNaming, AddsWeekdayAndTime) {
    EXPECT_EQ(
        CallNaming::name(source("us.zoom.xos", Kind::app), date("2025-03-11T14:05:59Z"), utc),
        "Zoom · Tue 14:05");
    EXPECT_EQ(
        CallNaming::name(std::nullopt, date("2025-03-11T14:05:00Z"), utc),
        "Call \xc2\xb7 Tue 14:05");
}

TEST(CallNaming, KnowsEveryWeekday) {
    const char* weekdays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    Date day = date("2025-03-10T09:07:00Z");
    for (const char* weekday : weekdays) {
        EXPECT_EQ(
            CallNaming::name(std::nullopt, day, utc), "Call · " + std::string{weekday} + " 09:07");
        day += std::chrono::days{1};
    }
}

TEST(CallNaming, HasTwentyFourHoursThatBeginAtZero) {
    EXPECT_EQ(
        CallNaming::name(std::nullopt, date("2025-03-11T00:00:00Z"), utc), "Call · Tue 00:00");
    EXPECT_EQ(
        CallNaming::name(std::nullopt, date("2025-03-11T12:00:00Z"), utc), "Call · Tue 12:00");
    EXPECT_EQ(
        CallNaming::name(std::nullopt, date("2025-03-11T23:59:59Z"), utc), "Call · Tue 23:59");
}

TEST(CallNaming, GoesByTheGivenTimeZone) {
    const Date lateOnTuesdayInUtc = date("2025-03-11T20:30:00Z");
    EXPECT_EQ(
        CallNaming::name(std::nullopt, lateOnTuesdayInUtc, test::timeZoneNamed("Asia/Kathmandu")),
        "Call · Wed 02:15");
    EXPECT_EQ(
        CallNaming::name(
            std::nullopt, date("2025-03-11T03:00:00Z"), test::timeZoneNamed("America/Los_Angeles")),
        "Call · Mon 20:00");
}

TEST(CallNaming, HandlesStartsBeforeTheEpoch) {
    EXPECT_EQ(
        CallNaming::name(std::nullopt, date("1969-12-31T23:59:00Z"), utc), "Call · Wed 23:59");
}

} // namespace
} // namespace brindle
