#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"

#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/WaitOnLoop.hpp"
#include "Support/EnvironmentVariable.hpp"
#include "Support/RecordingSystemLog.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace brindle {
namespace {

using test::Bytes;
using test::readPackets;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Status = ExportSession::Status;

/// Whatever this process has started and what still runs.
void killChildProcesses() {
    for (const auto& thread : std::filesystem::directory_iterator{"/proc/self/task"}) {
        std::ifstream children{thread.path() / "children"};
        for (pid_t child = 0; children >> child;) {
            kill(child, SIGKILL);
        }
    }
}

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

    /// A recording of ours, for the user alone as they are.
    static std::filesystem::path recordingOfOurs() {
        static const Bytes bytes = test::recordingOfOurs();
        const auto path = fresh(".mov");
        test::writeFile(path, bytes);
        std::filesystem::permissions(path, std::filesystem::perms{0600});
        return path;
    }

    static std::uintmax_t fileOf(const std::filesystem::path& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
    }

    static void expectSameSamples(
        const std::vector<test::Packets>& after, const std::vector<test::Packets>& before) {
        ASSERT_EQ(before.size(), after.size());
        for (std::size_t track = 0; track < before.size(); ++track) {
            ASSERT_EQ(before[track].size(), after[track].size());
            for (std::size_t index = 0; index < before[track].size(); ++index) {
                ASSERT_EQ(before[track][index].hash, after[track][index].hash);
            }
        }
    }

    std::shared_ptr<ExportSession> exportMovie(
        const std::filesystem::path& source, const std::filesystem::path& destination,
        MovieOrigin origin = MovieOrigin::found) {
        const auto session = exporter.makePassthroughExport(source, origin);
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
    test::RecordingSystemLog systemLog;
    ChildMovieExporter exporter{loop, systemLog, children};

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
    expectSameSamples(readPackets(output), readPackets(recording()));
}

TEST_F(ChildMovieExport, MakesARecordingOfOursTheOutputUnderASecondName) {
    for (const auto origin : {MovieOrigin::justRecorded, MovieOrigin::found}) {
        const auto source = recordingOfOurs();
        const auto before = readPackets(source);
        const auto sourceSeconds = durationOf(source, exporter);
        const auto output = fresh(".mp4");
        const auto session = exportMovie(source, output, origin);
        ASSERT_EQ(session->status(), Status::completed);
        EXPECT_EQ(session->damagedBytesLeftOut(), 0);
        EXPECT_EQ(fileOf(output), fileOf(source));
        EXPECT_FALSE(capture::OutputFile::isBeingWritten(output));
        expectSameSamples(readPackets(output), before);
        const auto seconds = durationOf(output, exporter);
        ASSERT_TRUE(seconds && sourceSeconds);
        EXPECT_NEAR(seconds->count(), sourceSeconds->count(), 0.001);

        // As if the rest of the conversion had not come to pass.
        std::filesystem::remove(output);
        const auto again = fresh(".mp4");
        ASSERT_EQ(exportMovie(source, again)->status(), Status::completed);
        EXPECT_EQ(fileOf(again), fileOf(source));
        std::filesystem::remove(source);
        expectSameSamples(readPackets(again), before);
        EXPECT_THAT(systemLog.lines(), IsEmpty());
    }
}

TEST_F(ChildMovieExport, CopiesWhatCannotHaveASecondName) {
    using Change = std::function<void(const std::filesystem::path&)>;
    const std::vector<std::pair<std::string, Change>> table{
        {"has two names",
         [](const auto& source) {
             std::filesystem::create_hard_link(source, fresh(".mov"));
         }},
        {"is a link",
         [](const auto& source) {
             const auto elsewhere = fresh(".mov");
             std::filesystem::rename(source, elsewhere);
             std::filesystem::create_symlink(elsewhere, source);
         }},
        {"others may read it", [](const auto& source) {
             std::filesystem::permissions(source, std::filesystem::perms{0640});
         }}};
    for (const auto& [what, change] : table) {
        const auto source = recordingOfOurs();
        change(source);
        const Bytes before = test::readFile(source);
        const auto output = fresh(".mp4");
        EXPECT_EQ(exportMovie(source, output)->status(), Status::completed) << what;
        EXPECT_NE(fileOf(output), fileOf(source)) << what;
        EXPECT_EQ(test::readFile(source), before) << what;
        expectSameSamples(readPackets(output), readPackets(source));
        EXPECT_THAT(
            systemLog.lines(), ElementsAre(
                                   "remux copies: " + source.filename().string() +
                                   ": it cannot have a second name here"))
            << what;
        systemLog.clear();
    }
}

TEST_F(ChildMovieExport, CopiesADamagedRecordingAndLeavesItAsItWas) {
    const auto source = recordingOfOurs();
    Bytes damaged = test::readFile(source);
    const auto picture = readPackets(source).at(0).at(200);
    std::fill_n(damaged.begin() + picture.position, picture.size, std::uint8_t{0});
    test::writeFile(source, damaged);
    const auto output = fresh(".mp4");
    const auto session = exportMovie(source, output);
    EXPECT_EQ(session->status(), Status::completed);
    EXPECT_GT(session->damagedBytesLeftOut(), 0);
    EXPECT_NE(fileOf(output), fileOf(source));
    EXPECT_EQ(test::readFile(source), damaged);
    EXPECT_THAT(
        systemLog.lines(),
        ElementsAre("remux copies: " + source.filename().string() + ": samples of it are damaged"));
}

TEST_F(ChildMovieExport, LosesNothingWheneverItIsKilled) {
    auto random = test::seededRandom();
    int inPlace = 0;
    for (int round = 0; round < 25; ++round) {
        const auto source = recordingOfOurs();
        const auto before = readPackets(source);
        const auto output = fresh(".mp4");
        const auto session = exporter.makePassthroughExport(source, MovieOrigin::justRecorded);
        session->setOutput(output, MovieFileType::mpeg4);
        bool isCompleted = false;
        session->exportAsynchronously([&] { isCompleted = true; });
        const std::chrono::milliseconds after{std::uniform_int_distribution{0, 250}(random)};
        bool isTime = false;
        const auto timer = loop.after(after, [&] { isTime = true; });
        ASSERT_TRUE(waitUntil(loop, [&] { return isCompleted || isTime; }));
        killChildProcesses();
        ASSERT_TRUE(waitUntil(loop, [&] { return isCompleted; }));
        inPlace += fileOf(output) == fileOf(source) ? 1 : 0;
        ASSERT_NO_FATAL_FAILURE(expectSameSamples(readPackets(source), before)) << round;
        std::filesystem::remove(output); // as the next attempt does
        const auto next = fresh(".mp4");
        ASSERT_EQ(exportMovie(source, next)->status(), Status::completed);
        EXPECT_EQ(fileOf(next), fileOf(source));
        ASSERT_NO_FATAL_FAILURE(expectSameSamples(readPackets(next), before)) << round;
        std::filesystem::remove(source);
        std::filesystem::remove(next);
    }
    std::cout << inPlace << " of 25 were done before they were killed\n";
}

TEST_F(ChildMovieExport, MeasuresAMovie) {
    EXPECT_NEAR(durationOf(recording(), exporter).value_or(Seconds{0}).count(), 30, 0.1);
}

TEST_F(ChildMovieExport, HasNoSessionForWhatIsNoFile) {
    EXPECT_EQ(exporter.makePassthroughExport(fresh(".mov"), MovieOrigin::found), nullptr);
    EXPECT_EQ(exporter.makePassthroughExport("/", MovieOrigin::found), nullptr);
    const auto pipe = fresh(".mov");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(exporter.makePassthroughExport(pipe, MovieOrigin::found), nullptr);
    EXPECT_EQ(durationOf(fresh(".mov"), exporter), std::nullopt);
    EXPECT_EQ(durationOf("/", exporter), std::nullopt);
    EXPECT_EQ(durationOf(pipe, exporter), std::nullopt);
}

TEST_F(ChildMovieExport, SaysWhenTheSourceHasGone) {
    const auto source = fresh(".mov");
    test::writeFile(source, {1, 2, 3});
    const auto session = exporter.makePassthroughExport(source, MovieOrigin::found);
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
    const auto session = exporter.makePassthroughExport(recording(), MovieOrigin::found);
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
    const auto session = exporter.makePassthroughExport(recording(), MovieOrigin::found);
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
    const auto session = exporter.makePassthroughExport(recording(), MovieOrigin::found);
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
        const auto session = exporter.makePassthroughExport(recording(), MovieOrigin::found);
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
        ChildMovieExporter shortLived{loop, systemLog, children};
        session = shortLived.makePassthroughExport(recording(), MovieOrigin::found);
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
    const auto session = exporter.makePassthroughExport(source, MovieOrigin::found);
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
    ChildMovieExporter without{loop, systemLog, none};
    const auto output = fresh(".mp4");
    const auto session = without.makePassthroughExport(recording(), MovieOrigin::found);
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

TEST_F(ChildMovieExport, MeasuresAFileOnceUnderAllItsNamesUntilItIsChanged) {
    const test::EnvironmentVariable chosen{"BRINDLE_ODDITY", "measures-anew"};
    capture::CaptureChildren odd{loop, BRINDLE_ODD_CAPTURE_PROGRAM};
    ChildMovieExporter by{loop, systemLog, odd};
    const auto movie = recordingOfOurs();
    const auto second = fresh(".mp4");
    std::filesystem::create_hard_link(movie, second);
    const auto measured = durationOf(movie, by);
    ASSERT_TRUE(measured);
    EXPECT_EQ(durationOf(second, by), measured);

    const auto other = recordingOfOurs();
    EXPECT_NE(durationOf(other, by), measured);
    const auto again = durationOf(second, by);
    std::ofstream{movie, std::ios::app} << "more";
    EXPECT_NE(durationOf(second, by), again);
}

/// A capture program that misbehaves in one way each.
class OddCaptureProgram : public ChildMovieExport,
                          public testing::WithParamInterface<std::pair<const char*, const char*>> {
};

TEST_P(OddCaptureProgram, IsAnErrorOfOneConversionAndSaysWhich) {
    const auto& [oddity, words] = GetParam();
    const test::EnvironmentVariable chosen{"BRINDLE_ODDITY", oddity};
    capture::CaptureChildren odd{loop, BRINDLE_ODD_CAPTURE_PROGRAM};
    ChildMovieExporter by{loop, systemLog, odd};
    const auto output = fresh(".mp4");
    const auto session = by.makePassthroughExport(recording(), MovieOrigin::found);
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
