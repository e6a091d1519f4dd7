#include "BrindleRecorderLinux/Capture/Boxes/EditableFile.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"
#include "BrindleRecorderLinux/Capture/Convert/InPlaceCompletion.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieDuration.hpp"
#include "BrindleRecorderLinux/Capture/Convert/PassthroughCopy.hpp"
#include "BrindleRecorderLinux/Capture/Record/MovieRecording.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/MovieInspection.hpp"
#include "LinuxTests/SyntheticMedia.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace brindle {
namespace {

using media::completeInPlace;
using media::CopyControl;
using media::MovieOpening;
using media::SampleBytes;
using test::Bytes;
using test::Packet;
using test::Packets;
using test::readPackets;
using test::run;
using testing::ElementsAre;
using testing::HasSubstr;

/// A movie in memory that remembers what was done to it and fails when it is told to.
class WatchedMovie final : public media::EditableBytes {
  public:
    struct Write {
        std::int64_t offset = 0;
        Bytes bytes;
    };
    struct Cut {
        std::int64_t size = 0;
    };
    struct Sync {};
    using Step = std::variant<Write, Cut, Sync>;

    explicit WatchedMovie(Bytes bytes) : bytes_{std::move(bytes)} {}

    /// The steps from that one on, counted from 0, fail so many times.
    void failAt(std::size_t step, int times = 1) {
        failAt_ = step;
        failures_ = times;
    }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] const std::vector<Step>& steps() const { return steps_; }

    [[nodiscard]] std::int64_t size() const override { return std::ssize(bytes_); }
    Expected<std::size_t, int>
    readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override {
        const auto start = std::min(static_cast<std::size_t>(offset), bytes_.size());
        const std::size_t count = std::min(buffer.size(), bytes_.size() - start);
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(start), count, buffer.begin());
        return count;
    }
    [[nodiscard]] int append(std::span<const std::uint8_t> bytes) override {
        return write(size(), bytes);
    }
    [[nodiscard]] int overwrite(std::int64_t offset, std::span<const std::uint8_t> bytes) override {
        return write(offset, bytes);
    }
    [[nodiscard]] int cutTo(std::int64_t size) override {
        if (fails()) {
            return EIO;
        }
        steps_.emplace_back(Cut{size});
        apply(steps_.back(), bytes_);
        return 0;
    }
    [[nodiscard]] int sync() override {
        if (fails()) {
            return EIO;
        }
        steps_.emplace_back(Sync{});
        return 0;
    }

    static void apply(const Step& step, Bytes& bytes) {
        if (const auto* write = std::get_if<Write>(&step)) {
            const auto end = static_cast<std::size_t>(write->offset) + write->bytes.size();
            bytes.resize(std::max(bytes.size(), end));
            std::ranges::copy(write->bytes, bytes.begin() + write->offset);
        } else if (const auto* cut = std::get_if<Cut>(&step)) {
            bytes.resize(static_cast<std::size_t>(cut->size));
        }
    }

  private:
    int write(std::int64_t offset, std::span<const std::uint8_t> bytes) {
        if (fails()) {
            // Half of it is there.
            const auto half = bytes.first(bytes.size() / 2);
            const bool isAtTheEnd = offset == size();
            if (isAtTheEnd) {
                bytes_.insert(bytes_.end(), half.begin(), half.end());
            }
            return ENOSPC;
        }
        steps_.emplace_back(Write{offset, {bytes.begin(), bytes.end()}});
        apply(steps_.back(), bytes_);
        return 0;
    }
    bool fails() {
        if (step_++ < failAt_ || failures_ == 0) {
            return false;
        }
        --failures_;
        return true;
    }

    Bytes bytes_;
    std::vector<Step> steps_;
    std::size_t step_ = 0;
    std::size_t failAt_ = 0;
    int failures_ = 0;
};

/// What the file may hold after a loss of power: of what was done since the last sync every part
/// may be there or not, of what was appended any number of bytes, with zeros where they are
/// missing; and a sector is written whole or not at all.
std::vector<Bytes>
imagesAfterPowerLoss(const Bytes& before, std::span<const WatchedMovie::Step> done) {
    Bytes durable = before;
    std::vector<WatchedMovie::Step> open;
    for (const auto& step : done) {
        open.push_back(step);
        if (std::holds_alternative<WatchedMovie::Sync>(step)) {
            for (const auto& safe : open) {
                WatchedMovie::apply(safe, durable);
            }
            open.clear();
        }
    }
    std::vector<Bytes> images{durable};
    for (const auto& step : open) {
        std::vector<Bytes> more;
        for (const Bytes& image : images) {
            Bytes whole = image;
            WatchedMovie::apply(step, whole);
            more.push_back(whole);
            const auto* const write = std::get_if<WatchedMovie::Write>(&step);
            if (write != nullptr && write->offset >= std::ssize(image)) {
                for (const double part : {0.3, 0.8}) {
                    const auto there = static_cast<std::ptrdiff_t>(
                        part * static_cast<double>(write->bytes.size()));
                    Bytes shorter{whole.begin(), whole.begin() + write->offset + there};
                    more.push_back(shorter);
                    shorter.resize(whole.size());
                    more.push_back(std::move(shorter)); // its length is there, its end is not
                }
            }
        }
        images.insert(images.end(), more.begin(), more.end());
    }
    return images;
}

class InPlaceCompletion : public testing::Test {
  protected:
    static std::filesystem::path fresh(const std::string& ending) { return folder().fresh(ending); }

    static const Bytes& recordingBytes() {
        static const Bytes bytes = test::recordingOfOurs();
        return bytes;
    }

    static std::optional<std::string>
    complete(WatchedMovie& movie, SampleBytes bytes = SampleBytes::unproven) {
        CopyControl control;
        return completeInPlace(movie, bytes, control);
    }

    static std::vector<Packets> packetsOf(const Bytes& movie) {
        const auto path = fresh(".mov");
        test::writeFile(path, movie);
        auto packets = readPackets(path);
        std::filesystem::remove(path);
        return packets;
    }

    /// The packets that a copy of the movie holds.
    static std::vector<Packets> packetsOfCopy(const Bytes& movie) {
        CopyControl control;
        test::MemoryBytes source{movie};
        const auto output = fresh(".mp4");
        const auto copied = media::copyMovie(
            source, [&] { return capture::OutputFile::create(output); }, control);
        auto packets = copied ? readPackets(output) : std::vector<Packets>{};
        std::filesystem::remove(output);
        return packets;
    }

    static void expectSamePackets(
        const std::vector<Packets>& after, const std::vector<Packets>& before, bool atTheirPlaces,
        const std::string& what) {
        ASSERT_EQ(after.size(), before.size()) << what;
        for (std::size_t track = 0; track < before.size(); ++track) {
            ASSERT_EQ(after[track].size(), before[track].size()) << what;
            for (std::size_t index = 0; index < before[track].size(); ++index) {
                const Packet& then = before[track][index];
                const Packet& now = after[track][index];
                ASSERT_EQ(now.hash, then.hash) << what << ": " << track << ' ' << index;
                ASSERT_EQ(now.isKey, then.isKey) << what << ": " << track << ' ' << index;
                ASSERT_NEAR(now.decodeTime, then.decodeTime, 0.000'05)
                    << what << ": " << track << ' ' << index;
                ASSERT_NEAR(now.start, then.start, 0.000'05)
                    << what << ": " << track << ' ' << index;
                if (atTheirPlaces) {
                    ASSERT_EQ(now.position, then.position) << what << ": " << track << ' ' << index;
                }
            }
        }
    }

    static void expectWhole(const Bytes& movie, const Bytes& source) {
        std::vector<std::string> types;
        for (const auto& box : test::topLevelBoxes(movie)) {
            types.push_back(box.type);
        }
        EXPECT_THAT(types, ElementsAre("ftyp", "mdat", "moov"));
        constexpr std::ptrdiff_t opening = MovieOpening::length;
        ASSERT_GE(movie.size(), source.size());
        EXPECT_TRUE(std::equal(source.begin() + opening, source.end(), movie.begin() + opening))
            << "something else than the opening was written over";
        expectSamePackets(packetsOf(movie), packetsOf(source), true, "whole");
    }

  private:
    static test::MovieFolder& folder() {
        static test::MovieFolder shared;
        return shared;
    }
};

class InPlaceCompletionOf
    : public InPlaceCompletion,
      public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(InPlaceCompletionOf, LeavesEverySampleWhereItIsAtItsTime) {
    const Bytes source = test::recordingOfOurs(GetParam().second);
    WatchedMovie movie{source};
    ASSERT_EQ(complete(movie), std::nullopt);
    ASSERT_NO_FATAL_FAILURE(expectWhole(movie.bytes(), source));

    const auto before = fresh(".mov");
    test::writeFile(before, source);
    const auto after = fresh(".mp4");
    test::writeFile(after, movie.bytes());
    EXPECT_EQ(run("ffmpeg -nostdin -v error -xerror -i " + after.string() + " -f null -"), "");
    const auto lengthsBefore = test::trackDurations(before);
    const auto lengthsAfter = test::trackDurations(after);
    ASSERT_EQ(lengthsAfter.size(), lengthsBefore.size());
    CopyControl control;
    test::MemoryBytes sourceBytes{source};
    test::MemoryBytes wholeBytes{movie.bytes()};
    const auto sourceSeconds = media::readableDuration(sourceBytes);
    const auto seconds = media::readableDuration(wholeBytes);
    ASSERT_TRUE(sourceSeconds && seconds);
    EXPECT_NEAR(seconds->count(), sourceSeconds->count(), 0.001);
    // As the other way makes it.
    ASSERT_NO_FATAL_FAILURE(expectSamePackets(
        packetsOf(movie.bytes()), packetsOfCopy(source), false, "beside the copy"));
    for (const std::string track : {"v", "a"}) {
        const auto presented = [&](const std::filesystem::path& path) {
            return run(
                "ffmpeg -nostdin -v error -copyts -i " + path.string() + " -map 0:" + track +
                " -f framehash -hash CRC32 - | awk -F, '/^[^#]/ && $3 >= 0 { print $3 $6 }'");
        };
        const std::string expected = presented(before);
        EXPECT_GT(std::ranges::count(expected, '\n'), 500) << expected;
        EXPECT_EQ(presented(after), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , InPlaceCompletionOf,
    testing::Values(
        std::pair{"BothTracksFromTheBeginning", ""},
        std::pair{"SoundThatStartsLater", "-af asetpts=PTS+0.3/TB"},
        std::pair{"PicturesThatStartLater", "-vf setpts=PTS+0.25/TB"}),
    [](const auto& variant) { return std::string{variant.param.first}; });

TEST_F(InPlaceCompletion, MakesAnMp4OfWhatWeRecord) {
    const auto path = fresh(".mov");
    {
        constexpr VideoOutputSettings video{
            .width = 640,
            .height = 360,
            .averageBitRate = 2'000'000,
            .expectedSourceFrameRate = 30,
            .maxKeyFrameInterval = 60,
            .firstPictureWithin = Seconds{2}};
        constexpr AudioOutputSettings audio{
            .numberOfChannels = 1, .sampleRate = 48'000, .bitRate = 96'000};
        auto file = capture::OutputFile::create(path);
        ASSERT_TRUE(file);
        std::optional<PlatformError> error;
        media::MovieRecording recording{
            std::move(*file),
            {.video = video, .audio = audio},
            [&](std::optional<PlatformError> finished) {
                error = std::move(finished);
            }};
        const auto begin = media::monotonicNow();
        for (int frame = 0; frame < 100; ++frame) {
            const auto time =
                begin + std::chrono::nanoseconds{std::chrono::seconds{1}} * frame / 30;
            recording.addPicture(test::greyPicture(time, 16 + frame, 640, 360));
            recording.addSound(test::toneBlock(time, 1600, 0.3, 440));
        }
        recording.finish();
        ASSERT_FALSE(error) << error->description;
    }
    const Bytes source = test::readFile(path);
    EXPECT_THAT(test::boxes(path), testing::Contains("free"));
    const auto pictures = *test::trackFacts(path, "v");
    const auto sound = *test::trackFacts(path, "a");
    const auto tags = test::movieTags(path);
    ASSERT_GE(pictures.duration, 0.5);
    timespec changed{};
    {
        struct stat status {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        changed = status.st_mtim;
        CopyControl control;
        auto file = FileDescriptor::open(path, O_RDWR);
        ASSERT_TRUE(file);
        const auto movie = media::EditableFile::of(std::move(*file), control.cancelled);
        ASSERT_TRUE(movie);
        ASSERT_EQ(completeInPlace(**movie, SampleBytes::asWritten, control), std::nullopt);
        EXPECT_EQ(control.progress, 1);
    }
    ASSERT_NO_FATAL_FAILURE(expectWhole(test::readFile(path), source));
    const auto picturesAfter = *test::trackFacts(path, "v");
    const auto soundAfter = *test::trackFacts(path, "a");
    EXPECT_EQ(picturesAfter.codec, pictures.codec);
    EXPECT_EQ(picturesAfter.frameRate, pictures.frameRate);
    EXPECT_EQ(picturesAfter.colors, pictures.colors);
    EXPECT_NEAR(picturesAfter.duration, pictures.duration, 0.001);
    EXPECT_EQ(soundAfter.codec, sound.codec);
    EXPECT_EQ(soundAfter.channels, sound.channels);
    EXPECT_NEAR(soundAfter.duration, sound.duration, 0.001);
    const auto copy = fresh(".mp4");
    {
        CopyControl control;
        test::MemoryBytes bytes{source};
        ASSERT_TRUE(media::copyMovie(
            bytes, [&] { return capture::OutputFile::create(copy); }, control));
    }
    for (const auto& movie : {path, copy}) {
        const auto tagsAfter = test::movieTags(movie);
        EXPECT_EQ(tagsAfter.at("creation_time"), tags.at("creation_time")) << movie;
        EXPECT_EQ(tagsAfter.at("encoder"), tags.at("encoder")) << movie;
        EXPECT_EQ(tagsAfter.at("major_brand"), "isom") << movie;
    }
    EXPECT_EQ(run("ffmpeg -nostdin -v error -xerror -i " + path.string() + " -f null -"), "");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, changed.tv_sec);
    EXPECT_EQ(status.st_mtim.tv_nsec, changed.tv_nsec);
}

TEST_F(InPlaceCompletion, WritesTheIndexAndOneSector) {
    WatchedMovie movie{recordingBytes()};
    ASSERT_EQ(complete(movie), std::nullopt);
    ASSERT_EQ(movie.steps().size(), 4U);
    EXPECT_EQ(std::get<WatchedMovie::Write>(movie.steps()[0]).offset, std::ssize(recordingBytes()));
    EXPECT_TRUE(std::holds_alternative<WatchedMovie::Sync>(movie.steps()[1]));
    const auto& opening = std::get<WatchedMovie::Write>(movie.steps()[2]);
    EXPECT_EQ(opening.offset, 0);
    EXPECT_LE(opening.bytes.size(), 512U);
    EXPECT_TRUE(std::holds_alternative<WatchedMovie::Sync>(movie.steps()[3]));
}

TEST_F(InPlaceCompletion, IsDoneAgainWithoutWritingAnything) {
    WatchedMovie movie{recordingBytes()};
    ASSERT_EQ(complete(movie), std::nullopt);
    WatchedMovie again{movie.bytes()};
    EXPECT_EQ(complete(again), std::nullopt);
    EXPECT_TRUE(again.steps().empty());
    EXPECT_EQ(again.bytes(), movie.bytes());
}

TEST_F(InPlaceCompletion, LeavesAWholeMovieWheneverItIsKilledOrThePowerGoes) {
    WatchedMovie movie{recordingBytes()};
    ASSERT_EQ(complete(movie), std::nullopt);
    const auto before = packetsOf(recordingBytes());
    const std::span steps{movie.steps()};
    for (std::size_t done = 0; done <= steps.size(); ++done) {
        // Killed: what was done is there, synced or not.
        Bytes killed = recordingBytes();
        for (const auto& step : steps.first(done)) {
            WatchedMovie::apply(step, killed);
        }
        std::vector<Bytes> images = imagesAfterPowerLoss(recordingBytes(), steps.first(done));
        images.push_back(killed);
        for (const Bytes& image : images) {
            const std::string what = "after step " + std::to_string(done) + ", " +
                                     std::to_string(image.size()) + " bytes";
            ASSERT_NO_FATAL_FAILURE(expectSamePackets(packetsOfCopy(image), before, false, what));
            WatchedMovie next{image};
            ASSERT_EQ(complete(next), std::nullopt) << what;
            ASSERT_NO_FATAL_FAILURE(expectSamePackets(packetsOf(next.bytes()), before, true, what));
        }
    }
}

TEST_F(InPlaceCompletion, LeavesAWholeMovieWhicheverStepsFail) {
    const auto before = packetsOf(recordingBytes());
    constexpr int forEver = 1000;
    for (const int times : {1, 2, 3, forEver}) {
        for (std::size_t step = 0; step < 4; ++step) {
            const std::string what =
                "step " + std::to_string(step) + " and " + std::to_string(times - 1) + " more fail";
            WatchedMovie movie{recordingBytes()};
            movie.failAt(step, times);
            ASSERT_NE(complete(movie), std::nullopt) << what;
            ASSERT_NO_FATAL_FAILURE(
                expectSamePackets(packetsOfCopy(movie.bytes()), before, false, what));
            if (times == 1) {
                EXPECT_EQ(movie.bytes(), recordingBytes()) << what;
            }
            // And with the power gone on top of it.
            for (const Bytes& image : imagesAfterPowerLoss(recordingBytes(), movie.steps())) {
                ASSERT_NO_FATAL_FAILURE(
                    expectSamePackets(packetsOfCopy(image), before, false, what));
            }
            WatchedMovie next{movie.bytes()};
            ASSERT_EQ(complete(next), std::nullopt) << what;
        }
    }
}

TEST_F(InPlaceCompletion, TakesBackAnOpeningWhoseIndexDoesNotHold) {
    WatchedMovie whole{recordingBytes()};
    ASSERT_EQ(complete(whole), std::nullopt);
    const auto before = packetsOf(recordingBytes());
    for (const std::string table : {"stsz", "stco", "stts", "stss", "avcC", "mvhd"}) {
        Bytes damaged = whole.bytes();
        const auto box = std::search(
            damaged.begin() + std::ssize(recordingBytes()), damaged.end(), table.begin(),
            table.end());
        ASSERT_NE(box, damaged.end()) << table;
        for (int byte = 12; byte < 28; ++byte) {
            *(box + byte) ^= 0x15;
        }
        WatchedMovie movie{damaged};
        EXPECT_EQ(complete(movie), "its index is damaged") << table;
        ASSERT_NO_FATAL_FAILURE(expectSamePackets(
            packetsOfCopy(movie.bytes()), before, false, "with a damaged " + table));
        // And then with a new one.
        WatchedMovie next{movie.bytes()};
        EXPECT_EQ(complete(next), std::nullopt) << table;
        ASSERT_NO_FATAL_FAILURE(
            expectSamePackets(packetsOf(next.bytes()), before, true, "after a damaged " + table));
    }
}

TEST_F(InPlaceCompletion, DoesNotTouchADamagedRecording) {
    auto random = test::seededRandom();
    const std::int64_t size = std::ssize(recordingBytes());
    const auto place = [&](std::int64_t from, std::int64_t to) {
        return std::uniform_int_distribution{from, to - 1}(random);
    };
    int completed = 0;
    for (int round = 0; round < 60; ++round) {
        Bytes damaged = recordingBytes();
        constexpr std::int64_t block = 4096;
        const std::int64_t from = place(1, size / block) * block;
        if (round % 3 == 0) {
            damaged.resize(static_cast<std::size_t>(place(MovieOpening::length, size)));
        } else if (round % 3 == 1) {
            const std::int64_t to = std::min(size, from + place(1, 64) * block);
            std::fill(damaged.begin() + from, damaged.begin() + to, std::uint8_t{0});
        } else {
            damaged.resize(static_cast<std::size_t>(from));
            damaged.resize(static_cast<std::size_t>(from + place(1, 64) * block));
        }
        WatchedMovie movie{damaged};
        const auto why = complete(movie);
        const std::string what = "round " + std::to_string(round) + ": " + why.value_or("whole");
        if (why) {
            EXPECT_EQ(movie.bytes(), damaged) << what;
            continue;
        }
        // Cut between two fragments, or within the header of one.
        ++completed;
        ASSERT_NO_FATAL_FAILURE(
            expectSamePackets(packetsOf(movie.bytes()), packetsOfCopy(damaged), false, what));
    }
    std::cout << completed << " of 60 could be completed all the same\n";
}

TEST_F(InPlaceCompletion, CompletesARecordingThatWasCutOffBetweenOrWithinTheHeadersOfFragments) {
    for (const auto& box : test::topLevelBoxes(recordingBytes())) {
        if (box.type != "moof" || box.offset < 100'000) {
            continue;
        }
        for (const std::int64_t into : {std::int64_t{0}, std::int64_t{5}, box.size / 2}) {
            Bytes cut = recordingBytes();
            cut.resize(static_cast<std::size_t>(box.offset + into));
            WatchedMovie movie{cut};
            ASSERT_EQ(complete(movie), std::nullopt);
            ASSERT_NO_FATAL_FAILURE(expectSamePackets(
                packetsOf(movie.bytes()), packetsOfCopy(cut), false, std::to_string(into)));
        }
        // A fragment with half of its samples.
        Bytes cut = recordingBytes();
        cut.resize(static_cast<std::size_t>(box.end() + 20'000));
        WatchedMovie movie{cut};
        EXPECT_EQ(complete(movie), "it is damaged");
        EXPECT_EQ(movie.bytes(), cut);
    }
}

TEST_F(InPlaceCompletion, LooksAtSamplesThatNobodyVouchesFor) {
    const auto packets = packetsOf(recordingBytes());
    Bytes damaged = recordingBytes();
    const Packet& picture = packets[0].at(100);
    std::fill_n(damaged.begin() + picture.position, picture.size, std::uint8_t{0});
    WatchedMovie movie{damaged};
    EXPECT_EQ(complete(movie), "samples of it are damaged");
    EXPECT_EQ(movie.bytes(), damaged);
}

TEST_F(InPlaceCompletion, RefusesADecodersConfigurationThatIsNone) {
    Bytes damaged = recordingBytes();
    const std::string name = "avcC";
    const auto box = std::search(damaged.begin(), damaged.end(), name.begin(), name.end());
    ASSERT_NE(box, damaged.end());
    *(box + std::ssize(name)) = 0x53;
    WatchedMovie movie{damaged};
    EXPECT_EQ(complete(movie), "a decoder's configuration is damaged");
    EXPECT_EQ(complete(movie, SampleBytes::asWritten), "a decoder's configuration is damaged");
    EXPECT_EQ(movie.bytes(), damaged);
}

TEST_F(InPlaceCompletion, TakesOnlyRecordingsOfOurs) {
    const auto refuses = [](const Bytes& bytes) {
        WatchedMovie movie{bytes};
        const auto why = complete(movie);
        EXPECT_TRUE(why);
        EXPECT_EQ(movie.bytes(), bytes);
        return why.value_or("");
    };
    EXPECT_EQ(refuses({}), "it is no recording of this program's");
    EXPECT_EQ(refuses(Bytes(100'000)), "it is no recording of this program's");
    const auto others = fresh(".mov");
    test::makeRecording(others);
    EXPECT_EQ(refuses(test::readFile(others)), "it is no recording of this program's");
    EXPECT_EQ(
        refuses(test::recordingOfOurs("-movflags frag_keyframe+delay_moov+default_base_moof")),
        "it is edited");
    EXPECT_EQ(refuses(test::recordingOfOurs("-bf 2")), "an index cannot hold what it lists");
    Bytes header = recordingBytes();
    const auto boxes = test::topLevelBoxes(header);
    const auto moov = std::ranges::find(boxes, "moov", &test::TopLevelBox::type);
    header.resize(static_cast<std::size_t>(moov->end()));
    EXPECT_EQ(refuses(header), "it has no readable fragments");
}

TEST_F(InPlaceCompletion, LeavesTheMovieAsItIsWhenItIsCancelled) {
    WatchedMovie movie{recordingBytes()};
    CopyControl control;
    control.cancelled = true;
    EXPECT_TRUE(completeInPlace(movie, SampleBytes::unproven, control));
    EXPECT_TRUE(completeInPlace(movie, SampleBytes::asWritten, control));
    EXPECT_EQ(movie.bytes(), recordingBytes());
}

TEST(MovieOpeningTest, IsReadAsItWasWritten) {
    for (const MovieOpening& opening :
         {MovieOpening{.roomSize = 64, .index = std::nullopt},
          MovieOpening{.roomSize = 64, .index = 100'000},
          MovieOpening{.roomSize = 1000, .index = std::int64_t{1} << 40}}) {
        EXPECT_EQ(MovieOpening::parse(opening.bytes()), opening);
    }
}

TEST(MovieOpeningTest, IsNoneWhereAnyByteIsAnother) {
    for (const auto& opening :
         {MovieOpening{.roomSize = 64, .index = std::nullopt},
          MovieOpening{.roomSize = 64, .index = 100'000}}) {
        for (std::size_t byte = 0; byte < MovieOpening::length; ++byte) {
            auto bytes = opening.bytes();
            bytes.at(byte) ^= 0x40;
            const auto read = MovieOpening::parse(bytes);
            EXPECT_NE(read, opening) << byte;
        }
    }
    EXPECT_EQ(MovieOpening::parse(MovieOpening::Bytes{}), std::nullopt);
    EXPECT_EQ(MovieOpening::parse({}), std::nullopt);
}

} // namespace
} // namespace brindle
