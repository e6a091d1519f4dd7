#include "BrindleRecorderLinux/CommandLine/ConvertCommand.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "MovieFixtures.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class ConvertCommandTest : public testing::Test {
  protected:
    bool convert() {
        EventLoop loop;
        return convertOn(loop);
    }
    bool convertOn(EventLoop& loop, const char* program = BRINDLE_CAPTURE_PROGRAM) {
        PosixFileManager files;
        capture::CaptureChildren children{loop, program};
        return ConvertCommand{loop, files, children, movie, output.stream(), errors.stream()}.run();
    }

    test::MovieFolder folder;
    std::filesystem::path movie = folder.path() / "call.mov";
    std::filesystem::path mp4 = folder.path() / "call.mp4";
    test::OutputCapture output;
    test::OutputCapture errors;
};

TEST_F(ConvertCommandTest, ConvertsAMovieThatWasCutOff) {
    test::makeRecording(movie);
    test::Bytes bytes = test::readFile(movie);
    bytes.resize(bytes.size() * 3 / 4);
    test::writeFile(movie, bytes);

    EXPECT_TRUE(convert());
    EXPECT_EQ(output.text(), mp4.string() + "\n");
    EXPECT_EQ(errors.text(), "") << "no bar where there is no terminal";
    EXPECT_FALSE(std::filesystem::exists(movie));
    ASSERT_TRUE(std::filesystem::exists(mp4));
    EXPECT_EQ(test::run("ffmpeg -nostdin -v error -xerror -i " + mp4.string() + " -f null -"), "");
}

TEST_F(ConvertCommandTest, KeepsAMovieOfWhichNothingCanBeRead) {
    test::writeFile(movie, test::Bytes(1000, std::uint8_t{7}));
    EXPECT_FALSE(convert());
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(errors.text(), HasSubstr("call.mov was kept."));
    EXPECT_EQ(test::readFile(movie), test::Bytes(1000, std::uint8_t{7}));
    EXPECT_FALSE(std::filesystem::exists(mp4));
}

TEST_F(ConvertCommandTest, LeavesAMovieAloneThatIsBeingRecorded) {
    const auto recording = capture::OutputFile::create(movie);
    ASSERT_TRUE(recording);
    EXPECT_FALSE(convert());
    EXPECT_THAT(errors.text(), HasSubstr("is being recorded right now"));
    EXPECT_TRUE(std::filesystem::exists(movie));
}

TEST_F(ConvertCommandTest, ConvertsAMovieOnceItIsNoLongerBeingRecorded) {
    { const auto recording = capture::OutputFile::create(movie); }
    EXPECT_FALSE(capture::OutputFile::isBeingWritten(movie));
}

TEST_F(ConvertCommandTest, KeepsTheMovieWhenItIsInterrupted) {
    test::makeRecording(movie);
    const test::Bytes before = test::readFile(movie);
    EventLoop loop;
    loop.quit(); // before the conversion has done anything
    EXPECT_FALSE(convertOn(loop));
    EXPECT_THAT(errors.text(), HasSubstr("Export was cancelled. call.mov was kept."));
    EXPECT_EQ(test::readFile(movie), before);
    EXPECT_FALSE(std::filesystem::exists(mp4));
}

TEST_F(ConvertCommandTest, KeepsTheMovieWhereThereIsNoCaptureProgram) {
    test::makeRecording(movie);
    const test::Bytes before = test::readFile(movie);
    EventLoop loop;
    EXPECT_FALSE(convertOn(loop, "/nonexistent/brindle-recorder-capture"));
    EXPECT_THAT(
        errors.text(),
        AllOf(HasSubstr("brindle-recorder-capture is missing"), HasSubstr("call.mov was kept.")));
    EXPECT_EQ(test::readFile(movie), before);
    EXPECT_EQ(output.text(), "");
}

} // namespace
} // namespace brindle
