#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include "Support/ExampleSidecar.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::exampleSidecar;

const Date end = *InternetDateTime::parse("2025-03-14T11:00:00Z");

TEST(SidecarUpdate, FinishingSetsTheEndAndNothingElse) {
    for (const bool wasInterrupted : {false, true}) {
        Sidecar before = exampleSidecar();
        before.endedAt.reset();
        before.interrupted = wasInterrupted;
        Sidecar expected = before;
        expected.endedAt = end;
        EXPECT_EQ(SidecarUpdate::finished(before, end), expected);
        EXPECT_FALSE(before.endedAt);
    }
}

TEST(SidecarUpdate, FinishingAgainMovesTheEnd) {
    EXPECT_EQ(SidecarUpdate::finished(exampleSidecar(), end).endedAt, end);
}

TEST(SidecarUpdate, InterruptionAddsItsNoteAfterTwoOthers) {
    Sidecar before = exampleSidecar();
    before.endedAt.reset();
    before.notes = {"first", "second"};
    Sidecar expected = before;
    expected.endedAt = end;
    expected.interrupted = true;

    expected.notes = {
        "first", "second",
        "Recording was interrupted; the .mov was remuxed to .mp4 on next launch."};
    EXPECT_EQ(SidecarUpdate::interrupted(before, end, true), expected);

    expected.notes.back() =
        "Recording was interrupted; remux to .mp4 failed, the .mov was left in place.";
    EXPECT_EQ(SidecarUpdate::interrupted(before, end, false), expected);

    EXPECT_EQ(before.notes.size(), 2U);
    EXPECT_FALSE(before.interrupted);
}

TEST(SidecarUpdate, NotesStandInTheOrderOfAdding) {
    const Sidecar before = exampleSidecar();
    Sidecar expected = before;
    expected.notes.insert(expected.notes.end(), {"one", "two", ""});
    const Sidecar after = SidecarUpdate::noting(
        SidecarUpdate::noting(SidecarUpdate::noting(before, "one"), "two"), "");
    EXPECT_EQ(after, expected);
}

} // namespace
} // namespace brindle
