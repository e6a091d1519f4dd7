#include "SyntheticMedia.hpp"

#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
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
        const double seconds = std::chrono::duration<double>{time.time_since_epoch()}.count() +
                               static_cast<double>(index) / sampleRate;
        samples[index] =
            static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequency * seconds));
    }
    sound.bytes.resize(samples.size() * sizeof(float));
    std::memcpy(sound.bytes.data(), samples.data(), sound.bytes.size());
    return sound;
}

std::vector<std::uint8_t> whiteJpeg(int width, int height) {
    const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    const media::CodecHandle encoder{avcodec_alloc_context3(codec)};
    const media::FrameHandle frame{av_frame_alloc()};
    const media::PacketHandle packet{av_packet_alloc()};
    encoder->width = frame->width = width;
    encoder->height = frame->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUVJ422P;
    frame->format = encoder->pix_fmt;
    encoder->time_base = {1, 30};
    if (avcodec_open2(encoder.get(), codec, nullptr) < 0 ||
        av_frame_get_buffer(frame.get(), 0) < 0) {
        return {};
    }
    constexpr std::array levels{255, 128, 128};
    for (int plane = 0; plane < 3; ++plane) {
        const int bytes = frame->linesize[plane] * height;
        std::memset(
            frame->data[plane], levels.at(static_cast<std::size_t>(plane)),
            static_cast<std::size_t>(bytes));
    }
    if (avcodec_send_frame(encoder.get(), frame.get()) < 0 ||
        avcodec_receive_packet(encoder.get(), packet.get()) < 0) {
        return {};
    }
    return {packet->data, packet->data + packet->size};
}

} // namespace brindle::test
