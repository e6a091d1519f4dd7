// Encodes raw pictures and sound into a movie as a recording does, as fast as it can.
// Usage: encode-movie PICTURES SOUND MOVIE [ENCODER]
//        encode-movie --settings     how the encoder is set, in words for ffmpeg
// Pictures: 1920x1080, planar YUV 4:2:0, 30 a second. Sound: 32-bit float, mono, 48 kHz.
#include "BrindleRecorderLinux/Capture/Record/FragmentedMovieWriter.hpp"
#include "BrindleRecorderLinux/Capture/Record/MediaEncoder.hpp"
#include "BrindleRecorderLinux/Capture/Record/VideoEncoder.hpp"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

namespace brindle {
namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int frameRate = 30;
constexpr int sampleRate = 48'000;
constexpr int samplesPerPicture = sampleRate / frameRate;

template <class Result>
void check(const Result& result) {
    if (!result) {
        std::fprintf(stderr, "encode-movie: %s\n", result.error().description.c_str());
        std::exit(1);
    }
}

void readInto(std::ifstream& file, std::vector<std::uint8_t>& bytes, std::size_t count) {
    bytes.resize(count);
    file.read(
        static_cast<char*>(static_cast<void*>(bytes.data())), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
}

int encode(
    const char* picturePath, const char* soundPath, const char* moviePath,
    const std::optional<std::string>& encoderName) {
    std::ifstream pictures{picturePath, std::ios::binary};
    std::ifstream sounds{soundPath, std::ios::binary};
    std::unique_ptr<media::FragmentedMovieWriter> writer;
    auto encoder = media::MediaEncoder::open(
        VideoOutputSettings{
            .width = width,
            .height = height,
            .averageBitRate = 5'000'000,
            .expectedSourceFrameRate = frameRate,
            .maxKeyFrameInterval = 60,
            .firstPictureWithin = brindle::Seconds{2}},
        AudioOutputSettings{.numberOfChannels = 1, .sampleRate = sampleRate, .bitRate = 96'000},
        std::chrono::seconds{5},
        [&writer](media::EncodedPacket packet) { check(writer->write(std::move(packet))); },
        encoderName);
    check(encoder);
    auto file = capture::OutputFile::create(moviePath);
    check(file);
    auto created = media::FragmentedMovieWriter::create(std::move(*file), (*encoder)->encoders());
    check(created);
    writer = std::move(*created);

    const media::Moment begin{std::chrono::hours{1}};
    media::Moment time = begin;
    for (std::int64_t frame = 0;; ++frame) {
        time = begin + std::chrono::nanoseconds{frame * 1'000'000'000 / frameRate};
        media::CapturedPicture picture{
            .format =
                {.width = width,
                 .height = height,
                 .pixelFormat = AV_PIX_FMT_YUV420P,
                 .colorSpace = AVCOL_SPC_BT709},
            .strides = {width, width / 2, width / 2},
            .bytes = {},
            .time = time};
        readInto(pictures, picture.bytes, std::size_t{width} * height * 3 / 2);
        if (!media::isComplete(picture)) {
            break;
        }
        check((*encoder)->addPicture(picture));
        media::CapturedSound sound{
            .format = {.sampleFormat = AV_SAMPLE_FMT_FLT, .sampleRate = sampleRate, .channels = 1},
            .count = samplesPerPicture,
            .bytes = {},
            .time = time};
        readInto(sounds, sound.bytes, samplesPerPicture * sizeof(float));
        check((*encoder)->addSound(std::move(sound)));
        check((*encoder)->passTime(time));
    }
    check((*encoder)->end(time));
    check(writer->finish());
    return 0;
}

} // namespace
} // namespace brindle

int main(int argumentCount, char** arguments) {
    using brindle::media::VideoEncoder;
    if (argumentCount == 2 && std::string{arguments[1]} == "--settings") {
        std::printf(
            "-preset %s -tune %s -x264-params %s\n", VideoEncoder::preset, VideoEncoder::tune,
            VideoEncoder::parameters);
        return 0;
    }
    constexpr int withoutEncoder = 4;
    constexpr int withEncoder = 5;
    if (argumentCount != withoutEncoder && argumentCount != withEncoder) {
        std::fputs("Usage: encode-movie PICTURES SOUND MOVIE [ENCODER] | --settings\n", stderr);
        return 2;
    }
    try {
        return brindle::encode(
            arguments[1], arguments[2], arguments[3],
            argumentCount == withEncoder ? std::optional<std::string>{arguments[4]} : std::nullopt);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "encode-movie: %s\n", error.what());
        return 1;
    }
}
