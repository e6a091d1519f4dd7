#include "BrindleRecorderApp/Words/Diagnosis.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* home = "/home/ann";

TEST(Diagnosis, SaysEachFactInItsLines) {
    EXPECT_THAT(
        Diagnosis::lines(
            {{"kernel", "Linux 6.1"}, {"cameras", "one\ntwo\n"}, {"failures", ""}}, home),
        ElementsAre("kernel: Linux 6.1", "cameras:", "  one", "  two", "failures: none"));
}

TEST(Diagnosis, ShortensTheHomeFolderWhereverItStands) {
    EXPECT_THAT(
        Diagnosis::lines(
            {{"a", "/home/ann/Movies and \"/home/ann\", /home/anna/x"}, {"b", "/home/ann"}}, home),
        ElementsAre("a: ~/Movies and \"~\", /home/anna/x", "b: ~"));
    // A home that is everything's beginning is nobody's secret.
    EXPECT_THAT(Diagnosis::lines({{"a", "/usr/bin"}}, "/"), ElementsAre("a: /usr/bin"));
    EXPECT_THAT(Diagnosis::lines({{"a", "/usr/bin"}}, ""), ElementsAre("a: /usr/bin"));
}

TEST(Diagnosis, FindsFailuresInTheLogAndNamesNoCall) {
    const std::string log =
        "2026-11-23T09:00:00.000Z call detected: Chrome [com.google.Chrome] site=meet.google.com → "
        "com.google.Chrome|meet.google.com#1\n"
        "2026-11-23T09:00:01.000Z begin recording: room=com.google.Chrome|meet.google.com#1 "
        "continuing=- audioOnly=false\n"
        "2026-11-23T09:00:02.000Z capture failure #1 in room com.google.Chrome|meet.google.com#1: "
        "Camera or microphone stopped working. file=2026-11-23_0900 decision=restart\n"
        "2026-11-23T09:00:03.000Z recording finished: 2026-11-23_0900.mov exists, 5 bytes "
        "error=none\n"
        "2026-11-23T09:00:04.000Z recording finished: 2026-11-23_0901.mov missing error=POSIX 28: "
        "full\n"
        "2026-11-23T09:00:05.000Z recording not begun: room=us.zoom.xos#2 is over\n"
        "2026-11-23T09:00:06.000Z brindle-recorder-capture is missing: nothing can be recorded\n";
    EXPECT_THAT(
        Diagnosis::failures(log, 10),
        ElementsAre(
            "2026-11-23T09:00:02.000Z capture failure #1: Camera or microphone stopped working. "
            "file=2026-11-23_0900 decision=restart",
            "2026-11-23T09:00:04.000Z recording finished: 2026-11-23_0901.mov missing error=POSIX "
            "28: full",
            "2026-11-23T09:00:05.000Z recording not begun:",
            "2026-11-23T09:00:06.000Z brindle-recorder-capture is missing: nothing can be "
            "recorded"));
}

TEST(Diagnosis, KeepsTheLastFailures) {
    std::string log;
    for (int number = 1; number <= 5; ++number) {
        log += "t nothing could be opened for " + std::to_string(number) + '\n';
    }
    EXPECT_THAT(
        Diagnosis::failures(log, 2),
        ElementsAre("t nothing could be opened for 4", "t nothing could be opened for 5"));
    EXPECT_THAT(Diagnosis::failures("", 2), IsEmpty());
    EXPECT_THAT(Diagnosis::failures("\n\nno time\n", 2), IsEmpty());
}

} // namespace
} // namespace brindle
