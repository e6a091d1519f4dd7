#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"

#include "BrindleRecorderLinux/CommandLine/ConvertCommand.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Media/MediaEngine.hpp"
#include "BrindleRecorderLinux/Media/MediaEngineEntry.hpp"
#include "BrindleRecorderLinux/Media/QueuedMovieExporter.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireCaptureSession.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/OutputCapture.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include <dlfcn.h>
#include <pipewire/pipewire.h>

namespace brindle::media {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr std::chrono::seconds patience{30};

class SilentLog final : public SystemLog {
  public:
    void write(Level /*level*/, std::string_view /*message*/) override {}
};

class MediaEngineModuleTest : public testing::Test {
  protected:
    /// A copy of the module, which nobody else has loaded.
    std::filesystem::path copyOfTheModule() {
        std::filesystem::copy_file(BRINDLE_MEDIA_ENGINE, file_);
        return file_;
    }

    static std::string refusal(MediaEngineModule& module) {
        const auto engine = module.engine();
        return engine ? "no refusal" : engine.error().description;
    }

    static bool isLoaded(const std::string& name) {
        std::ifstream maps{"/proc/self/maps"};
        const std::string text{std::istreambuf_iterator<char>{maps}, {}};
        return text.find(name) != std::string::npos;
    }

    test::TemporaryFolder folder_;
    std::filesystem::path file_ = folder_.path() / "engine.so";
};

TEST_F(MediaEngineModuleTest, IsLoadedWhenTheEngineIsAskedFor) {
    MediaEngineModule module{copyOfTheModule()};
    EXPECT_TRUE(module.isUsable());
    EXPECT_FALSE(isLoaded(file_.string()));
    const auto engine = module.engine();
    ASSERT_TRUE(engine) << engine.error().description;
    EXPECT_TRUE(isLoaded(file_.string()));
    EXPECT_EQ(module.engine(), *engine) << "once";
}

TEST_F(MediaEngineModuleTest, IsTheOneThatWasThereAtTheStartWhenAnUpdateReplacesIt) {
    MediaEngineModule module{copyOfTheModule()};
    const auto update = folder_.path() / "engine.so.new";
    test::writeFile(update, test::Bytes(1000, std::uint8_t{7}));
    std::filesystem::rename(update, file_);
    const auto engine = module.engine();
    ASSERT_TRUE(engine) << engine.error().description;
    const auto movie = folder_.path() / "movie.mov";
    test::makeRecording(movie);
    const std::atomic<bool> cancelled = false;
    const auto duration = (*engine)->readableDuration(movie, cancelled);
    ASSERT_TRUE(duration);
    EXPECT_NEAR(duration->count(), 30, 0.1);
}

TEST_F(MediaEngineModuleTest, IsTheOneThatWasThereAtTheStartWhenItIsRemoved) {
    MediaEngineModule module{copyOfTheModule()};
    std::filesystem::remove(file_);
    const auto engine = module.engine();
    EXPECT_TRUE(engine) << engine.error().description;
}

TEST_F(MediaEngineModuleTest, SaysThatItIsMissing) {
    MediaEngineModule module{file_};
    EXPECT_FALSE(module.isUsable());
    EXPECT_EQ(
        refusal(module),
        "the media library cannot be loaded: " + file_.string() + ": No such file or directory");
}

TEST_F(MediaEngineModuleTest, SaysWhyAFileIsNoModule) {
    test::writeFile(file_, test::Bytes(1000, std::uint8_t{7}));
    MediaEngineModule module{file_};
    EXPECT_TRUE(module.isUsable()) << "nobody knows yet";
    EXPECT_THAT(
        refusal(module),
        AllOf(HasSubstr("the media library cannot be loaded: "), HasSubstr("invalid ELF header")));
    EXPECT_THAT(refusal(module), HasSubstr("invalid ELF header")) << "every time";
    EXPECT_FALSE(module.isUsable());
}

TEST_F(MediaEngineModuleTest, RefusesALibraryThatIsSomethingElse) {
    Dl_info library{};
    void* const function = reinterpret_cast<void*>(&pw_init);
    ASSERT_NE(dladdr(function, &library), 0);
    MediaEngineModule module{std::filesystem::canonical(library.dli_fname)};
    EXPECT_THAT(refusal(module), HasSubstr(mediaEngineEntryName));
}

TEST_F(MediaEngineModuleTest, RefusesOneOfAnotherVersion) {
    MediaEngineModule module{BRINDLE_OTHER_ENGINE};
    EXPECT_THAT(refusal(module), HasSubstr("belongs to another version of Brindle Recorder"));
}

TEST_F(MediaEngineModuleTest, ARecordingFailsWithTheReasonWhereItCannotBeLoaded) {
    MediaEngineModule module{file_};
    SilentLog log;
    PipeWireMovieFileOutput output{log, module};
    std::optional<PlatformError> error;
    output.startRecording(
        folder_.path() / "movie.mov",
        [&error](const std::filesystem::path&, std::optional<PlatformError> reason) {
            error = std::move(reason);
        });
    ASSERT_TRUE(error);
    EXPECT_THAT(error->description, HasSubstr("the media library cannot be loaded"));
    EXPECT_FALSE(output.isRecording());
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "movie.mov"));
}

TEST_F(MediaEngineModuleTest, ASessionTakesNoOutputWhereItCannotBeLoaded) {
    MediaEngineModule missing{file_};
    test::ManualMainLoop mainLoop;
    SilentLog log;
    PipeWireCaptureSession session{mainLoop, log, missing};
    EXPECT_FALSE(session.canAddOutput(session.makeMovieFileOutput()));

    MediaEngineModule built{BRINDLE_MEDIA_ENGINE};
    PipeWireCaptureSession another{mainLoop, log, built};
    EXPECT_TRUE(another.canAddOutput(another.makeMovieFileOutput()));
}

TEST_F(MediaEngineModuleTest, AConversionFailsWithTheReasonWhereItCannotBeLoaded) {
    MediaEngineModule module{file_};
    test::ManualMainLoop mainLoop;
    QueuedMovieExporter exporter{mainLoop, module};
    const auto movie = folder_.path() / "movie.mov";
    test::writeFile(movie, test::Bytes(1000, std::uint8_t{7}));
    const auto session = exporter.makePassthroughExport(movie);
    session->setOutput(folder_.path() / "movie.mp4", MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&completed] { completed = true; });
    ASSERT_TRUE(mainLoop.runUntil([&] { return completed; }, patience));
    EXPECT_EQ(session->status(), ExportSession::Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_THAT(session->error()->description, HasSubstr("the media library cannot be loaded"));

    std::optional<std::optional<Seconds>> duration;
    exporter.loadDuration(movie, [&](std::optional<Seconds> answer) { duration = answer; });
    ASSERT_TRUE(mainLoop.runUntil([&] { return duration.has_value(); }, patience));
    EXPECT_EQ(*duration, std::nullopt);
}

TEST_F(MediaEngineModuleTest, TheCommandKeepsTheMovieWhereItCannotBeLoaded) {
    MediaEngineModule module{file_};
    EventLoop loop;
    PosixFileManager files;
    test::OutputCapture output;
    test::OutputCapture errors;
    const auto movie = folder_.path() / "movie.mov";
    test::makeRecording(movie);
    const test::Bytes before = test::readFile(movie);
    EXPECT_FALSE(
        (ConvertCommand{loop, files, module, movie, output.stream(), errors.stream()}.run()));
    EXPECT_THAT(
        errors.text(),
        AllOf(HasSubstr("the media library cannot be loaded"), HasSubstr("movie.mov was kept.")));
    EXPECT_EQ(test::readFile(movie), before);
    EXPECT_EQ(output.text(), "");
}

} // namespace
} // namespace brindle::media
