#include "SyntheticMedia.hpp"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <string>
#include <system_error>
#include <vector>

namespace brindle::test {

media::CapturedPicture greyPicture(media::Moment time, int brightness, int width, int height) {
    media::CapturedPicture picture{
        .format = {.width = width, .height = height, .pixelFormat = AV_PIX_FMT_YUV420P},
        .strides = {width, width / 2, width / 2},
        .bytes = {},
        .time = time};
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    constexpr std::uint8_t noColor = 128;
    picture.bytes.assign(pixels + pixels / 2, noColor);
    std::memset(picture.bytes.data(), brightness, pixels);
    return picture;
}

media::CapturedSound
toneBlock(media::Moment time, int count, double amplitude, double frequency, int sampleRate) {
    media::CapturedSound sound{
        .format = {.sampleFormat = AV_SAMPLE_FMT_FLT, .sampleRate = sampleRate, .channels = 1},
        .count = count,
        .bytes = {},
        .time = time};
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double seconds =
            std::chrono::duration<double>{time}.count() + static_cast<double>(index) / sampleRate;
        samples[index] =
            static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequency * seconds));
    }
    sound.bytes.resize(samples.size() * sizeof(float));
    std::memcpy(sound.bytes.data(), samples.data(), sound.bytes.size());
    return sound;
}

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "brindle-test.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error{errno, std::generic_category(), "mkdtemp"};
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace brindle::test
