#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"

#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace brindle {
namespace {

using test::Bytes;
using test::readPackets;
using testing::HasSubstr;
using Status = ExportSession::Status;

class ChildMovieExport : public testing::Test {
  protected:
    static const std::filesystem::path& recording() {
        static const std::filesystem::path path = [] {
            auto made = folder().path() / "recording.mov";
            test::makeRecording(made);
            return made;
        }();
        return path;
    }

    static std::filesystem::path fresh(const std::string& ending) { return folder().fresh(ending); }

    std::shared_ptr<ExportSession>
    exportMovie(const std::filesystem::path& source, const std::filesystem::path& destination) {
        const auto session = exporter.makePassthroughExport(source);
        session->setOutput(destination, MovieFileType::mpeg4);
        bool completed = false;
        session->exportAsynchronously([&] { completed = true; });
        EXPECT_EQ(session->status(), Status::exporting);
        EXPECT_TRUE(waitUntil(loop, [&] { return completed; })) << source;
        return session;
    }

    void expectFailure(
        const ExportSession& session, const std::string& domain, int code,
        const std::filesystem::path& output) {
        EXPECT_EQ(session.status(), Status::failed);
        ASSERT_TRUE(session.error());
        EXPECT_EQ(session.error()->domain, domain);
        EXPECT_EQ(session.error()->code, code);
        EXPECT_FALSE(std::filesystem::exists(output));
    }

    std::optional<Seconds> durationOf(const std::filesystem::path& movie, ChildMovieExporter& by) {
        std::optional<std::optional<Seconds>> answer;
        by.loadDuration(movie, [&](std::optional<Seconds> duration) { answer = duration; });
        EXPECT_TRUE(waitUntil(loop, [&] { return answer.has_value(); }));
        return answer.value_or(std::nullopt);
    }

    EventLoop loop;
    capture::CaptureChildren children{loop, BRINDLE_CAPTURE_PROGRAM};
    ChildMovieExporter exporter{loop, children};

  private:
    static test::MovieFolder& folder() {
        static test::MovieFolder shared;
        return shared;
    }
};

TEST_F(ChildMovieExport, ConvertsEverySample) {
    const auto output = fresh(".mp4");
    const auto session = exportMovie(recording(), output);
    EXPECT_EQ(session->status(), Status::completed);
    EXPECT_EQ(session->progress(), 1);
    EXPECT_EQ(session->damagedBytesLeftOut(), 0);
    const auto before = readPackets(recording());
    const auto after = readPackets(output);
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t track = 0; track < before.size(); ++track) {
        ASSERT_EQ(before[track].size(), after[track].size());
        for (std::size_t index = 0; index < before[track].size(); ++index) {
            EXPECT_EQ(before[track][index].hash, after[track][index].hash);
        }
    }
}

TEST_F(ChildMovieExport, MeasuresAMovie) {
    EXPECT_NEAR(durationOf(recording(), exporter).value_or(Seconds{0}).count(), 30, 0.1);
}

TEST_F(ChildMovieExport, HasNoSessionForWhatIsNoFile) {
    EXPECT_EQ(exporter.makePassthroughExport(fresh(".mov")), nullptr);
    EXPECT_EQ(exporter.makePassthroughExport("/"), nullptr);
    const auto pipe = fresh(".mov");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(exporter.makePassthroughExport(pipe), nullptr);
    EXPECT_EQ(durationOf(fresh(".mov"), exporter), std::nullopt);
    EXPECT_EQ(durationOf("/", exporter), std::nullopt);
    EXPECT_EQ(durationOf(pipe, exporter), std::nullopt);
}

TEST_F(ChildMovieExport, SaysWhenTheSourceHasGone) {
    const auto source = fresh(".mov");
    test::writeFile(source, {1, 2, 3});
    const auto session = exporter.makePassthroughExport(source);
    ASSERT_NE(session, nullptr);
    std::filesystem::remove(source);
    const auto output = fresh(".mp4");
    session->setOutput(output, MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    expectFailure(*session, "POSIX", ENOENT, output);
}

TEST_F(ChildMovieExport, LeavesNothingBehindOfAMovieThatCannotBeRead) {
    const auto source = fresh(".mov");
    test::writeFile(source, Bytes(1000, std::uint8_t{7}));
    const auto output = fresh(".mp4");
    expectFailure(*exportMovie(source, output), "Movie", 0, output);
    EXPECT_EQ(durationOf(source, exporter), std::nullopt);
}

TEST_F(ChildMovieExport, NeverWritesOverAFileThatIsThere) {
    const auto output = fresh(".mp4");
    test::writeFile(output, {1, 2, 3});
    const auto session = exportMovie(recording(), output);
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->code, EEXIST);
    EXPECT_EQ(test::readFile(output), (Bytes{1, 2, 3}));
}

TEST_F(ChildMovieExport, WritesMpeg4AndNothingElse) {
    const auto session = exporter.makePassthroughExport(recording());
    EXPECT_EQ(session->supportedFileTypes(), std::vector{MovieFileType::mpeg4});
    const auto output = fresh(".mov");
    session->setOutput(output, MovieFileType::quickTime);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    expectFailure(*session, "POSIX", ENOTSUP, output);
}

TEST_F(ChildMovieExport, FailsWithTheSystemsErrorWhenTheDiskIsFull) {
    const auto disk = fresh("-disk");
    std::filesystem::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "a small file system needs the right to mount one";
    }
    const auto session = exportMovie(recording(), disk / "full.mp4");
    umount2(disk.c_str(), MNT_DETACH);
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->domain, "POSIX");
    EXPECT_EQ(session->error()->code, ENOSPC);
    EXPECT_EQ(session->error()->description, "No space left on device");
}

TEST_F(ChildMovieExport, FailsWhenTheFolderIsMissing) {
    const auto output = fresh("") / "output.mp4";
    expectFailure(*exportMovie(recording(), output), "POSIX", ENOENT, output);
}

TEST_F(ChildMovieExport, IsCancelledBeforeItBegins) {
    const auto session = exporter.makePassthroughExport(recording());
    const auto output = fresh(".mp4");
    session->setOutput(output, MovieFileType::mpeg4);
    session->cancel();
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    EXPECT_EQ(session->status(), Status::exporting);
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    EXPECT_EQ(session->status(), Status::cancelled);
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(ChildMovieExport, IsCancelledAtOnceAfterItHasBegun) {
    const auto session = exporter.makePassthroughExport(recording());
    session->setOutput(fresh(".mp4"), MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    session->cancel();
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    EXPECT_EQ(session->status(), Status::cancelled);
}

TEST_F(ChildMovieExport, ASessionThatGoesWhileItRunsTellsNobody) {
    bool told = false;
    for (int round = 0; round < 6; ++round) {
        const auto session = exporter.makePassthroughExport(recording());
        const auto output = fresh(".mp4");
        session->setOutput(output, MovieFileType::mpeg4);
        session->exportAsynchronously([&] { told = true; });
        // Every other time it is on its way.
        ASSERT_TRUE(round % 2 == 0 || waitUntil(loop, [&] {
                        return told || std::filesystem::exists(output);
                    }));
        told = false;
    }
    // Later work of the same loop comes after whatever the sessions could still have posted.
    EXPECT_TRUE(durationOf(recording(), exporter));
    EXPECT_FALSE(told);
}

TEST_F(ChildMovieExport, OutlivesNothingThatItHandedOut) {
    std::shared_ptr<ExportSession> session;
    std::optional<std::optional<Seconds>> duration;
    bool completed = false;
    {
        ChildMovieExporter shortLived{loop, children};
        session = shortLived.makePassthroughExport(recording());
        session->setOutput(fresh(".mp4"), MovieFileType::mpeg4);
        session->exportAsynchronously([&] { completed = true; });
        shortLived.loadDuration(recording(), [&](auto answer) { duration = answer; });
    }
    EXPECT_TRUE(waitUntil(loop, [&] { return completed && duration.has_value(); }));
    EXPECT_EQ(session->status(), Status::completed);
}

TEST_F(ChildMovieExport, WaitsForAMovieThatIsStillBeingClosed) {
    const auto source = fresh(".mov");
    std::filesystem::copy_file(recording(), source);
    // As the capture program of a recorder that has just died holds it.
    const auto writer = FileDescriptor::open(source, O_RDWR);
    ASSERT_TRUE(writer);
    ASSERT_EQ(flock(writer->number(), LOCK_EX), 0);
    const auto session = exporter.makePassthroughExport(source);
    session->setOutput(fresh(".mp4"), MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    EXPECT_FALSE(waitUntil(
        loop, [&] { return completed; }, std::chrono::seconds{2}));
    ASSERT_EQ(flock(writer->number(), LOCK_UN), 0);
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    EXPECT_EQ(session->status(), Status::completed);
}

TEST_F(ChildMovieExport, FailsWithTheReasonWhereThereIsNoCaptureProgram) {
    capture::CaptureChildren none{loop, "/nonexistent/brindle-recorder-capture"};
    ChildMovieExporter without{loop, none};
    const auto output = fresh(".mp4");
    const auto session = without.makePassthroughExport(recording());
    session->setOutput(output, MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_THAT(session->error()->description, HasSubstr("brindle-recorder-capture is missing"));
    EXPECT_FALSE(std::filesystem::exists(output));
    EXPECT_EQ(durationOf(recording(), without), std::nullopt);
}

/// A capture program that misbehaves in one way each.
class OddCaptureProgram : public ChildMovieExport,
                          public testing::WithParamInterface<std::pair<const char*, const char*>> {
};

TEST_P(OddCaptureProgram, IsAnErrorOfOneConversionAndSaysWhich) {
    const auto& [oddity, words] = GetParam();
    const test::EnvironmentVariable chosen{"BRINDLE_ODDITY", oddity};
    capture::CaptureChildren odd{loop, BRINDLE_ODD_CAPTURE_PROGRAM};
    ChildMovieExporter by{loop, odd};
    const auto output = fresh(".mp4");
    const auto session = by.makePassthroughExport(recording());
    session->setOutput(output, MovieFileType::mpeg4);
    bool completed = false;
    session->exportAsynchronously([&] { completed = true; });
    ASSERT_TRUE(waitUntil(loop, [&] { return completed; }));
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_THAT(session->error()->description, HasSubstr(words));
    EXPECT_FALSE(std::filesystem::exists(output));
}

INSTANTIATE_TEST_SUITE_P(
    , OddCaptureProgram,
    testing::Values(
        std::pair{"another-version", "belongs to another version of Brindle Recorder"},
        std::pair{"no-greeting", "does not say who it is"},
        std::pair{"ends-at-once", "it ended with status 3"},
        std::pair{"crashes", "it was ended by signal 6"},
        std::pair{"hangs", "it did not answer for 5 s"},
        std::pair{"speaks-gibberish", "sends a message that cannot be read"},
        std::pair{"nests-deeply", "sends a message"},
        std::pair{"sends-too-much", "sends what is no message"},
        std::pair{"sends-descriptors", "sends what is no message"},
        std::pair{"names-an-unknown-message", "sends a message of an unknown kind"},
        std::pair{"lacks-a-part", "lacks a part"},
        std::pair{"answers-something-else", "answers something else"}),
    [](const auto& oddity) {
        std::string name = oddity.param.first;
        std::erase(name, '-');
        return name;
    });

} // namespace
} // namespace brindle
