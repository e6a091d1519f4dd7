#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include "Support/EnvironmentVariable.hpp"
#include "Support/NamedTimeZone.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::EnvironmentVariable;

Date date(const char* text) {
    return *InternetDateTime::parse(text);
}

const Date piDay = date("2025-03-14T09:30:12Z");

TEST(TimeZone, OfTheUserIsTheOneThatTheEnvironmentNames) {
    for (const char* name : {"Asia/Kathmandu", ":Asia/Kathmandu"}) {
        const EnvironmentVariable variable{"TZ", name};
        EXPECT_EQ(TimeZone::current().offsetAt(piDay), 5h + 45min) << name;
    }
    for (const char* name : {"UTC", ":Etc/UTC", "UTC0"}) {
        const EnvironmentVariable variable{"TZ", name};
        EXPECT_TRUE(TimeZone::current().isUtc()) << name;
    }
}

TEST(TimeZone, OfTheUserMayBeARule) {
    const EnvironmentVariable variable{"TZ", "CET-1CEST,M3.5.0,M10.5.0/3"};
    const TimeZone zone = TimeZone::current();
    EXPECT_EQ(zone.offsetAt(date("2025-03-30T00:59:59Z")), 1h);
    EXPECT_EQ(zone.offsetAt(date("2025-03-30T01:00:00Z")), 2h);
    EXPECT_EQ(zone.offsetAt(Date{} - 1ns), 1h);
    EXPECT_FALSE(zone.isUtc());
}

TEST(TimeZone, OfTheUserIsUtcByEachOfItsNames) {
    for (const char* name :
         {"UTC", "Etc/UTC", "Etc/UCT", "Etc/Zulu", "UCT", "Zulu", "Universal", "Etc/Universal"}) {
        const EnvironmentVariable variable{"TZ", name};
        EXPECT_TRUE(TimeZone::current().isUtc()) << name;
    }
    const EnvironmentVariable variable{"TZ", "Europe/London"};
    EXPECT_FALSE(TimeZone::current().isUtc()) << "not even in winter";
}

TEST(TimeZone, KeepsTheRulesThatItIsGiven) {
    const TimeZone zone{[](Date date) {
        return date < piDay ? 1h : 2h;
    }};
    EXPECT_EQ(zone.offsetAt(piDay - 1ns), 1h);
    EXPECT_EQ(zone.offsetAt(piDay), 2h);
    EXPECT_FALSE(zone.isUtc());
    EXPECT_EQ(TimeZone::utc().offsetAt(piDay), 0h);
}

TEST(TimeZone, ChangesToSummerTimeAndBackAtTheSecond) {
    const TimeZone berlin = test::timeZoneNamed("Europe/Berlin");
    EXPECT_EQ(berlin.offsetAt(date("2025-03-30T00:59:59Z")), 1h);
    EXPECT_EQ(berlin.offsetAt(date("2025-03-30T01:00:00Z")), 2h);
    EXPECT_EQ(berlin.offsetAt(date("2025-10-26T00:59:59Z")), 2h);
    EXPECT_EQ(berlin.offsetAt(date("2025-10-26T01:00:00Z")), 1h);
}

TEST(TimeZone, ShowsEveryFieldOfClockAndCalendar) {
    const LocalTime nextDay{
        .year = 2025,
        .month = 1,
        .day = 1,
        .hour = 2,
        .minute = 30,
        .second = 59,
        .weekday = 3,
        .fraction = 123'456'789ns};
    EXPECT_EQ(
        test::timeZoneNamed("Asia/Kathmandu")
            .localTimeAt(date("2024-12-31T20:45:59Z") + 123'456'789ns),
        nextDay);
    const LocalTime beforeTheEpoch{
        .year = 1969,
        .month = 12,
        .day = 31,
        .hour = 23,
        .minute = 59,
        .second = 59,
        .weekday = 3,
        .fraction = 999'999'999ns};
    EXPECT_EQ(TimeZone::utc().localTimeAt(Date{} - 1ns), beforeTheEpoch);
}

} // namespace
} // namespace brindle
