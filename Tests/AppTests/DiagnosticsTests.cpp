#include "BrindleRecorderApp/Diagnostics.hpp"

#include "Support/FakeDateProvider.hpp"
#include "Support/InMemoryFileManager.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

class DiagnosticsOfFiles : public testing::Test {
  protected:
    test::FakeDateProvider clock;
    test::InMemoryFileManager files{clock};
    const std::filesystem::path movie = "/movies/a.mov";
};

TEST_F(DiagnosticsOfFiles, SayThatAPathWithoutAFileIsMissing) {
    EXPECT_EQ(Diagnostics::fileState(files, movie), "missing");
    EXPECT_EQ(Diagnostics::fileSize(files, movie), std::nullopt);
}

TEST_F(DiagnosticsOfFiles, TellTheSizeInBytes) {
    files.putFile(movie, "captured");
    EXPECT_EQ(Diagnostics::fileState(files, movie), "exists, 8 bytes");
    EXPECT_EQ(Diagnostics::fileSize(files, movie), 8);
}

TEST_F(DiagnosticsOfFiles, DoNotTakeAnEmptyFileForAMissingOne) {
    files.putFile(movie, "");
    EXPECT_EQ(Diagnostics::fileState(files, movie), "exists, 0 bytes");
    EXPECT_EQ(Diagnostics::fileSize(files, movie), 0);
}

TEST_F(DiagnosticsOfFiles, CallAFileMissingThatCannotBeLookedAt) {
    files.putFile(movie, "captured");
    files.failEveryCallWith(movie);
    EXPECT_EQ(Diagnostics::fileState(files, movie), "missing");
    EXPECT_EQ(Diagnostics::fileSize(files, movie), std::nullopt);
}

TEST(Diagnostics, DescribesAnErrorByDomainCodeAndText) {
    EXPECT_EQ(
        Diagnostics::describe({.domain = "D", .code = 4, .description = "T", .underlying = {}}),
        "D 4: T");
}

TEST(Diagnostics, NamesTheUnderlyingError) {
    EXPECT_EQ(
        Diagnostics::describe(
            {.domain = "D",
             .code = 4,
             .description = "T",
             .underlying = PlatformError::Underlying{.domain = "P", .code = 2}}),
        "D 4 / underlying P 2: T");
}

} // namespace
} // namespace brindle
