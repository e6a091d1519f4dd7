#include "BrindleRecorderApp/Platform/MovieExporter.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieDuration.hpp"
#include "BrindleRecorderLinux/Capture/Convert/PassthroughCopy.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"
#include "LinuxTests/MovieFixtures.hpp"
#include "LinuxTests/MovieInspection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <functional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindle {
namespace {

using media::CopyControl;
using media::copyMovie;
using test::Bytes;
using test::Packet;
using test::Packets;
using test::readPackets;
using test::run;
using test::TopLevelBox;
using testing::HasSubstr;
using Status = ExportSession::Status;

struct Outcome {
    Status status = Status::unknown;
    std::optional<PlatformError> error;
    std::int64_t damagedBytesLeftOut = 0;
};

class MovieExport : public testing::Test {
  protected:
    /// The recording that most tests damage, made once.
    static const std::filesystem::path& recording() {
        static const std::filesystem::path path = [] {
            auto made = folder().path() / "recording.mov";
            test::makeRecording(made);
            return made;
        }();
        return path;
    }
    static const Bytes& recordingBytes() {
        static const Bytes bytes = test::readFile(recording());
        return bytes;
    }

    static std::filesystem::path fresh(const std::string& ending) { return folder().fresh(ending); }

    static Outcome
    exportMovie(const std::filesystem::path& source, const std::filesystem::path& destination) {
        CopyControl control;
        auto file = FileDescriptor::open(source, O_RDONLY);
        EXPECT_TRUE(file) << source;
        const auto bytes = media::FileBytes::of(std::move(*file), control.cancelled);
        EXPECT_TRUE(bytes) << source;
        const auto copied = copyMovie(
            **bytes, [&] { return capture::OutputFile::create(destination); }, control);
        return {
            copied ? Status::completed : Status::failed,
            copied ? std::nullopt : std::optional{copied.error()}, control.damagedBytes};
    }

    /// A new file for every copy.
    static media::MakeDestination newFile() {
        return [] {
            return capture::OutputFile::create(fresh(".mp4"));
        };
    }

    /// Writes the bytes to a file and exports it.
    static Outcome exportBytes(const Bytes& bytes, const std::filesystem::path& destination) {
        const auto source = fresh(".mov");
        test::writeFile(source, bytes);
        const Outcome outcome = exportMovie(source, destination);
        std::filesystem::remove(source);
        return outcome;
    }

    static std::optional<Seconds> durationOf(const std::filesystem::path& movie) {
        const std::atomic<bool> cancelled = false;
        auto file = FileDescriptor::open(movie, O_RDONLY);
        EXPECT_TRUE(file) << movie;
        const auto bytes = media::FileBytes::of(std::move(*file), cancelled);
        return bytes ? media::readableDuration(**bytes) : std::nullopt;
    }

  private:
    static test::MovieFolder& folder() {
        static test::MovieFolder shared;
        return shared;
    }
};

// What a damaged file still holds, reckoned from the intact one.

/// Whether byte ranges overlap.
bool overlap(std::int64_t start, std::int64_t end, std::int64_t otherStart, std::int64_t otherEnd) {
    return start < otherEnd && otherStart < end;
}

/// What became of a packet in the damaged file.
enum class Fate { kept, lost, either };

/// The packets of a track that must come out when the bytes from `lostFrom` to `lostTo` have become
/// zeros or have been cut off: those whose fragment header and content are whole, pictures only up
/// to a lost one and again from the next key frame on. `either` where a single byte at the end of a
/// block of sound is all that is lost, which nothing but decoding could find.
std::vector<Fate> fates(
    const Packets& packets, const std::vector<TopLevelBox>& boxes, std::int64_t lostFrom,
    std::int64_t lostTo, const Bytes& original, bool isPicture) {
    std::vector<Fate> result;
    bool waitsForKey = false;
    for (const Packet& packet : packets) {
        const std::int64_t end = packet.position + packet.size;
        const TopLevelBox* header = nullptr;
        for (const TopLevelBox& box : boxes) {
            if (box.type == "moof" && box.offset < packet.position) {
                header = &box;
            }
        }
        Fate fate = Fate::kept;
        if (header == nullptr || overlap(header->offset, header->end(), lostFrom, lostTo)) {
            fate = Fate::lost;
        } else if (overlap(packet.position, end, lostFrom, lostTo)) {
            const auto first = std::max(packet.position, lostFrom);
            const auto last = std::min(end, lostTo);
            const bool wasZero = std::all_of(
                original.begin() + first, original.begin() + last,
                [](std::uint8_t byte) { return byte == 0; });
            const bool lastByteOnly = !isPicture && lostFrom == end - 1;
            fate = wasZero || lastByteOnly ? Fate::either : Fate::lost;
        }
        if (isPicture && fate == Fate::lost) {
            waitsForKey = true;
        } else if (waitsForKey && !packet.isKey) {
            fate = Fate::lost;
        } else {
            waitsForKey = false;
        }
        result.push_back(fate);
    }
    return result;
}

/// Compares what came out with what must have, bit for bit and time for time.
void expectFates(
    const Packets& before, const std::vector<Fate>& fates, const Packets& after,
    const std::string& what) {
    auto next = after.begin();
    for (std::size_t index = 0; index < before.size(); ++index) {
        const bool isThere = next != after.end() && next->hash == before[index].hash &&
                             std::abs(next->decodeTime - before[index].decodeTime) < 0.001;
        if (fates[index] == Fate::kept) {
            ASSERT_TRUE(isThere) << what << ": packet " << index << " is missing";
        } else if (fates[index] == Fate::lost) {
            ASSERT_FALSE(isThere) << what << ": packet " << index << " is damaged but there";
        }
        next += isThere ? 1 : 0;
    }
    ASSERT_TRUE(next == after.end()) << what << ": packets that the source does not have";
}

/// The recording with a stretch turned into zeros, or cut off where `lostTo` is its end.
class MovieExportDamage : public MovieExport {
  protected:
    void SetUp() override {
        ASSERT_EQ(before.size(), 2U);
        ASSERT_EQ(std::ranges::count(boxes, "moof", &TopLevelBox::type), 6);
    }

    void expectWhatIsReadable(
        const Bytes& damaged, std::int64_t lostFrom, std::int64_t lostTo, bool decode) {
        const std::string what =
            "lost " + std::to_string(lostFrom) + " to " + std::to_string(lostTo);
        const auto pictures = fates(before[0], boxes, lostFrom, lostTo, recordingBytes(), true);
        const auto sound = fates(before[1], boxes, lostFrom, lostTo, recordingBytes(), false);
        const bool anything = std::ranges::count(pictures, Fate::kept) > 0 ||
                              std::ranges::count(sound, Fate::kept) > 0;
        const auto output = fresh(".mp4");
        const Outcome outcome = exportBytes(damaged, output);
        if (!anything) {
            EXPECT_EQ(outcome.status, Status::failed) << what;
            EXPECT_FALSE(std::filesystem::exists(output)) << what;
            return;
        }
        ASSERT_EQ(outcome.status, Status::completed)
            << what << ": " << (outcome.error ? outcome.error->description : "");
        const std::vector<Packets> after = readPackets(output);
        // A track that nothing is left of is left out; which it is shows in its first packet.
        const bool noPictures = std::ranges::count(pictures, Fate::kept) == 0;
        const bool noSound = std::ranges::count(sound, Fate::kept) == 0;
        ASSERT_EQ(after.size(), noPictures || noSound ? 1U : 2U) << what;
        if (!noPictures) {
            expectFates(before[0], pictures, after.front(), what + ", pictures");
        }
        if (!noSound) {
            expectFates(before[1], sound, after.back(), what + ", sound");
        }
        if (decode) {
            EXPECT_EQ(
                run("ffmpeg -nostdin -v error -xerror -i " + output.string() + " -f null -"), "")
                << what;
        }
        std::filesystem::remove(output);
    }

    void expectConvertsWhenCutAt(std::int64_t cut, bool decode) {
        Bytes damaged = recordingBytes();
        damaged.resize(static_cast<std::size_t>(cut));
        expectWhatIsReadable(damaged, cut, size, decode);
    }

    [[nodiscard]] std::int64_t headerEnd() const {
        return std::ranges::find(boxes, "moov", &TopLevelBox::type)->end();
    }
    std::int64_t randomPlace(std::int64_t from, std::int64_t to) {
        return std::uniform_int_distribution{from, to - 1}(random);
    }

    std::vector<Packets> before = readPackets(recording());
    std::vector<TopLevelBox> boxes = test::topLevelBoxes(recordingBytes());
    std::int64_t size = static_cast<std::int64_t>(recordingBytes().size());
    std::mt19937_64 random = test::seededRandom();
};

/// The start of a track in the presentation, once its priming has been skipped.
double startOf(const Packets& packets) {
    return std::ranges::min(packets, {}, &Packet::start).start;
}

struct SourceVariant {
    const char* name;
    const char* options;
    bool isFragmented = true;
};

class MovieExportPassthrough : public MovieExport,
                               public testing::WithParamInterface<SourceVariant> {};

TEST_P(MovieExportPassthrough, KeepsEverySampleBitForBitWithItsTimes) {
    const auto source = fresh(".mov");
    test::makeRecording(source, GetParam().options);
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportMovie(source, output).status, Status::completed);

    const auto before = readPackets(source);
    const auto after = readPackets(output);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t track = 0; track < before.size(); ++track) {
        ASSERT_EQ(after[track].size(), before[track].size());
        ASSERT_GT(before[track].size(), 500U);
        for (std::size_t index = 0; index < before[track].size(); ++index) {
            const Packet& then = before[track][index];
            const Packet& now = after[track][index];
            ASSERT_EQ(now.hash, then.hash) << track << ' ' << index;
            ASSERT_EQ(now.isKey, then.isKey) << track << ' ' << index;
            ASSERT_NEAR(now.decodeTime, then.decodeTime, 0.000'05) << track << ' ' << index;
            ASSERT_NEAR(now.start, then.start, 0.000'05) << track << ' ' << index;
        }
    }
    EXPECT_NEAR(
        startOf(after[1]) - startOf(after[0]), startOf(before[1]) - startOf(before[0]), 0.000'05);
    EXPECT_EQ(run("ffmpeg -nostdin -v error -xerror -i " + output.string() + " -f null -"), "");

    // The last sample of a track is as long as it was, too. What an edit list cuts off in front
    // counts in a fragmented movie's length and in no other's.
    const auto lengthsBefore = test::trackDurations(source);
    const auto lengthsAfter = test::trackDurations(output);
    ASSERT_EQ(lengthsAfter.size(), lengthsBefore.size());
    for (std::size_t track = 0; track < lengthsBefore.size(); ++track) {
        const double cutOff = GetParam().isFragmented ? std::min(startOf(before[track]), 0.0) : 0.0;
        EXPECT_NEAR(lengthsAfter[track], lengthsBefore[track] + cutOff, 0.001) << track;
    }

    const auto sourceSeconds = durationOf(source);
    const auto outputSeconds = durationOf(output);
    ASSERT_TRUE(sourceSeconds && outputSeconds);
    EXPECT_NEAR(outputSeconds->count(), sourceSeconds->count(), 0.001);
    EXPECT_NEAR(sourceSeconds->count(), 30, 0.35);
}

TEST_P(MovieExportPassthrough, PresentsTheSamePicturesAndSoundAtTheSameTimes) {
    const auto source = fresh(".mov");
    test::makeRecording(source, GetParam().options);
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportMovie(source, output).status, Status::completed);
    // When each picture and block of sound is presented, and what it looks and sounds like. Only a
    // movie without fragments has its priming left out by the command, so that is done here.
    for (const std::string track : {"v", "a"}) {
        const auto presented = [&](const std::filesystem::path& movie) {
            return run(
                "ffmpeg -nostdin -v error -copyts -i " + movie.string() + " -map 0:" + track +
                " -f framehash -hash CRC32 - | awk -F, '/^[^#]/ && $3 >= 0 { print $3 $6 }'");
        };
        const std::string before = presented(source);
        EXPECT_GT(std::ranges::count(before, '\n'), 500) << before;
        EXPECT_EQ(presented(output), before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, MovieExportPassthrough,
    testing::Values(
        SourceVariant{"OneFragmentOfBothTracksEveryFiveSeconds", ""},
        SourceVariant{
            "AFragmentForEveryKeyFrame", "-movflags frag_keyframe+empty_moov+default_base_moof"},
        SourceVariant{
            "FragmentsWithAnEditListForThePriming",
            "-movflags frag_keyframe+delay_moov+default_base_moof"},
        SourceVariant{"FragmentsWithAbsolutePlaces", "-movflags frag_keyframe+empty_moov"},
        SourceVariant{"NoFragmentsAndTheIndexAtTheEnd", "-movflags +write_colr", false},
        SourceVariant{"NoFragmentsAndTheIndexInFront", "-movflags faststart", false},
        SourceVariant{
            "PicturesReordered", "-movflags frag_keyframe+delay_moov+default_base_moof -bf 2"},
        SourceVariant{
            "SoundStartingLater", "-movflags frag_keyframe+delay_moov+default_base_moof "
                                  "-af asetpts=PTS+0.3/TB"},
        SourceVariant{
            "PicturesStartingLater", "-movflags frag_keyframe+delay_moov+default_base_moof "
                                     "-vf setpts=PTS+0.25/TB"}),
    [](const auto& testCase) { return testCase.param.name; });

TEST_F(MovieExport, PutsTheIndexInFrontOfTheDataInOnePass) {
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportMovie(recording(), output).status, Status::completed);
    const Bytes bytes = test::readFile(output);
    const auto boxes = test::topLevelBoxes(bytes);
    std::vector<std::string> types;
    std::int64_t unused = 0;
    for (const auto& box : boxes) {
        types.push_back(box.type);
        unused += box.type == "free" ? box.size : 0;
    }
    EXPECT_THAT(types, testing::ElementsAre("ftyp", "moov", "free", "free", "mdat"));
    EXPECT_LT(unused, 4096);
    EXPECT_EQ(boxes.back().end(), static_cast<std::int64_t>(bytes.size()));
    const std::string brands{bytes.begin() + 8, bytes.begin() + boxes.front().size};
    EXPECT_THAT(brands, HasSubstr("isom"));
    const std::string index{bytes.begin() + boxes[1].offset, bytes.begin() + boxes[1].end()};
    EXPECT_THAT(index, HasSubstr("avc1"));
    EXPECT_THAT(index, HasSubstr("mp4a"));
}

TEST_F(MovieExport, SaysWhenItsSourceBeganAndWhichProgramMadeIt) {
    const auto source = fresh(".mov");
    test::makeRecording(
        source, "-t 4 -metadata creation_time=2026-01-02T03:04:05Z -metadata title=private");
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportMovie(source, output).status, Status::completed);
    const auto tags = test::movieTags(output);
    EXPECT_EQ(tags.at("creation_time"), "2026-01-02T03:04:05.000000Z");
    EXPECT_EQ(tags.at("encoder"), test::movieTags(source).at("encoder"));
    EXPECT_FALSE(tags.contains("title"));
}

TEST_F(MovieExport, CreatesTheFileForTheUserAlone) {
    const auto output = fresh(".mp4");
    const mode_t before = umask(0);
    ASSERT_EQ(exportMovie(recording(), output).status, Status::completed);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(output.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(MovieExportDamage, ConvertsWhatIsLeftAfterACutAnywhere) {
    for (int run = 0; run < 200; ++run) {
        ASSERT_NO_FATAL_FAILURE(
            expectConvertsWhenCutAt(randomPlace(headerEnd(), size), run % 20 == 0));
    }
}

TEST_F(MovieExportDamage, ConvertsWhatIsLeftAfterACutInsideAFragmentsHeader) {
    for (const TopLevelBox& box : boxes) {
        if (box.type != "moof") {
            continue;
        }
        for (const std::int64_t into :
             {std::int64_t{0}, std::int64_t{3}, std::int64_t{4}, std::int64_t{8}, std::int64_t{9},
              std::int64_t{24}, std::int64_t{60}, box.size / 2, box.size - 1, box.size,
              box.size + 7, box.size + 8, box.size + 9}) {
            ASSERT_NO_FATAL_FAILURE(expectConvertsWhenCutAt(box.offset + into, into == 9));
        }
    }
}

TEST_F(MovieExportDamage, RefusesACutInsideTheMoviesHeader) {
    for (int run = 0; run < 20; ++run) {
        ASSERT_NO_FATAL_FAILURE(expectConvertsWhenCutAt(randomPlace(0, headerEnd()), false));
    }
}

TEST_F(MovieExportDamage, DropsATailOfZeros) {
    for (int run = 0; run < 50; ++run) {
        // What was cut off comes back as zeros of whole blocks, sometimes longer than it was.
        constexpr std::int64_t block = 4096;
        const std::int64_t from = randomPlace(headerEnd() / block + 1, size / block) * block;
        Bytes damaged = recordingBytes();
        damaged.resize(static_cast<std::size_t>(from));
        damaged.resize(
            static_cast<std::size_t>(from + randomPlace(1, 512) * block), std::uint8_t{0});
        // Fragments behind the zeros do not exist.
        ASSERT_NO_FATAL_FAILURE(expectWhatIsReadable(damaged, from, size, run % 10 == 0));
    }
}

TEST_F(MovieExportDamage, LeavesOutWhatAHoleHasTakenUpToTheNextKeyFrame) {
    for (int run = 0; run < 60; ++run) {
        constexpr std::int64_t block = 4096;
        const std::int64_t from = randomPlace(headerEnd() / block + 1, size / block) * block;
        const std::int64_t to =
            std::min(size, from + randomPlace(1, run % 2 == 0 ? 3 : 64) * block);
        Bytes damaged = recordingBytes();
        std::fill(damaged.begin() + from, damaged.begin() + to, std::uint8_t{0});
        ASSERT_NO_FATAL_FAILURE(expectWhatIsReadable(damaged, from, to, run % 6 == 0));
    }
}

TEST_F(MovieExportDamage, TellsHowMuchDamageInsideItHasLeftOut) {
    const auto leftOut = [](const std::function<void(Bytes&)>& damage) {
        Bytes bytes = recordingBytes();
        damage(bytes);
        const Outcome outcome = exportBytes(bytes, fresh(".mp4"));
        EXPECT_EQ(outcome.status, Status::completed);
        return outcome.damagedBytesLeftOut;
    };
    const auto zeros = [](Bytes& bytes, std::int64_t from, std::int64_t to) {
        std::fill(bytes.begin() + from, bytes.begin() + to, std::uint8_t{0});
    };
    EXPECT_EQ(leftOut([](Bytes&) {}), 0) << "whole";

    const Packet& sound = before[1].at(300);
    EXPECT_EQ(
        leftOut([&](Bytes& bytes) { zeros(bytes, sound.position, sound.position + sound.size); }),
        sound.size);

    // Up to the next key frame the pictures behind a lost one go with it.
    const std::size_t lost = 65;
    std::int64_t expected = 0;
    for (std::size_t index = lost; !before[0].at(index).isKey; ++index) {
        expected += before[0].at(index).size;
    }
    const Packet& picture = before[0].at(lost);
    EXPECT_EQ(
        leftOut(
            [&](Bytes& bytes) { zeros(bytes, picture.position, picture.position + picture.size); }),
        expected);

    // With a fragment's header the whole fragment is lost.
    const auto header = std::find_if(
        boxes.begin() + 4, boxes.end(), [](const TopLevelBox& box) { return box.type == "moof"; });
    EXPECT_EQ(
        leftOut([&](Bytes& bytes) { zeros(bytes, header->offset, header->end()); }),
        header->size + (header + 1)->size);
}

TEST_F(MovieExportDamage, TakesNoEndForDamageInside) {
    for (int run = 0; run < 40; ++run) {
        const std::int64_t from = randomPlace(boxes[3].offset, size);
        Bytes bytes = recordingBytes();
        if (run % 2 == 0) {
            bytes.resize(static_cast<std::size_t>(from));
        } else {
            std::fill(bytes.begin() + from, bytes.end(), std::uint8_t{0});
        }
        const Outcome outcome = exportBytes(bytes, fresh(".mp4"));
        EXPECT_EQ(outcome.damagedBytesLeftOut, 0) << from << (run % 2 == 0 ? " cut" : " zeros");
    }
}

TEST_F(MovieExportDamage, DoesNotBelieveAFragmentWhoseHeaderEndsInAHole) {
    // What is left of the list of sizes goes on in zeros, and so does the head of the data behind
    // it.
    constexpr std::int64_t block = 4096;
    for (const TopLevelBox& box : boxes) {
        const std::int64_t from = box.offset + box.size * 19 / 20;
        if (box.type != "moof") {
            continue;
        }
        for (const std::int64_t length : {block, 3 * block, 41 * block}) {
            const std::int64_t to = std::min(size, from + length);
            Bytes damaged = recordingBytes();
            std::fill(damaged.begin() + from, damaged.begin() + to, std::uint8_t{0});
            ASSERT_NO_FATAL_FAILURE(expectWhatIsReadable(damaged, from, to, true));
        }
    }
}

TEST_F(MovieExportDamage, FindsTheNextFragmentBehindOneWhoseHeaderIsAHole) {
    for (const TopLevelBox& box : boxes) {
        if (box.type == "moof") {
            Bytes damaged = recordingBytes();
            std::fill(damaged.begin() + box.offset, damaged.begin() + box.end(), std::uint8_t{0});
            ASSERT_NO_FATAL_FAILURE(expectWhatIsReadable(damaged, box.offset, box.end(), true));
        }
    }
}

TEST_F(MovieExportDamage, ReadsTheDataOfAFragmentWhoseDataHeaderIsGone) {
    for (const TopLevelBox& box : boxes) {
        if (box.type == "mdat") {
            Bytes damaged = recordingBytes();
            std::fill_n(damaged.begin() + box.offset, 8, std::uint8_t{0});
            ASSERT_NO_FATAL_FAILURE(
                expectWhatIsReadable(damaged, box.offset, box.offset + 8, true));
        }
    }
}

TEST_F(MovieExportDamage, MeasuresTheSourceAndTheOutputAlikeWhateverIsDamaged) {
    for (int run = 0; run < 40; ++run) {
        const std::int64_t from = randomPlace(boxes[3].end(), size);
        Bytes damaged = recordingBytes();
        if (run % 2 == 0) {
            damaged.resize(static_cast<std::size_t>(from));
        } else {
            std::fill(damaged.begin() + from, damaged.end(), std::uint8_t{0});
        }
        const auto source = fresh(".mov");
        test::writeFile(source, damaged);
        const auto output = fresh(".mp4");
        ASSERT_EQ(exportMovie(source, output).status, Status::completed) << from;
        const auto sourceSeconds = durationOf(source);
        const auto outputSeconds = durationOf(output);
        ASSERT_TRUE(sourceSeconds && outputSeconds) << from;
        EXPECT_NEAR(sourceSeconds->count(), outputSeconds->count(), 0.05) << from;
        // Where the last sample starts; the longest lasts a thirtieth of a second.
        double last = 0;
        for (const Packets& track : readPackets(output)) {
            last = std::max(last, track.back().start);
        }
        EXPECT_NEAR(outputSeconds->count(), last, 0.05) << from;
        std::filesystem::remove(source);
        std::filesystem::remove(output);
    }
}

TEST_F(MovieExportDamage, MeasuresAShortOutputAsShort) {
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportMovie(recording(), output).status, Status::completed);
    // Half of the data of a file whose index stands in front and claims all of it.
    Bytes half = test::readFile(output);
    half.resize(half.size() / 2);
    test::writeFile(output, half);
    const auto seconds = durationOf(output);
    ASSERT_TRUE(seconds);
    EXPECT_GT(seconds->count(), 10);
    EXPECT_LT(seconds->count(), 20);
}

TEST_F(MovieExportDamage, MovesTheIndexToTheEndWhenGapsMakeItOutgrowItsRoom) {
    // Every third block of sound is destroyed: the table of durations, one entry long in the intact
    // file, now alternates.
    Bytes damaged = recordingBytes();
    for (std::size_t index = 0; index < before[1].size(); index += 3) {
        const Packet& packet = before[1][index];
        std::fill_n(damaged.begin() + packet.position, packet.size, std::uint8_t{0});
    }
    const auto output = fresh(".mp4");
    ASSERT_EQ(exportBytes(damaged, output).status, Status::completed);
    std::vector<std::string> types;
    for (const auto& box : test::topLevelBoxes(test::readFile(output))) {
        types.push_back(box.type);
    }
    EXPECT_THAT(types, testing::ElementsAre("ftyp", "free", "free", "mdat", "moov"));
    const auto after = readPackets(output);
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(after[0].size(), before[0].size());
    // A block behind a destroyed one that happens to begin with a zero is taken for damaged too.
    const std::size_t destroyed = (before[1].size() + 2) / 3;
    EXPECT_LE(after[1].size(), before[1].size() - destroyed);
    EXPECT_GE(after[1].size(), before[1].size() - destroyed - 20);
    EXPECT_EQ(run("ffmpeg -nostdin -v error -xerror -i " + output.string() + " -f null -"), "");
}

TEST_F(MovieExportDamage, RefusesPicturesThatWouldNotBeCopiedAsTheyAre) {
    // Without the version that a decoder's configuration begins with, the media library takes it,
    // and then every picture, for another format, and writes one byte of each.
    Bytes damaged = recordingBytes();
    const std::string name = "avcC";
    const auto box = std::search(damaged.begin(), damaged.end(), name.begin(), name.end());
    ASSERT_NE(box, damaged.end());
    *(box + std::ssize(name)) = 0x53;
    const auto output = fresh(".mp4");
    const Outcome outcome = exportBytes(damaged, output);
    EXPECT_EQ(outcome.status, Status::failed);
    ASSERT_TRUE(outcome.error);
    EXPECT_THAT(outcome.error->description, HasSubstr("unchanged"));
}

TEST_F(MovieExportDamage, SurvivesRandomBytesAnywhere) {
    for (int run = 0; run < 150; ++run) {
        Bytes damaged = recordingBytes();
        // Often in the headers, where a byte does most harm.
        const TopLevelBox& box = boxes[static_cast<std::size_t>(
            randomPlace(0, static_cast<std::int64_t>(boxes.size())))];
        const std::int64_t end = box.type == "mdat" ? size : box.end();
        const std::int64_t count = run % 3 == 0 ? randomPlace(1, 20'000) : randomPlace(1, 6);
        for (std::int64_t index = 0; index < count; ++index) {
            damaged[static_cast<std::size_t>(randomPlace(box.offset, end))] =
                static_cast<std::uint8_t>(random());
        }
        const auto source = fresh(".mov");
        test::writeFile(source, damaged);
        const auto output = fresh(".mp4");
        const Outcome outcome = exportMovie(source, output);
        EXPECT_TRUE(outcome.status == Status::completed || outcome.error) << run;
        if (outcome.status == Status::completed) {
            EXPECT_TRUE(durationOf(output)) << run;
        }
        durationOf(source);
        std::filesystem::remove(source);
        std::filesystem::remove(output);
    }
}

struct Unreadable {
    const char* name;
    std::function<Bytes(const Bytes& recording, std::int64_t headerEnd)> make;
};

TEST_F(MovieExportDamage, RefusesFilesWithoutOneReadableSampleAndWritesNothing) {
    const std::vector<Unreadable> table{
        {"empty",
         [](const Bytes&, std::int64_t) {
             return Bytes{};
         }},
        {"header only",
         [](const Bytes& all, std::int64_t end) {
             return Bytes{all.begin(), all.begin() + end};
         }},
        {"garbage",
         [this](const Bytes&, std::int64_t) {
             Bytes bytes(100'000);
             std::ranges::generate(bytes, [this] { return static_cast<std::uint8_t>(random()); });
             return bytes;
         }},
        {"zeros",
         [](const Bytes&, std::int64_t) {
             return Bytes(100'000);
         }},
        {"header and zeros",
         [](const Bytes& all, std::int64_t end) {
             Bytes bytes{all.begin(), all.begin() + end};
             bytes.resize(bytes.size() + 100'000);
             return bytes;
         }},
        {"fragments without their movie header", [](const Bytes& all, std::int64_t end) {
             return Bytes{all.begin() + end, all.end()};
         }}};
    for (const Unreadable& unreadable : table) {
        const auto source = fresh(".mov");
        test::writeFile(source, unreadable.make(recordingBytes(), headerEnd()));
        const auto output = fresh(".mp4");
        const Outcome outcome = exportMovie(source, output);
        EXPECT_EQ(outcome.status, Status::failed) << unreadable.name;
        ASSERT_TRUE(outcome.error) << unreadable.name;
        EXPECT_EQ(outcome.error->domain, "Movie") << unreadable.name;
        EXPECT_FALSE(outcome.error->description.empty()) << unreadable.name;
        EXPECT_FALSE(std::filesystem::exists(output)) << unreadable.name;
        EXPECT_EQ(durationOf(source), std::nullopt) << unreadable.name;
    }
}

// Movies that list the same media again and again.

/// One picture, its header behind it.
Bytes movieOfOnePicture(const std::filesystem::path& path) {
    EXPECT_EQ(
        run("ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x180:rate=30 -frames:v 1 "
            "-c:v libx264 -pix_fmt yuv420p " +
            path.string()),
        "");
    return test::readFile(path);
}

/// A box's content made of numbers of four bytes.
Bytes numbers(const std::vector<std::uint32_t>& values) {
    Bytes bytes;
    for (const std::uint32_t value : values) {
        const Bytes number = test::bigEndian(value, 4);
        bytes.insert(bytes.end(), number.begin(), number.end());
    }
    return bytes;
}

TEST_F(MovieExport, WritesNothingForAMovieWhoseChunksAllPointAtOneSample) {
    const auto original = fresh(".mov");
    const Bytes movie = movieOfOnePicture(original);
    const auto picture = readPackets(original).at(0).at(0);
    constexpr std::uint32_t chunks = 1000;
    std::vector<std::uint32_t> places{0, chunks};
    places.insert(places.end(), chunks, static_cast<std::uint32_t>(picture.position));
    const Bytes hostile = test::withBoxContents(
        movie, {{"stsz", numbers({0, static_cast<std::uint32_t>(picture.size), chunks})},
                {"stsc", numbers({0, 1, 1, 1, 1})},
                {"stts", numbers({0, 1, chunks, 512})},
                {"stco", numbers(places)}});
    const auto output = fresh(".mp4");
    const Outcome outcome = exportBytes(hostile, output);
    EXPECT_EQ(outcome.status, Status::failed);
    ASSERT_TRUE(outcome.error);
    EXPECT_THAT(outcome.error->description, HasSubstr("more than once"));
    EXPECT_FALSE(std::filesystem::exists(output))
        << std::filesystem::file_size(output) << " bytes from " << hostile.size();
    EXPECT_EQ(exportBytes(movie, fresh(".mp4")).status, Status::completed);
}

TEST_F(MovieExport, WritesNoMoreMediaThanTheSourceHolds) {
    const Bytes movie = movieOfOnePicture(fresh(".mov"));
    constexpr std::uint32_t edits = 1000;
    std::vector<std::uint32_t> list{0, edits};
    for (std::uint32_t edit = 0; edit < edits; ++edit) {
        list.insert(list.end(), {34, 0, 0x10000}); // all of it, at the usual speed
    }
    const Bytes hostile = test::withBoxContents(movie, {{"elst", numbers(list)}});
    const auto output = fresh(".mp4");
    const Outcome outcome = exportBytes(hostile, output);
    EXPECT_EQ(outcome.status, Status::failed);
    ASSERT_TRUE(outcome.error);
    EXPECT_THAT(outcome.error->description, HasSubstr("more than once"));
    if (std::filesystem::exists(output)) {
        EXPECT_LE(std::filesystem::file_size(output), hostile.size());
    }
}

TEST_F(MovieExport, NothingInAnIndexMakesTheOutputHoldMoreThanTheSource) {
    const auto original = fresh(".mov");
    const Bytes movie = movieOfOnePicture(original);
    const auto picture = readPackets(original).at(0).at(0);
    auto random = test::seededRandom();
    const auto oneOf = [&](std::uint32_t first, std::uint32_t last) {
        return std::uniform_int_distribution<std::uint32_t>{first, last}(random);
    };
    int converted = 0;
    for (int round = 0; round < 200; ++round) {
        const std::uint32_t chunks = oneOf(1, 3);
        const std::uint32_t perChunk = oneOf(1, 2);
        const std::uint32_t edits = oneOf(1, 3);
        std::vector<std::uint32_t> sizes{0, 0, chunks * perChunk};
        std::vector<std::uint32_t> places{0, chunks};
        std::vector<std::uint32_t> list{0, edits};
        for (std::uint32_t sample = 0; sample < chunks * perChunk; ++sample) {
            sizes.push_back(oneOf(0, 1) == 0 ? 0 : static_cast<std::uint32_t>(picture.size));
        }
        for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
            places.push_back(static_cast<std::uint32_t>(picture.position));
        }
        for (std::uint32_t edit = 0; edit < edits; ++edit) {
            list.insert(list.end(), {oneOf(1, 200), oneOf(0, 1) * 512, 0x10000});
        }
        const Bytes changed = test::withBoxContents(
            movie, {{"stsz", numbers(sizes)},
                    {"stsc", numbers({0, 1, 1, perChunk, 1})},
                    {"stts", numbers({0, 1, chunks * perChunk, 512})},
                    {"stco", numbers(places)},
                    {"elst", numbers(list)}});
        const auto output = fresh(".mp4");
        if (exportBytes(changed, output).status == Status::completed) {
            ++converted;
            for (const TopLevelBox& box : test::topLevelBoxes(test::readFile(output))) {
                EXPECT_TRUE(
                    box.type != "mdat" || box.size <= static_cast<std::int64_t>(changed.size()))
                    << "round " << round;
            }
        }
        std::filesystem::remove(output);
    }
    EXPECT_GT(converted, 0);
}

/// Calls a function at every read.
class WatchedBytes final : public test::MemoryBytes {
  public:
    WatchedBytes(Bytes bytes, std::function<int()> atRead)
        : MemoryBytes{std::move(bytes)}, atRead_{std::move(atRead)} {}
    Expected<std::size_t, int>
    readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override {
        if (const int errorNumber = atRead_(); errorNumber != 0) {
            return unexpected{errorNumber};
        }
        return MemoryBytes::readAt(offset, buffer);
    }

  private:
    std::function<int()> atRead_;
};

TEST_F(MovieExport, EndsSoonAfterItHasBeenCancelledInTheMiddle) {
    CopyControl control;
    int readsAfterwards = 0;
    WatchedBytes source{recordingBytes(), [&] {
                            readsAfterwards += control.cancelled ? 1 : 0;
                            control.cancelled = control.cancelled || control.progress > 0.4;
                            return 0;
                        }};
    const auto copied = copyMovie(source, newFile(), control);
    ASSERT_FALSE(copied);
    EXPECT_EQ(copied.error().code, ECANCELED);
    EXPECT_LT(control.progress, 0.7);
    EXPECT_LE(readsAfterwards, 1);
}

TEST_F(MovieExport, TellsItsProgressWithoutEverGoingBack) {
    CopyControl control;
    std::vector<double> seen;
    WatchedBytes source{recordingBytes(), [&] {
                            seen.push_back(control.progress);
                            return 0;
                        }};
    ASSERT_TRUE(copyMovie(source, newFile(), control));
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_GE(std::ranges::count_if(seen, [](double part) { return part > 0 && part < 1; }), 5);
    EXPECT_EQ(control.progress, 1);
}

TEST_F(MovieExport, DoesNotTakeAReadErrorForTheEndOfTheMovie) {
    CopyControl control;
    WatchedBytes source{recordingBytes(), [&] {
                            return control.progress > 0.5 ? EIO : 0;
                        }};
    const auto copied = copyMovie(source, newFile(), control);
    ASSERT_FALSE(copied);
    EXPECT_EQ(copied.error().domain, "POSIX");
    EXPECT_EQ(copied.error().code, EIO);
}

} // namespace
} // namespace brindle
