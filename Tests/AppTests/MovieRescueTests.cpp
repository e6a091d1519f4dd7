#include "BrindleRecorderApp/Recording/MovieRescue.hpp"

#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "Support/FakeDateProvider.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/MemoryDiagnosticLog.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/ScriptedMovieExporter.hpp"
#include "Support/TaskProbe.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindle {
namespace {

using Files = std::vector<std::filesystem::path>;

class MovieRescueTest : public testing::Test {
  protected:
    Expected<std::filesystem::path, std::string> rescueMovie(const std::filesystem::path& movie) {
        const test::TaskProbe probe{rescue.rescue(movie)};
        loop.runPosted();
        EXPECT_TRUE(probe.isDone());
        return probe.value();
    }

    test::FakeDateProvider clock;
    test::ManualMainLoop loop{clock};
    test::InMemoryFileManager files{clock};
    test::MemoryDiagnosticLog diagnostics;
    test::RecordingSystemLog systemLog;
    test::ScriptedMovieExporter exporter{loop, files};
    Remuxer remuxer{exporter, loop, clock, files, diagnostics.log(), systemLog};
    MovieRescue rescue{files, remuxer};
};

TEST_F(MovieRescueTest, PutsTheMp4InThePlaceOfTheMov) {
    files.putFile("/movies/a.b.mov", "captured");
    EXPECT_EQ(rescueMovie("/movies/a.b.mov"), std::filesystem::path{"/movies/a.b.mp4"});
    EXPECT_EQ(files.files(), (Files{"/movies/a.b.mp4"}));
}

TEST_F(MovieRescueTest, ReplacesNoMp4ThatIsThereAlready) {
    files.putFile("/movies/a.mov", "captured");
    files.putFile("/movies/a.mp4", "other");
    EXPECT_EQ(
        rescueMovie("/movies/a.mov").error(),
        "/movies/a.mp4 is there already, and nothing was changed; move one of the two away first");
    EXPECT_EQ(files.contents("/movies/a.mov"), "captured");
    EXPECT_EQ(files.contents("/movies/a.mp4"), "other");
}

TEST_F(MovieRescueTest, KeepsTheMovWhenItCannotBeConverted) {
    files.putFile("/movies/a.mov", "captured");
    exporter.script().canBeMade = false;
    EXPECT_EQ(
        rescueMovie("/movies/a.mov").error(),
        "Converting to MP4 failed: Could not create a passthrough export session. a.mov was kept.");
    EXPECT_EQ(files.files(), (Files{"/movies/a.mov"}));
}

TEST_F(MovieRescueTest, TakesNothingButAMovThatIsThere) {
    files.putFile("/movies/a.mp4", "movie");
    EXPECT_EQ(rescueMovie("/movies/a.mp4").error(), "/movies/a.mp4 is not a .mov file");
    EXPECT_EQ(rescueMovie("/movies/b.mov").error(), "there is no file /movies/b.mov");
    EXPECT_EQ(files.contents("/movies/a.mp4"), "movie");
}

} // namespace
} // namespace brindle
