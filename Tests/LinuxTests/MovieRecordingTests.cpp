#include "BrindleRecorderLinux/Capture/Record/MovieRecording.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"
#include "MovieInspection.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyntheticMedia.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

#include <date/date.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using test::greyPicture;
using test::toneBlock;

constexpr VideoOutputSettings video{
    .width = 640,
    .height = 360,
    .averageBitRate = 5'000'000,
    .expectedSourceFrameRate = 30,
    .maxKeyFrameInterval = 60,
    .firstPictureWithin = Seconds{2}};
constexpr AudioOutputSettings audio{.numberOfChannels = 1, .sampleRate = 48'000, .bitRate = 96'000};

/// What the finish callback said, and how often.
class Finish {
  public:
    MovieRecording::FinishCallback callback() {
        return [this](std::optional<PlatformError> error) {
            const std::lock_guard lock{mutex_};
            ++count_;
            error_ = std::move(error);
            changed_.notify_all();
        };
    }
    bool wait() {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, seconds{30}, [this] { return count_ > 0; });
    }
    int count() {
        const std::lock_guard lock{mutex_};
        return count_;
    }
    std::optional<PlatformError> error() {
        const std::lock_guard lock{mutex_};
        return error_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
    std::optional<PlatformError> error_;
};

capture::OutputFile newFile(const std::filesystem::path& path) {
    auto file = capture::OutputFile::create(path);
    EXPECT_TRUE(file) << path;
    return std::move(*file);
}

bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + seconds{30};
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds{5});
    }
    return true;
}

/// Plays camera and microphone: delivers in portions, never faster than they are encoded.
class Devices {
  public:
    explicit Devices(MovieRecording& recording) : recording_{recording} {}

    bool deliver(Seconds until) {
        for (; Seconds{1.0 * frame_ / 30} < until; ++frame_) {
            const Moment time = origin_ + nanoseconds{seconds{1}} * frame_ / 30;
            CapturedPicture picture = greyPicture(time, 16 + frame_ % 200, 640, 360);
            // Noise, which cannot be compressed away.
            for (std::size_t index = 0; noisy && index < picture.bytes.size(); ++index) {
                random_ = random_ * 1'664'525 + 1'013'904'223;
                picture.bytes[index] = static_cast<std::uint8_t>(random_ >> 24);
            }
            recording_.addPicture(std::move(picture));
            for (; sound_ <= time; sound_ += milliseconds{10}) {
                recording_.addSound(toneBlock(sound_, 480, 0.3, 440));
            }
            const Seconds written = Seconds{1.0 * frame_ / 30} - Seconds{0.4};
            if (!eventually([&] {
                    return recording_.recordedDuration() > written || !recording_.isActive();
                })) {
                return false;
            }
            if (!recording_.isActive()) {
                return true;
            }
        }
        return true;
    }

    bool noisy = false;

  private:
    MovieRecording& recording_;
    Moment origin_ = monotonicNow();
    Moment sound_ = origin_;
    int frame_ = 0;
    std::uint32_t random_ = 1;
};

class MovieRecordingTest : public testing::Test {
  protected:
    static MovieRecording::Settings bothTracks() { return {.video = video, .audio = audio}; }

    test::TemporaryFolder folder_;
    std::filesystem::path movie_ = folder_.path() / "movie.mov";
    Finish finish_;
};

TEST_F(MovieRecordingTest, ReportsTheFinishOnceWhenTheFileIsComplete) {
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    EXPECT_TRUE(recording.isActive());
    Devices devices{recording};
    ASSERT_TRUE(devices.deliver(Seconds{3}));
    EXPECT_GT(recording.recordedDuration(), Seconds{1});
    recording.finish();
    EXPECT_EQ(finish_.count(), 1);
    EXPECT_FALSE(finish_.error());
    EXPECT_FALSE(recording.isActive());
    recording.finish();
    EXPECT_EQ(finish_.count(), 1);
    EXPECT_NEAR(test::trackFacts(movie_, "v")->duration, 3, 0.3);
    EXPECT_NEAR(test::trackFacts(movie_, "a")->duration, 3, 0.3);
    EXPECT_EQ(test::boxes(movie_).back(), "mfra");
}

TEST_F(MovieRecordingTest, SaysWhenItBeganAndWhichProgramMadeItAndNoMore) {
    const auto before = std::chrono::floor<seconds>(std::chrono::system_clock::now());
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    Devices devices{recording};
    ASSERT_TRUE(devices.deliver(Seconds{1}));
    recording.finish();
    const auto tags = test::movieTags(movie_);
    const std::set<std::string> itsFormat{"major_brand", "minor_version", "compatible_brands"};
    std::set<std::string> names;
    for (const auto& [name, text] : tags) {
        if (!itsFormat.contains(name)) {
            names.insert(name);
        }
    }
    EXPECT_EQ(names, (std::set<std::string>{"creation_time", "encoder"}));
    EXPECT_EQ(tags.at("encoder"), "Brindle Recorder " + capture::programVersion());
    std::istringstream words{tags.at("creation_time")};
    date::sys_seconds began;
    words >> date::parse("%FT%T", began);
    ASSERT_TRUE(words) << tags.at("creation_time");
    EXPECT_GE(began, before);
    EXPECT_LE(began, std::chrono::system_clock::now());
}

TEST_F(MovieRecordingTest, IsForTheUserAlone) {
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    ASSERT_TRUE(eventually([this] { return std::filesystem::exists(movie_); }));
    struct stat status {};
    ASSERT_EQ(stat(movie_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(MovieRecordingTest, HasItsHeaderOnTheDiskBeforeTheFirstSample) {
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    EXPECT_TRUE(eventually([this] {
        return test::boxes(movie_) == std::vector<std::string>{"ftyp", "free", "moov"};
    }));
    EXPECT_EQ(recording.recordedDuration(), Seconds{0});
}

TEST_F(MovieRecordingTest, ReportsSettingsThatTheEncoderRefuses) {
    MovieRecording::Settings settings = bothTracks();
    settings.video->width = 641;
    MovieRecording recording{newFile(movie_), settings, finish_.callback()};
    ASSERT_TRUE(finish_.wait());
    EXPECT_TRUE(finish_.error());
}

TEST_F(MovieRecordingTest, CanBeStoppedWhileItStarts) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        Finish finish;
        const auto path = folder_.path() / (std::to_string(attempt) + ".mov");
        MovieRecording recording{newFile(path), bothTracks(), finish.callback()};
        recording.finish();
        EXPECT_EQ(finish.count(), 1);
        EXPECT_FALSE(finish.error());
    }
}

TEST_F(MovieRecordingTest, NoticesThatItsFolderWasRemoved) {
    const auto folder = folder_.path() / "recordings";
    std::filesystem::create_directory(folder);
    MovieRecording recording{newFile(folder / "movie.mov"), bothTracks(), finish_.callback()};
    Devices devices{recording};
    ASSERT_TRUE(devices.deliver(Seconds{2}));
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(finish_.wait());
    ASSERT_TRUE(finish_.error());
    EXPECT_EQ(finish_.error()->description, "the file or its folder was removed");
}

TEST_F(MovieRecordingTest, EndsWithTheLastCompleteFragmentWhenTheDiskIsFull) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can mount a small disk";
    }
    const auto disk = folder_.path() / "disk";
    std::filesystem::create_directory(disk);
    if (mount("none", disk.c_str(), "tmpfs", 0, "size=3m") != 0) {
        GTEST_SKIP() << "this system lets nobody mount a small disk";
    }
    {
        MovieRecording recording{newFile(disk / "movie.mov"), bothTracks(), finish_.callback()};
        Devices devices{recording};
        devices.noisy = true;
        EXPECT_TRUE(devices.deliver(Seconds{60}));
        EXPECT_FALSE(recording.isActive());
    }
    EXPECT_EQ(finish_.count(), 1);
    EXPECT_TRUE(finish_.error());
    EXPECT_EQ(finish_.error().value_or(PlatformError{}).code, ENOSPC);
    // All of what is there can be read, by a strict reader too.
    EXPECT_GE(test::tracksPerFragment(disk / "movie.mov").size(), 2U);
    EXPECT_EQ(test::boxes(disk / "movie.mov").back(), "mdat");
    EXPECT_GE(test::decodedPictures(disk / "movie.mov").size(), 60U);
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(MovieRecordingTest, ReportsTheFinishEvenWhenTheEncoderNeverAnswers) {
    // The encoder's thread hangs where it asks for the time.
    const auto hangs = std::make_shared<std::atomic<bool>>(false);
    const auto released = std::make_shared<std::atomic<bool>>(false);
    MovieRecording::Settings settings = bothTracks();
    settings.patience = milliseconds{300};
    settings.now = [hangs, released, test = std::this_thread::get_id()] {
        while (*hangs && !*released && std::this_thread::get_id() != test) {
            std::this_thread::sleep_for(milliseconds{5});
        }
        return monotonicNow();
    };
    {
        MovieRecording recording{newFile(movie_), settings, finish_.callback()};
        Devices devices{recording};
        ASSERT_TRUE(devices.deliver(Seconds{4}));
        *hangs = true;
        recording.finish();
        EXPECT_EQ(finish_.count(), 1);
        ASSERT_TRUE(finish_.error());
        EXPECT_EQ(finish_.error()->description, "the media library did not answer");
    }
    EXPECT_EQ(finish_.count(), 1);
    EXPECT_GE(test::decodedPictures(movie_).size(), 60U);
    *released = true;
}

TEST_F(MovieRecordingTest, CountsThePicturesThatWereLostOnTheWayToIt) {
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    const Moment begin = monotonicNow();
    for (int index = 0; index < 10; ++index) {
        auto picture = greyPicture(begin + nanoseconds{seconds{1}} * index / 30, 100, 320, 240);
        picture.lostBefore = index == 5 ? 7 : 0;
        recording.addPicture(std::move(picture));
    }
    EXPECT_EQ(recording.droppedPictures(), 7);
    recording.finish();
}

TEST_F(MovieRecordingTest, DropsPicturesInsteadOfWaitingForTheEncoder) {
    MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
    const Moment begin = monotonicNow();
    // Far more than can be encoded in that time.
    for (int index = 0; index < 600; ++index) {
        recording.addPicture(
            greyPicture(begin + nanoseconds{seconds{1}} * index / 30, 100, 1920, 1080));
    }
    recording.finish();
    EXPECT_FALSE(finish_.error());
    EXPECT_GT(recording.droppedPictures(), 0);
    EXPECT_TRUE(test::trackFacts(movie_, "v"));
}

TEST_F(MovieRecordingTest, IsEndedByItsDestruction) {
    {
        MovieRecording recording{newFile(movie_), bothTracks(), finish_.callback()};
        Devices devices{recording};
        ASSERT_TRUE(devices.deliver(Seconds{2}));
    }
    EXPECT_EQ(finish_.count(), 1);
    EXPECT_FALSE(finish_.error());
    EXPECT_EQ(test::boxes(movie_).back(), "mfra");
}

} // namespace
} // namespace brindle::media
