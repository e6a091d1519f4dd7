#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include "Support/NamedTimeZone.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

const Date piDay = *InternetDateTime::parse("2025-03-14T09:30:12Z");

TEST(InternetDateTime, WritesZOnlyForUtcItself) {
    EXPECT_EQ(InternetDateTime::format(piDay, TimeZone::utc()), "2025-03-14T09:30:12Z");
    // London in winter has UTC's offset without being UTC.
    EXPECT_EQ(
        InternetDateTime::format(piDay, test::timeZoneNamed("Europe/London")),
        "2025-03-14T09:30:12+00:00");
}

TEST(InternetDateTime, WritesOffsetsToTheMinute) {
    EXPECT_EQ(
        InternetDateTime::format(piDay, test::timeZoneNamed("Asia/Kathmandu")),
        "2025-03-14T15:15:12+05:45");
    EXPECT_EQ(
        InternetDateTime::format(piDay, test::timeZoneNamed("America/St_Johns")),
        "2025-03-14T07:00:12-02:30");
}

TEST(InternetDateTime, TruncatesFractionsOfASecond) {
    const Date late = piDay + std::chrono::microseconds{999'999};
    EXPECT_EQ(InternetDateTime::format(late, TimeZone::utc()), "2025-03-14T09:30:12Z");
    EXPECT_EQ(
        InternetDateTime::format(late, TimeZone::utc(), InternetDateTime::Fraction::milliseconds),
        "2025-03-14T09:30:12.999Z");
}

TEST(InternetDateTime, ReadsEveryOffsetAsTheSameInstant) {
    EXPECT_EQ(InternetDateTime::parse("2025-03-14T10:30:12+01:00"), piDay);
    EXPECT_EQ(InternetDateTime::parse("2025-03-14T15:15:12+05:45"), piDay);
    EXPECT_EQ(InternetDateTime::parse("2025-03-13T21:30:12-12:00"), piDay);
}

TEST(InternetDateTime, RefusesWhatIsNotAWholeSecondDateTimeWithZone) {
    for (const char* text :
         {"", "2025-03-14", "2025-03-14 09:30:12", "2025-03-14T09:30:12",
          "2025-03-14T09:30:12.500Z", "2025-02-30T09:30:12Z", "2025-13-01T09:30:12Z",
          "2025-00-10T09:30:12Z", "2025-03-14T24:00:00Z", "2025-03-14T09:60:12Z",
          "2016-12-31T23:59:60Z", "2025-03-14T09:30:12z", "2025-03-14T09:30:12+0100",
          "2025-03-14T09:30:12+01:00 ", "2025-03-14T09:30:12+24:00", "2025-03-14T09:30:12+01:60",
          "2025-03-14T09:30:12~", " 2025-03-14T09:30:12Z", "-025-03-14T09:30:12Z"}) {
        EXPECT_FALSE(InternetDateTime::parse(text)) << text;
    }
}

TEST(InternetDateTime, RefusesYearsThatADateCannotHold) {
    for (const char* text :
         {"0000-01-01T00:00:00Z", "0001-01-01T00:00:00Z", "1676-12-31T23:59:59Z",
          "1677-09-21T00:12:43Z", "2262-04-11T23:47:17Z", "2263-01-01T00:00:00Z",
          "9999-12-31T23:59:59-23:59"}) {
        EXPECT_FALSE(InternetDateTime::parse(text)) << text;
    }
    for (const char* text : {"1678-01-01T00:00:00Z", "2261-12-31T23:59:59Z"}) {
        const auto date = InternetDateTime::parse(text);
        ASSERT_TRUE(date) << text;
        EXPECT_EQ(InternetDateTime::format(*date, TimeZone::utc()), text);
    }
}

TEST(InternetDateTime, KeepsTheMomentInZonesThatWereOffBySeconds) {
    // Local mean time, as kept there until 1893 and 1920.
    for (const char* zone : {"Europe/Berlin", "Asia/Kathmandu", "America/New_York"}) {
        const Date date = *InternetDateTime::parse("1880-06-01T12:00:00Z");
        const std::string text = InternetDateTime::format(date, test::timeZoneNamed(zone));
        EXPECT_EQ(InternetDateTime::parse(text), date) << text;
    }
}

} // namespace
} // namespace brindle
