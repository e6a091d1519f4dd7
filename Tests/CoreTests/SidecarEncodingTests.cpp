// What sidecars look like on disk, compared byte by byte with documents made by hand.
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include "Support/ExampleSidecar.hpp"
#include "Support/NamedTimeZone.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace brindle {
namespace {

using test::exampleSidecar;

std::string fixture(const std::string& name) {
    std::ifstream file{std::string{BRINDLE_FIXTURES} + "/Sidecar/" + name + ".json"};
    EXPECT_TRUE(file) << name;
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

TimeZone zone(const std::string& name) {
    return test::timeZoneNamed(name);
}

const TimeZone berlin = zone("Europe/Berlin");

/// The example without what need not be there.
Sidecar plainSidecar() {
    Sidecar sidecar = exampleSidecar();
    sidecar.source.reset();
    sidecar.callName.reset();
    return sidecar;
}

/// Writes as in the fixture, and reads back as the same.
void expectFixture(const std::string& name, const Sidecar& sidecar, const TimeZone& timeZone) {
    EXPECT_EQ(SidecarCoding::encode(sidecar, timeZone), fixture(name));
    const auto read = SidecarCoding::decode(fixture(name));
    ASSERT_TRUE(read) << read.error().message;
    EXPECT_TRUE(*read == sidecar) << name;
}

TEST(SidecarEncoding, WritesAFinishedRecording) {
    expectFixture("finished", exampleSidecar(), berlin);
}

TEST(SidecarEncoding, WritesARecordingInProgressWithANullEndAndAnEmptyList) {
    Sidecar sidecar = exampleSidecar();
    sidecar.endedAt.reset();
    sidecar.audioDevice = "Internal Microphone";
    sidecar.notes.clear();
    expectFixture("in-progress", sidecar, berlin);
}

TEST(SidecarEncoding, LeavesOutAbsentSourceAndCallNameButWritesANullEnd) {
    Sidecar sidecar = plainSidecar();
    sidecar.roomCode = "manual#2";
    sidecar.endedAt.reset();
    sidecar.notes.clear();
    expectFixture("optionals-absent", sidecar, TimeZone::utc());
}

TEST(SidecarEncoding, EscapesQuotesBackslashesAndControlCharacters) {
    Sidecar sidecar = plainSidecar();
    sidecar.roomCode = "\"\\";
    std::string controls;
    for (char control = 0; control < 0x20; ++control) {
        controls += control;
    }
    sidecar.notes = {controls, "quote \" backslash \\ delete \x7f end", "\u2028\u2029"};
    expectFixture("escapes", sidecar, berlin);
}

TEST(SidecarEncoding, WritesSlashesAsTheyAre) {
    Sidecar sidecar = plainSidecar();
    sidecar.videoDevice = "/dev/video0";
    sidecar.audioDevice = "a//b/</script>";
    sidecar.notes = {"/"};
    sidecar.callName = "Stand/up";
    expectFixture("slashes", sidecar, berlin);
}

TEST(SidecarEncoding, KeepsUtf8AsItIs) {
    Sidecar sidecar = plainSidecar();
    sidecar.videoDevice = "Caméra intégrée";
    sidecar.notes = {"日本語 · 🎥", "e\u0301"};
    sidecar.callName = "Zoom · ven. 09:30 🎙️";
    expectFixture("utf8", sidecar, berlin);
}

TEST(SidecarEncoding, WritesDatesWithTheOffsetOfTheZone) {
    expectFixture("offset-kathmandu", plainSidecar(), zone("Asia/Kathmandu"));
    // The date is in summer time there.
    expectFixture("offset-st-johns", plainSidecar(), zone("America/St_Johns"));
}

TEST(SidecarEncoding, WritesZOnlyForUtc) {
    // London in winter has UTC's offset without being UTC.
    expectFixture("offset-london", plainSidecar(), zone("Europe/London"));
    EXPECT_NE(
        SidecarCoding::encode(plainSidecar(), TimeZone::utc()).find("\"2025-03-14T08:30:12Z\""),
        std::string::npos);
}

TEST(SidecarEncoding, WritesEachDateWithItsOwnOffsetAcrossAChangeToSummerTime) {
    Sidecar sidecar = plainSidecar();
    sidecar.startedAt = *InternetDateTime::parse("2025-03-30T00:59:00Z");
    sidecar.endedAt = *InternetDateTime::parse("2025-03-30T01:01:00Z");
    expectFixture("across-summer-time", sidecar, berlin);
}

TEST(SidecarEncoding, WritesManyNotesInTheirOrder) {
    Sidecar sidecar = plainSidecar();
    sidecar.fallbackUsed = true;
    sidecar.interrupted = true;
    sidecar.notes.clear();
    for (int number = 1; number <= 12; ++number) {
        sidecar.notes.push_back("note " + std::to_string(number));
    }
    expectFixture("many-notes", sidecar, berlin);
}

TEST(SidecarEncoding, WritesTheSiteOfABrowserCall) {
    Sidecar sidecar = exampleSidecar();
    sidecar.roomCode = "chrome#7";
    sidecar.source = CallSource{
        .app = "Google Chrome",
        .bundleID = "com.google.Chrome",
        .kind = CallSource::Kind::browser,
        .site = "meet.google.com",
        .familyID = "com.google.Chrome"};
    sidecar.callName = "Google Chrome · Fri 09:30";
    expectFixture("with-site", sidecar, berlin);
}

TEST(SidecarEncoding, WritesDatesWithoutFractionsOfASecond) {
    Sidecar sidecar = exampleSidecar();
    sidecar.startedAt += std::chrono::nanoseconds{999'999'999};
    *sidecar.endedAt += std::chrono::milliseconds{500};
    expectFixture("finished", exampleSidecar(), berlin);
    EXPECT_EQ(SidecarCoding::encode(sidecar, berlin), fixture("finished"));
}

TEST(SidecarEncoding, DoesNotStoreTheFamilyOfASource) {
    Sidecar sidecar = exampleSidecar();
    sidecar.source->familyID = "zoom";
    EXPECT_EQ(SidecarCoding::encode(sidecar, berlin), fixture("finished"));
}

TEST(SidecarEncoding, WritesEveryKindOfSource) {
    using Kind = CallSource::Kind;
    for (const Kind kind : {Kind::app, Kind::browser, Kind::manual, Kind::other}) {
        Sidecar sidecar = exampleSidecar();
        sidecar.source->kind = kind;
        const std::string text = SidecarCoding::encode(sidecar, berlin);
        EXPECT_NE(
            text.find("\"kind\" : \"" + std::string{CallSource::rawValue(kind)} + '"'),
            std::string::npos);
        EXPECT_EQ(SidecarCoding::decode(text), sidecar);
    }
}

TEST(SidecarEncoding, ReplacesWhatIsNotUtf8SoThatItCanBeReadAgain) {
    struct Replacement {
        const char* name;
        std::string given;
        std::string read;
    };
    const Replacement cases[] = {
        {"a stray byte",
         "a\xFF"
         "b",
         "a\uFFFDb"},
        {"a stray continuation", "a\x80z", "a\uFFFDz"},
        {"a character cut off at the end", "caf\xC3", "caf\uFFFD"},
        {"an emoji cut off in the middle", "x\xF0\x9F\x8Ey", "x\uFFFDy"},
    };
    for (const auto& [name, given, expected] : cases) {
        Sidecar sidecar = exampleSidecar();
        sidecar.videoDevice = given;
        sidecar.notes = {given};
        sidecar.source->app = given;
        const auto read = SidecarCoding::decode(SidecarCoding::encode(sidecar, berlin));
        ASSERT_TRUE(read) << name << ": " << read.error().message;
        EXPECT_EQ(read->videoDevice, expected) << name;
        EXPECT_EQ(read->notes, std::vector{expected}) << name;
        EXPECT_EQ(read->source->app, expected) << name;
    }
    // How many replacement characters these take is nobody's business.
    for (const char* odd : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\xF8"}) {
        Sidecar sidecar = exampleSidecar();
        sidecar.callName = odd;
        const auto read = SidecarCoding::decode(SidecarCoding::encode(sidecar, berlin));
        ASSERT_TRUE(read) << read.error().message;
        EXPECT_TRUE(read->callName->starts_with("\uFFFD"));
    }
}

} // namespace
} // namespace brindle
